// Lines are resolved as ocmd_find does it; submodes open and close as in its saved configurations.
#include "tools/ocmd_try/command_shell.h"

#include "base/bit_array.h"
#include "base/escape.h"
#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_find/config_lines.h"
#include "tools/ocmd_find/saved_config.h"
#include "tools/support/program.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"

#include <algorithm>
#include <cctype>
#include <new>
#include <set>
#include <span>
#include <utility>

namespace shell {

namespace {

using base::escaped;

constexpr size_t kWidestWord = 32;  // that is lined up with others
constexpr size_t kMostListed = 500; // candidates
constexpr unsigned kBitsPerByte = 8;

bool is_same_word(std::string_view one, std::string_view other) {
    return std::ranges::equal(one, other, [](unsigned char a, unsigned char b) {
        return std::tolower(a) == std::tolower(b);
    });
}

bool is_one_of(std::string_view word, const std::vector<std::string> &words) {
    return std::ranges::any_of(words,
                               [&](const std::string &other) { return is_same_word(word, other); });
}

std::string_view trimmed(std::string_view line) {
    const size_t first = line.find_first_not_of(find::kIndentation);
    const size_t last = line.find_last_not_of(find::kIndentation);
    return first == std::string_view::npos ? std::string_view{}
                                           : line.substr(first, last - first + 1);
}

// A value as it can be typed again. LINE takes quotes as they are.
std::string typed_again(const tsh_word_t &word) {
    const std::string_view text = word.text;
    const bool needs_quotes = word.parameter >= 0 && tool::types_text(word.value.type) != "LINE" &&
                              (text.empty() || text.find(' ') != std::string_view::npos);
    return needs_quotes ? '"' + std::string{text} + '"' : std::string{text};
}

std::string line_of(const tsh_reading_t &reading) {
    std::string line;
    for (const tsh_word_t &word : std::span{reading.words, reading.word_count}) {
        if (!line.empty())
            line += line.ends_with('"') ? "  " : " ";
        line += typed_again(word);
    }
    return line;
}

// "INTEGER=3, INTEGER=80"
void add_values(const tsh_reading_t &reading, std::string &values) {
    for (const tsh_word_t &word : std::span{reading.words, reading.word_count})
        if (word.parameter >= 0)
            values.append(values.empty() ? "" : ", ")
                .append(tool::types_text(word.value.type != 0
                                             ? word.value.type
                                             : word.node->params[word.parameter].type_mask))
                .append("=")
                .append(word.text);
}

// The numbers of a set, from 0: "3, 18".
std::string numbers_in(std::span<const uint8_t> set) {
    std::string text;
    for (size_t bit = 0; bit < set.size() * kBitsPerByte; ++bit)
        if (base::is_in_set(set.data(), bit))
            text.append(text.empty() ? "" : ", ").append(std::to_string(bit));
    return text;
}

std::string numbers_in(uint64_t set) {
    std::string text;
    for (unsigned bit = 0; bit < 64; ++bit)
        if ((set >> bit & 1U) != 0)
            text.append(text.empty() ? "" : ", ").append(std::to_string(bit));
    return text;
}

// Whether the candidates are one keyword, of one node or several.
bool have_one_keyword(const tsh_answer_t &answer) {
    const tsh_candidate_t *first = tsh_answer_candidate(&answer, 0);
    if (first == nullptr || *first->insert == '\0')
        return false;
    for (uint32_t n = 1; n < tsh_answer_candidate_count(&answer); ++n)
        if (std::string_view{tsh_answer_candidate(&answer, n)->insert} != first->insert)
            return false;
    return true;
}

} // namespace

LoadedGrammar::LoadedGrammar(base::Descriptor made)
    : stored(std::move(made)), file("/proc/self/fd/" + std::to_string(stored.number())),
      grammar(file) {}

// ---- The grammar ----

CommandShell::CommandShell(GrammarFiles &files, bool is_single)
    : files_(files), name_(escaped(files.name())), is_single_(is_single) {
    auto [tree, status] = files_.load();
    if (!tree)
        throw tool::Stop{status};
    adopt(std::make_unique<LoadedGrammar>(std::move(tree)));
}

void CommandShell::adopt(std::unique_ptr<LoadedGrammar> loaded) {
    find::ContextPtr context = loaded->grammar.new_context();
    if (is_single_ && tsh_context_admit(context.get(), nullptr, nullptr, 1) < 0)
        throw std::bad_alloc{};
    find::AnswerPtr answer = loaded->grammar.new_answer();
    answer_ = std::move(answer); // before the grammar that they are of
    context_ = std::move(context);
    loaded_ = std::move(loaded);
}

bool CommandShell::reload(bool must) {
    if (!must && !files_.have_changed())
        return true;
    base::Descriptor made = files_.load().tree;
    if (!made) {
        tool::report("errors in the grammar; the last valid version stays in use");
        return false;
    }
    const std::vector<std::string> entered = places();
    adopt(std::make_unique<LoadedGrammar>(std::move(made)));
    enter_again(entered);
    tool::report("the grammar is loaded again");
    return true;
}

void CommandShell::enter_again(const std::vector<std::string> &places) {
    for (const std::string &line : places) {
        const tsh_verdict_t verdict =
            find::checked(tsh_resolve(context_.get(), line.data(), line.size(), 0, answer_.get()));
        if (verdict != TSH_ACCEPTED || !find::enter(*context_, *answer_)) {
            tool::report("left '%s', which enters no submode any more", line.c_str());
            return;
        }
    }
}

// ---- Places ----

std::vector<std::string> CommandShell::places() const {
    std::vector<std::string> lines;
    for (uint32_t level = 1; level <= depth(); ++level)
        lines.push_back(line_of(*tsh_context_place(context_.get(), level)));
    return lines;
}

std::vector<const tree_node_t *> CommandShell::path() const {
    std::vector<const tree_node_t *> path;
    for (uint32_t level = 1; level <= depth(); ++level) {
        const tsh_reading_t *place = tsh_context_place(context_.get(), level);
        path.insert(path.end(), place->path, place->path + place->path_count);
    }
    return path;
}

std::string CommandShell::prompt() const {
    if (depth() == 0)
        return name_ + "# ";
    const tsh_reading_t *place = tsh_context_place(context_.get(), depth());
    const char *mode = place->command->mode_id;
    return name_ + '(' + escaped(*mode != '\0' ? mode : line_of(*place)) + ")# ";
}

// ---- Lines ----

bool CommandShell::answer(std::string_view line) {
    if (find::is_comment(line) || leave_by_word(line))
        return true;
    const auto resolve = [&](uint32_t options) {
        return find::checked(
            tsh_resolve(context_.get(), line.data(), line.size(), options, answer_.get()));
    };
    tsh_verdict_t verdict = resolve(TSH_OUTWARD);
    bool is_here = verdict != TSH_INCOMPLETE;
    if (!is_here) { // nobody knows how many submodes around it the line means
        is_here = resolve(0) == TSH_INCOMPLETE;
        verdict = is_here ? TSH_INCOMPLETE : resolve(TSH_OUTWARD);
    }
    if (verdict == TSH_EMPTY)
        return true;
    if (verdict == TSH_REFUSED || verdict == TSH_AMBIGUOUS) {
        find::print_refusal(*answer_, line);
        return false;
    }
    tool::TextOutput output;
    const uint32_t around = is_here ? depth() - tsh_answer_levels_left(answer_.get()) : 0;
    for (uint32_t n = 0; n < tsh_answer_reading_count(answer_.get()); ++n) {
        if (n > 0)
            output << '\n';
        print_reading(*tsh_answer_reading(answer_.get(), n), line, around, output);
    }
    if (verdict == TSH_INCOMPLETE) {
        find::print_candidates("follows", *answer_, nullptr, output);
        output.flush();
        tool::report("%s", tsh_answer_text(answer_.get()));
        return false;
    }
    output.flush();
    return enter();
}

bool CommandShell::leave_by_word(std::string_view line) {
    static const find::LeavingWords kLeaving;
    const std::string_view word = trimmed(line);
    const bool leaves_all = is_one_of(word, kLeaving.all);
    if (!leaves_all && !is_one_of(word, kLeaving.one))
        return false;
    leave_entered(leaves_all ? depth() : 1);
    return true;
}

bool CommandShell::leave_entered(uint32_t count) {
    if (depth() == 0) {
        tool::report("no submode to leave; :quit ends the shell");
        return false;
    }
    leave(count);
    return true;
}

// Leaves the submodes that the line was not found in. @return false if there are too many.
bool CommandShell::enter() {
    const uint32_t left = tsh_answer_levels_left(answer_.get());
    if (depth() - left >= find::kMostSubmodes &&
        tsh_answer_reading(answer_.get(), 0)->is_submode != 0) {
        tool::report("more than %u submodes inside one another", find::kMostSubmodes);
        return false;
    }
    if (!find::enter(*context_, *answer_))
        leave(left);
    return true;
}

// Below the words of so many submodes.
void CommandShell::print_reading(const tsh_reading_t &reading, std::string_view line,
                                 uint32_t around, tool::TextOutput &output) const {
    std::string command;
    std::string typed;
    std::string values;
    for (uint32_t level = 1; level <= around; ++level) {
        const tsh_reading_t &place = *tsh_context_place(context_.get(), level);
        command += find::command_of(place) + " / ";
        typed += line_of(place) + " / ";
        add_values(place, values);
    }
    add_values(reading, values);
    find::print_field(output, "command", command + find::command_of(reading));
    find::print_field(output, "line", typed + find::typed_line(reading, line));
    const bool is_complete = reading.command != nullptr;
    if (!is_complete)
        find::print_field(output, "complete", "no");
    const tree_node_t &node = is_complete ? *reading.command : *reading.node;
    find::print_field(output, "help", node.help);
    if (node.func_id[0] != '\0')
        find::print_field(output, "function", std::string{node.func_id} + '(' + values + ')');
    find::print_field(output, "mode", node.mode_id);
    find::print_field(output, "permissions", numbers_in(node.perms_mask));
    find::print_field(output, "interfaces", numbers_in(node.intf_mask));
    if (reading.is_submode != 0 && !is_single_)
        find::print_field(output, "submode",
                          node.submode_help[0] == '\0' ? "yes" : node.submode_help);
}

// ---- Completion ----

Completion CommandShell::complete(std::string_view line, size_t offset) {
    const auto look = [&](uint32_t options) {
        return find::checked(
            tsh_complete(context_.get(), line.data(), line.size(), offset, options, answer_.get()));
    };
    tsh_verdict_t verdict = look(0);
    if (tsh_answer_candidate_count(answer_.get()) == 0 && verdict != TSH_ACCEPTED && depth() > 0)
        verdict = look(TSH_OUTWARD);
    if (tsh_answer_candidate_count(answer_.get()) == 0 && *tsh_answer_text(answer_.get()) == '\0' &&
        find::checked(tsh_resolve(context_.get(), line.data(), offset, TSH_OUTWARD,
                                  answer_.get())) != TSH_ACCEPTED)
        verdict = TSH_REFUSED; // the answer has the reason now
    Completion completion{tsh_answer_range(answer_.get()), "", false, candidate_list(verdict)};
    if (verdict == TSH_REFUSED)
        return completion;
    completion.is_unique = have_one_keyword(*answer_);
    // What would upset the terminal is not typed for the user.
    const std::string_view common = tsh_answer_common(answer_.get());
    if (base::find_control(common).empty() && tool::is_utf8(common))
        completion.common = common;
    return completion;
}

// Word, bounds and help, each candidate once; "<cr>" where the line may end. If nothing may stand
// there, the reason.
std::string CommandShell::candidate_list(tsh_verdict_t verdict) const {
    const char *text_of_answer = tsh_answer_text(answer_.get());
    std::string reason =
        std::string{"  "} + (*text_of_answer == '\0' ? "nothing fits here" : text_of_answer) + '\n';
    if (verdict == TSH_REFUSED)
        return reason;
    std::vector<std::pair<std::string, std::string>> rows;
    std::set<std::pair<std::string, std::string>> known;
    const auto add = [&](std::string word, std::string help) {
        if (std::pair row{std::move(word), std::move(help)}; known.insert(row).second)
            rows.push_back(std::move(row));
    };
    const uint32_t count = tsh_answer_candidate_count(answer_.get());
    uint32_t n = 0;
    for (; n < count && rows.size() < kMostListed; ++n) {
        const tsh_candidate_t &candidate = *tsh_answer_candidate(answer_.get(), n);
        std::string word = escaped(candidate.text);
        if (*candidate.bounds != '\0')
            word.append(" (").append(candidate.bounds).append(")");
        add(std::move(word), escaped(candidate.node->help));
    }
    const tsh_range_t range = tsh_answer_range(answer_.get());
    if (verdict == TSH_ACCEPTED && range.begin == range.end)
        add("<cr>", "");
    if (rows.empty())
        return reason;
    size_t width = 0;
    for (const auto &[word, help] : rows)
        width = std::max(width, std::min(find::width_of(word), kWidestWord));
    std::string text;
    for (const auto &[word, help] : rows) {
        text.append("  ").append(word);
        if (!help.empty())
            text.append(width - std::min(width, find::width_of(word)) + 2, ' ').append(help);
        text += '\n';
    }
    if (n < count)
        text.append("  and ").append(std::to_string(count - n)).append(" more\n");
    return text;
}

} // namespace shell
