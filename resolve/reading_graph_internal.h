// The best readings of a parsed line: what of the parser's graph lies on the way to its ends.
#pragma once

#include "resolve/line_parser_internal.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace tsh {

/// Where readings end: at a node, or in a state if the line is incomplete.
struct End {
    NodeNumber node; ///< Of a complete line; else of the state.
    Source from;
};

/// One reading, from the start of the line to its end.
struct Path {
    struct Step {
        Index state;
        Index edge;
    };
    std::vector<Step> steps;       ///< One for each word.
    std::vector<NodeNumber> nodes; ///< All nodes on the way.
    Index start = kNone;           ///< State of layer 0.
    size_t end = 0;                ///< Which of the ends.
};

/// How a word of the line was understood, as far as its spelling in the tree tells.
struct Spelling {
    Kind kind = Kind::kSlash; ///< kFull for every keyword, kValue for every value.
    WordNumber word = kNoWord;
    uint32_t type_mask = 0;
    bool operator==(const Spelling &) const = default;
};

class ReadingGraph {
public:
    /// Takes ends of equal readings. The parser must not parse meanwhile.
    ReadingGraph(const tsh_grammar_t &grammar, const LineParser &parser, std::vector<End> ends);

    [[nodiscard]] const std::vector<End> &ends() const { return ends_; }

    /// The first word that readings spell differently.
    [[nodiscard]] std::optional<size_t> ambiguous_word() const;

    /// One edge of each spelling of a word.
    [[nodiscard]] std::vector<Path::Step> spellings_of(size_t word) const;

    [[nodiscard]] Path path_to(size_t end) const;
    [[nodiscard]] Path path_through(Path::Step step) const;

    /// Nodes whose submodes are entered by the "/" at a word, in all readings.
    [[nodiscard]] std::vector<NodeNumber> entered_by(size_t word) const;

    [[nodiscard]] Spelling spelling_of(Path::Step step) const;

private:
    /// What a state or closure leads to.
    struct Target {
        enum class Kind : uint8_t { kUnmarked, kState, kClosure, kEnd };
        Kind kind = Kind::kUnmarked;
        Index index = 0;
    };
    struct Element { // of a path
        Source source;
        Index edge;
    };

    void mark(Source source, Target target);
    [[nodiscard]] const Target &target_of(Source source) const {
        return (source.is_closure() ? closures_ : states_)[source.index()];
    }
    template <typename Visit> void for_each_step(size_t word, Visit visit) const;
    void trace_back(Source source, std::vector<Element> &elements) const;
    [[nodiscard]] size_t trace_on(Source source, std::vector<Element> &elements) const;
    [[nodiscard]] Path path_of(const std::vector<Element> &elements, size_t end) const;

    const tsh_grammar_t &grammar_;
    const LineParser &parser_;
    std::vector<End> ends_;
    std::vector<Target> states_;
    std::vector<Target> closures_;
    std::vector<Source> pending_;
};

} // namespace tsh
