// ocmd_find: resolves command lines and checks saved configurations.
#include "base/owners.h"
#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_find/file_grammar.h"
#include "tools/ocmd_find/json_answer.h"
#include "tools/ocmd_find/saved_config.h"
#include "tools/support/program.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"
#include "tools/support/types.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace find {

namespace {

using tool::CommandLine;
using tool::Option;
using tool::refuse;
using tool::Status;
using tool::Stop;
using tool::TextOutput;
using tool::TreeFile;

constexpr std::array kOptions{
    Option{0, "config", "SAVED", "Check every line of a saved configuration; may be repeated."},
    Option{0, "in", "LINE", "Begin configurations in the submode that this typed line enters."},
    Option{0, "leave", "WORD,...", "Treat these words, too, as leaving one submode."},
    Option{0, "leave-all", "WORD,...", "Treat these words, too, as leaving all submodes."},
    Option{0, "json", nullptr, "Print JSON for scripts: an object per answer or message."},
    Option{0, "any-value", nullptr, "Accept any word as a value without numeric bounds."},
};

constexpr tool::Program kProgram{
    "ocmd_find", "FILE [WORD...]",
    "Resolves an abbreviated command line as the shell does and prints the command's properties;\n"
    "\"/\" enters a submode. With --config, reports every line of a saved configuration that the\n"
    "tree does not accept. FILE is a main par file or a subtree file. Exit status: 0 if every "
    "line\n"
    "is valid, 1 if a line or the tree is not, 2 on error.",
    kOptions};

constexpr Status kKnown = tool::kDone;
constexpr Status kUnknown = tool::kNegative;

// A space directly after a closing quote would belong to the word before it.
std::string joined(std::span<char *const> words) {
    std::string text;
    for (const char *word : words) {
        if (!text.empty())
            text += text.ends_with('"') ? "  " : " ";
        text += word;
    }
    return text;
}

Status answer(const FileGrammar &grammar, std::span<char *const> words, bool as_json) {
    TextOutput output;
    const std::string line = joined(words);
    const tsh_verdict_t verdict =
        as_json ? write_json_answer(grammar, line, output) : print_answer(grammar, line, output);
    if (verdict == TSH_EMPTY)
        refuse("no words to look up");
    return verdict == TSH_ACCEPTED ? kKnown : kUnknown;
}

// If a file cannot be read, the others are still checked.
Status check_config(ConfigCheck &config, const char *path, TextOutput &output) {
    const bool is_input = strcmp(path, "-") == 0;
    const std::unique_ptr<FILE, base::Releaser<fclose>> opened{is_input ? nullptr
                                                                        : fopen(path, "r")};
    if (!is_input && opened == nullptr) {
        tool::report("%s: cannot be opened: %s", path, strerror(errno));
        return tool::kError;
    }
    try {
        const bool is_known =
            is_input ? config.check(stdin, "standard input") : config.check(opened.get(), path);
        output.flush();
        return is_known ? kKnown : kUnknown;
    } catch (const Stop &stop) {
        return stop.status;
    }
}

// In lower case.
std::vector<std::string> words_in(std::string_view list) {
    std::vector<std::string> words;
    while (!list.empty()) {
        const size_t end = std::min(list.find(','), list.size());
        if (end > 0)
            std::ranges::transform(list.substr(0, end), std::back_inserter(words.emplace_back()),
                                   [](unsigned char c) { return std::tolower(c); });
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return words;
}

// A later option replaces the meaning of a word.
LeavingWords leaving_words(const CommandLine &line) {
    LeavingWords words;
    for (const CommandLine::Given &given : line.given()) {
        if (given.name != "leave" && given.name != "leave-all")
            continue;
        for (std::string &word : words_in(given.value)) {
            std::erase(words.one, word);
            std::erase(words.all, word);
            (given.name == "leave" ? words.one : words.all).push_back(std::move(word));
        }
    }
    return words;
}

Status check_configs(const FileGrammar &grammar, const CommandLine &line) {
    TextOutput output;
    const LeavingWords leaving = leaving_words(line);
    const char *within = line.value("in");
    ConfigCheck config{grammar, leaving, within == nullptr ? "" : within, line.has("json"), output};
    Status status = kKnown;
    for (const CommandLine::Given &given : line.given())
        if (given.name == "config")
            status = std::max(status, check_config(config, given.value, output));
    return status;
}

bool takes_standard_input(const CommandLine &line) {
    return std::ranges::any_of(line.given(), [](const CommandLine::Given &given) {
        return given.name == "config" && strcmp(given.value, "-") == 0;
    });
}

// If standard input is closed, opens a file that cannot be read there, so that no other file gets
// its descriptor.
void keep_closed_input() {
    if (fcntl(STDIN_FILENO, F_GETFD) < 0)
        open("/", O_PATH | O_CLOEXEC);
}

Status find_lines(const CommandLine &line) {
    const auto operands = line.operands();
    if (operands.empty())
        refuse("no file");
    if (line.has("config") == (operands.size() > 1))
        refuse(line.has("config") ? "either words or --config, not both" : "no words to look up");
    if (takes_standard_input(line)) {
        if (strcmp(operands[0], "-") == 0)
            refuse("standard input cannot be both the tree and a configuration");
        keep_closed_input();
    }
    for (const char *option : {"in", "leave", "leave-all"})
        if (line.has(option) && !line.has("config"))
            refuse("--%s without --config", option);
    const TreeFile file = tool::open_valid(operands[0]);
    tool::register_types();
    const FileGrammar grammar{file, !line.has("any-value")};
    return line.has("config") ? check_configs(grammar, line)
                              : answer(grammar, operands.subspan(1), line.has("json"));
}

} // namespace

} // namespace find

int main(int argc, char **argv) {
    return tool::run(find::kProgram, argc, argv, find::find_lines);
}
