// If a file indents its lines, a line belongs to the nearest line above it that is indented less.
// Otherwise it is tried in the innermost submode, then in the enclosing ones; the first that
// accepts it closes those inside.
#include "tools/ocmd_find/saved_config.h"

#include "resolve/resolver.h"
#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_find/config_lines.h"
#include "tools/support/json_output.h"
#include "tools/support/program.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

namespace find {

namespace {

// Number of unknown words for which a suggestion is searched, in up to a millisecond each.
constexpr uint32_t kMostSuggestions = 200;

bool is_one_of(std::string_view word, const std::vector<std::string> &words) {
    return std::ranges::any_of(words, [&](const std::string &other) {
        return std::ranges::equal(word, other, [](unsigned char a, unsigned char b) {
            return std::tolower(a) == std::tolower(b);
        });
    });
}

std::string_view trimmed(std::string_view line) {
    const size_t first = line.find_first_not_of(kIndentation);
    const size_t last = line.find_last_not_of(kIndentation);
    return first == std::string_view::npos ? std::string_view{}
                                           : line.substr(first, last - first + 1);
}

} // namespace

ConfigCheck::ConfigCheck(const FileGrammar &grammar, const LeavingWords &leaving,
                         std::string_view within, bool as_json, tool::TextOutput &output)
    : leaving_(leaving), as_json_(as_json), output_(output), context_(grammar.new_context()),
      answer_(grammar.new_answer()), within_(within) {}

bool ConfigCheck::check(FILE *stream, const std::string &name) {
    name_ = name;
    line_number_ = 0;
    suggestions_left_ = kMostSuggestions;
    are_all_accepted_ = true;
    parents_.clear();
    leave_to(0);
    if (!within_.empty()) {
        const tsh_verdict_t verdict =
            checked(tsh_resolve(context_.get(), within_.data(), within_.size(), 0, answer_.get()));
        if (verdict != TSH_ACCEPTED)
            tool::fail("--in: %s",
                       verdict == TSH_EMPTY ? "no words" : tsh_answer_text(answer_.get()));
        if (!find::enter(*context_, *answer_))
            tool::fail("--in: '%s' enters no submode", within_.c_str());
    }
    base_depth_ = tsh_context_depth(context_.get());

    ConfigLines lines{stream};
    const bool are_indented = lines.are_indented();
    while (const std::optional<std::string_view> line = lines.next()) {
        ++line_number_;
        if (line->size() > kMostLineBytes)
            fail("a line of more than " + std::to_string(kMostLineBytes) +
                 " bytes, too long for a configuration");
        if (is_comment(*line))
            continue;
        if (are_indented)
            check_indented(*line);
        else
            check_line(*line);
    }
    write_waiting();
    if (ferror(stream) != 0)
        fail(std::string{"cannot be read: "} + strerror(errno));
    return are_all_accepted_;
}

// ---- Which submode a line belongs to ----

void ConfigCheck::check_line(std::string_view line) {
    if (!leave_by_word(line, tsh_context_depth(context_.get())))
        check_command(line, TSH_OUTWARD);
}

void ConfigCheck::check_indented(std::string_view line) {
    indentation_ = indentation_of(line);
    if (waiting_ && indentation_ > waiting_->indentation) {
        ++waiting_->skipped;
        return;
    }
    write_waiting();
    while (!parents_.empty() && parents_.back().indentation >= indentation_)
        parents_.pop_back();
    const uint32_t depth = parents_.empty() ? base_depth_ : parents_.back().depth;
    if (!parents_.empty() && !parents_.back().has_submode) {
        report(line.find_first_not_of(kIndentation) + 1,
               "unexpected indentation: the line above enters no submode", true);
        return;
    }
    if (leave_by_word(line, depth)) {
        parents_.push_back({indentation_, tsh_context_depth(context_.get()), false});
        return;
    }
    leave_to(depth);
    const Outcome outcome = check_command(line, 0);
    if (outcome != Outcome::kNotUnderstood)
        parents_.push_back(
            {indentation_, tsh_context_depth(context_.get()), outcome == Outcome::kEntered});
}

void ConfigCheck::leave_to(uint32_t depth) {
    const uint32_t entered = tsh_context_depth(context_.get());
    tsh_context_leave(context_.get(), entered - std::min(entered, depth));
}

// Leaves the submode that a line of the same indentation entered; otherwise the one that contains
// the line, whose depth is given.
bool ConfigCheck::leave_by_word(std::string_view line, uint32_t depth) {
    const std::string_view word = trimmed(line);
    const bool leaves_all = is_one_of(word, leaving_.all);
    if (!leaves_all && !is_one_of(word, leaving_.one))
        return false;
    const uint32_t entered = tsh_context_depth(context_.get());
    leave_to(leaves_all || entered == 0 ? 0 : std::min(depth, entered - (entered > depth ? 0 : 1)));
    const uint32_t left = tsh_context_depth(context_.get());
    base_depth_ = std::min(base_depth_, left);
    for (Parent &parent : parents_)
        parent.depth = std::min(parent.depth, left);
    return true;
}

// ---- Commands ----

ConfigCheck::Outcome ConfigCheck::check_command(std::string_view line, uint32_t options) {
    options |= TSH_SAVED_LINE;
    const auto resolve = [&](uint32_t more) {
        return checked(
            tsh_resolve(context_.get(), line.data(), line.size(), options | more, answer_.get()));
    };
    tsh_verdict_t verdict = resolve(TSH_BRIEF);
    if (verdict == TSH_EMPTY)
        return Outcome::kAccepted;
    if (verdict == TSH_AMBIGUOUS)
        resolve(0); // candidates and text
    if (verdict != TSH_ACCEPTED) {
        const size_t column = tsh_answer_range(answer_.get()).begin + 1;
        const std::string message = message_of_answer(line);
        // A line that is invalid only by its values still enters its submode.
        if (tsh_answer_reason(answer_.get()) == TSH_REASON_VALUE)
            verdict = resolve(TSH_BRIEF | TSH_ANY_VALUE);
        report(column, message, verdict != TSH_ACCEPTED);
        if (verdict != TSH_ACCEPTED)
            return Outcome::kNotUnderstood;
    }
    return enter() ? Outcome::kEntered : Outcome::kAccepted;
}

std::string ConfigCheck::message_of_answer(std::string_view line) {
    std::string message = tsh_answer_text(answer_.get());
    if (suggestions_left_ == 0)
        return message;
    const std::string suggestion = suggestion_for(*answer_, line);
    if (tsh_answer_reason(answer_.get()) == TSH_REASON_UNKNOWN)
        --suggestions_left_;
    return message + suggestion;
}

// Leaves the submodes that do not have the line. @return whether it enters one.
bool ConfigCheck::enter() {
    const uint32_t left = tsh_answer_levels_left(answer_.get());
    if (tsh_context_depth(context_.get()) - left < kMostSubmodes) {
        if (find::enter(*context_, *answer_))
            return true;
    } else if (tsh_answer_reading(answer_.get(), 0)->is_submode != 0) {
        report(1, "more than " + std::to_string(kMostSubmodes) + " submodes inside one another");
    }
    tsh_context_leave(context_.get(), left);
    return false;
}

// ---- Messages ----

// A waiting message is written at the next line that is not indented more.
void ConfigCheck::report(size_t column, const std::string &message, bool waits) {
    are_all_accepted_ = false;
    write_waiting();
    waiting_ = {line_number_, column, message, indentation_};
    if (!waits)
        write_waiting();
}

void ConfigCheck::write_waiting() {
    if (!waiting_)
        return;
    if (as_json_)
        write_json(*waiting_);
    else
        write_text(*waiting_);
    waiting_.reset();
}

void ConfigCheck::write_text(const Waiting &waiting) {
    output_ << name_ << ':' << waiting.line << ':' << uint64_t{waiting.column} << ": "
            << waiting.message;
    if (waiting.skipped > 0)
        output_ << "; " << waiting.skipped << (waiting.skipped == 1 ? " line" : " lines")
                << " below it not checked";
    output_ << '\n';
}

void ConfigCheck::write_json(const Waiting &waiting) {
    tool::JsonOutput json{output_};
    json.begin_object().member("file", name_);
    json.member("line").number(waiting.line);
    json.member("column").number(uint64_t{waiting.column});
    json.member("message", waiting.message);
    json.member("skipped").number(waiting.skipped).end_object().end_line();
}

// Messages about lines are written first.
void ConfigCheck::fail(const std::string &message) {
    write_waiting();
    output_.flush();
    tool::fail("%s: %s", name_.c_str(), message.c_str());
}

} // namespace find
