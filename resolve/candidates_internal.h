// Words that may come next.
#pragma once

#include "resolve/line_parser_internal.h"

#include <vector>

namespace tsh {

/// A keyword (parameter -1) or a parameter that may come next.
struct NextWord {
    NodeNumber node;
    int32_t parameter;
};

/// Collects next words, each once, in the order of the child lists.
class NextWords {
public:
    explicit NextWords(const tsh_grammar_t &grammar) : grammar_(grammar) {}

    /// Those after the last layer, best states first. Within the value of a LINE only with its own
    /// parameter, and only if asked for.
    const std::vector<NextWord> &after(const LineParser &parser, const HiddenNodes &hidden,
                                       bool with_rest);

private:
    void add(NodeNumber node, int32_t parameter);
    void meet(NodeNumber node);
    void walk(NodeNumber first);

    const tsh_grammar_t &grammar_;
    const HiddenNodes *hidden_ = nullptr;
    std::vector<NextWord> words_;
    std::vector<uint8_t> marks_; // by node: which words are there, whether its children are
    std::vector<NodeNumber> marked_;
    struct Frame {
        NodeNumber node;
        uint32_t next_child;
    };
    std::vector<Frame> frames_;
};

} // namespace tsh
