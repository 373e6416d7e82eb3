// The same facts as in the output for people: readings, candidates, and the position of an error.
#include "tools/ocmd_find/json_answer.h"

#include "base/escape.h"
#include "tools/ocmd_find/answer.h"
#include "tools/support/json_output.h"
#include "tools/support/program.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"

#include <array>
#include <set>
#include <span>
#include <string>
#include <utility>

namespace find {

namespace {

using tool::JsonOutput;

constexpr std::array kVerdicts{"accepted", "incomplete", "ambiguous", "refused"};
constexpr std::array kReasons{"none",         "unknown word", "invalid value",
                              "surplus word", "submode",      "hidden command"};

class AnswerWriter {
public:
    AnswerWriter(const FileGrammar &grammar, tool::TextOutput &output)
        : grammar_(grammar), json_(output), context_(grammar.new_context()),
          answer_(grammar.new_answer()) {}

    tsh_verdict_t write(std::string_view line) {
        const tsh_verdict_t verdict =
            checked(tsh_resolve(context_.get(), line.data(), line.size(), 0, answer_.get()));
        if (verdict == TSH_EMPTY)
            return verdict;
        refuse_unreadable(*answer_);
        json_.begin_object().member("verdict", kVerdicts[verdict]).member("line", line);
        if (verdict != TSH_ACCEPTED)
            write_error(line);
        json_.member("readings").begin_list();
        for (uint32_t n = 0; n < tsh_answer_reading_count(answer_.get()); ++n)
            write_reading(*tsh_answer_reading(answer_.get(), n), line);
        json_.end_list();
        if (verdict == TSH_ACCEPTED)
            write_following(line);
        else
            write_candidates("candidates", *answer_, nullptr);
        json_.end_object().end_line();
        return verdict;
    }

private:
    void write_error(std::string_view line) {
        const tsh_range_t range = tsh_answer_range(answer_.get());
        json_.member("message", tsh_answer_text(answer_.get()) + suggestion_for(*answer_, line));
        if (const tsh_reason_t reason = tsh_answer_reason(answer_.get()); reason != TSH_REASON_NONE)
            json_.member("reason", kReasons[reason]);
        json_.member("begin").number(uint64_t{range.begin});
        json_.member("end").number(uint64_t{range.end});
    }

    void write_reading(const tsh_reading_t &reading, std::string_view line) {
        const bool is_complete = reading.command != nullptr;
        if (!is_complete && reading.node == nullptr)
            return;
        const tree_node_t &node = is_complete ? *reading.command : *reading.node;
        json_.begin_object()
            .member("command", base::reversibly_escaped(command_of(reading)))
            .member("line", typed_line(reading, line));
        json_.member("complete").boolean(is_complete);
        json_.member("node", tool::text_of(node.name));
        json_.member("index").number(int64_t{grammar_.index_of(node)});
        json_.member("help", tool::text_of(node.help));
        json_.member("function", tool::text_of(node.func_id));
        json_.member("mode", tool::text_of(node.mode_id));
        json_.member("submode").boolean(tool::is_submode(node));
        json_.member("submode_help", tool::text_of(node.submode_help));
        json_.member("values").begin_list();
        for (const tsh_word_t &word : std::span{reading.words, reading.word_count})
            if (word.parameter >= 0)
                write_value(word);
        json_.end_list().end_object();
    }

    // If the type of a value is unknown, those that the parameter accepts.
    void write_value(const tsh_word_t &word) {
        const uint32_t type =
            word.value.type != 0 ? word.value.type : word.node->params[word.parameter].type_mask;
        json_.begin_object()
            .member("type", tool::types_text(type))
            .member("text", word.text)
            .end_object();
    }

    void write_following(std::string_view line) {
        const tree_node_t *const read = tsh_answer_reading(answer_.get(), 0)->node;
        const AnswerPtr following = grammar_.new_answer();
        complete(std::string{line}.append(line.ends_with('"') ? "  " : " "), *following);
        write_candidates("follows", *following, read);
        if (!enter(*context_, *answer_))
            return;
        complete("", *following);
        write_candidates("commands", *following, nullptr);
    }

    void complete(const std::string &line, tsh_answer_t &following) {
        checked(tsh_complete(context_.get(), line.data(), line.size(), line.size(), 0, &following));
    }

    // Candidates that look alike once, and none of the node read.
    void write_candidates(const char *name, const tsh_answer_t &answer, const tree_node_t *read) {
        std::set<std::pair<std::string_view, std::string_view>> known;
        json_.member(name).begin_list();
        for (uint32_t n = 0; n < tsh_answer_candidate_count(&answer); ++n) {
            const tsh_candidate_t &candidate = *tsh_answer_candidate(&answer, n);
            const std::string_view help = tool::text_of(candidate.node->help);
            if (candidate.node == read || !known.emplace(candidate.text, help).second)
                continue;
            json_.begin_object()
                .member("word", base::reversibly_escaped(candidate.text))
                .member("bounds", candidate.bounds)
                .member("help", help)
                .end_object();
        }
        json_.end_list();
    }

    const FileGrammar &grammar_;
    JsonOutput json_;
    ContextPtr context_;
    AnswerPtr answer_;
};

} // namespace

tsh_verdict_t write_json_answer(const FileGrammar &grammar, std::string_view line,
                                tool::TextOutput &output) {
    return AnswerWriter{grammar, output}.write(line);
}

} // namespace find
