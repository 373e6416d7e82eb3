// Answers out of parsed lines.
#pragma once

#include "resolve/answer_internal.h"

#include <optional>
#include <string>
#include <string_view>

namespace tsh {

class ReadingGraph;
struct Path;

class AnswerMaker {
public:
    AnswerMaker(const tsh_context_t &context, uint32_t options, tsh_answer_t &answer)
        : context_(context), grammar_(answer.grammar), parser_(answer.parser), words_(answer.words),
          options_(options), answer_(answer) {}

    /// Resolves a line.
    void resolve(std::string_view line);
    /// Finds what may stand at its end.
    void complete(std::string_view line);

private:
    [[nodiscard]] bool is_brief() const { return (options_ & TSH_BRIEF) != 0; }

    void answer(size_t word_count);
    void answer_read_line();
    void answer_ambiguous(const ReadingGraph &graph, size_t word);
    void answer_simple(const StateSets &sets);
    void answer_accepted(const ReadingGraph &graph);
    void answer_incomplete(const ReadingGraph &graph);
    void answer_refused();
    void answer_unsplit(const SplitFault &fault);
    void answer_lone_quote(size_t at);

    /// Words first to last - 1 of a reading, nodes likewise, and where they lead.
    struct Part {
        size_t first_word;
        size_t last_word;
        size_t first_node;
        size_t last_node;
        NodeNumber node;    ///< Of the last word.
        NodeNumber command; ///< kNone if incomplete.
    };
    [[nodiscard]] Part whole(const ReadingGraph &graph, const Path &path, bool is_complete) const;
    void add_reading(const Path &path, const Part &part, ReadingStore &store) const;
    [[nodiscard]] std::vector<tsh_word_t> words_of(const Path &path, const Part &part,
                                                   ReadingStore &store) const;
    [[nodiscard]] tsh_word_t keyword_at(size_t word, NodeNumber node, uint32_t length) const;
    [[nodiscard]] tsh_word_t value_at(size_t word, const State &state, const Edge &edge,
                                      ReadingStore &store) const;
    void enter_submodes(const ReadingGraph &graph);
    void add_candidates(const std::vector<NextWord> &words);
    void add_candidate(NextWord word);
    void add_completions(const std::vector<NextWord> &words, const LineWord &begun);
    void find_common();

    [[nodiscard]] tsh_reason_t reason_of_refusal(size_t word, const std::vector<NextWord> &next);
    [[nodiscard]] bool lies_in_submode(size_t word);
    [[nodiscard]] bool is_hidden(size_t word);
    [[nodiscard]] std::string refusal_text(size_t word, const RefusedValue &value) const;
    [[nodiscard]] std::string run_together_note(size_t word) const;
    [[nodiscard]] std::string spelled(NextWord word) const;
    void tell(const std::string &text) { answer_.text = answer_.store.arena.keep(text); }

    const tsh_context_t &context_;
    const tsh_grammar_t &grammar_;
    LineParser &parser_;
    LineWords &words_;
    uint32_t options_;
    tsh_answer_t &answer_;
};

} // namespace tsh
