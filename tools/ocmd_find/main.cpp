// ocmd_find: which command of a tree a line is, and whether a saved configuration is made of such.
#include "base/owners.h"
#include "param_reg/values.h"
#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_find/forest.h"
#include "tools/ocmd_find/line_finder.h"
#include "tools/ocmd_find/saved_config.h"
#include "tools/support/program.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"
#include "tools/support/types.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <unistd.h>

namespace find {

namespace {

using tool::CommandLine;
using tool::fail;
using tool::Option;
using tool::refuse;
using tool::Status;
using tool::Stop;
using tool::TextOutput;
using tool::TreeFile;

constexpr std::array kOptions{
    Option{0, "config", "SAVED", "Check every line of a saved configuration; may be repeated."},
    Option{0, "any-value", nullptr, "Accept any word as a value without numeric bounds."},
};

constexpr tool::Program kProgram{
    "ocmd_find", "FILE [WORD...]",
    "Resolves an abbreviated line as the shell does and tells all about the command: \"/\" enters\n"
    "a submode. With --config, tells every line of a saved configuration that the tree does not\n"
    "accept. FILE is a main par file or a subtree file. The status is 0 when every line is known,\n"
    "1 when one is not or the tree has faults, and 2 in case of trouble.",
    kOptions};

using Types = std::unique_ptr<tsh_types_t, base::Releaser<tsh_types_free>>;

// Bounds and lengths are still checked.
Types types_without_forms() {
    Types types{tsh_types_new()};
    if (types == nullptr)
        throw std::bad_alloc{};
    tsh_types_ignore_forms(types.get());
    return types;
}

constexpr Status kKnown = tool::kDone;
constexpr Status kUnknown = tool::kFaults;

// A blank right behind a closing quote would belong to the word before it.
std::string joined(std::span<char *const> words) {
    std::string text;
    for (const char *word : words) {
        if (!text.empty())
            text += text.ends_with('"') ? "  " : " ";
        text += word;
    }
    return text;
}

Status answer(LineFinder &finder, std::span<char *const> words) {
    const TypedLine line{joined(words)};
    if (line.words().empty())
        refuse("no words to look up");
    if (line.fault())
        fail("%s", line.fault()->what.c_str());
    const Resolution resolution = finder.resolve(finder.start(), line, true);
    if (!resolution.is_read) {
        tell_refusal(finder.forest(), line, resolution);
        return kUnknown;
    }
    TextOutput output;
    print_answer(finder, line, resolution, output);
    output.flush();
    return kKnown;
}

// A file that cannot be read does not keep the others from being checked.
Status check_config(LineFinder &finder, const char *path, TextOutput &output) {
    const bool is_input = strcmp(path, "-") == 0;
    const std::unique_ptr<FILE, base::Releaser<fclose>> opened{is_input ? nullptr
                                                                        : fopen(path, "r")};
    if (!is_input && opened == nullptr) {
        tool::tell("%s: cannot be opened: %s", path, strerror(errno));
        return tool::kTrouble;
    }
    try {
        ConfigCheck config{finder, output};
        const bool is_known =
            is_input ? config.check(stdin, "standard input") : config.check(opened.get(), path);
        output.flush();
        return is_known ? kKnown : kUnknown;
    } catch (const Stop &stop) {
        return stop.status;
    }
}

Status check_configs(LineFinder &finder, const CommandLine &line) {
    TextOutput output;
    Status status = kKnown;
    for (const CommandLine::Given &given : line.given())
        if (given.name == "config")
            status = std::max(status, check_config(finder, given.value, output));
    return status;
}

bool takes_standard_input(const CommandLine &line) {
    return std::ranges::any_of(line.given(), [](const CommandLine::Given &given) {
        return given.name == "config" && strcmp(given.value, "-") == 0;
    });
}

// A closed standard input stays one that cannot be read: no file to be opened takes its place.
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
    const TreeFile file = tool::open_sound(operands[0]);
    tool::register_types();
    const Types types = line.has("any-value") ? types_without_forms() : nullptr;
    const Forest forest{file, types.get()};
    LineFinder finder{forest};
    return line.has("config") ? check_configs(finder, line) : answer(finder, operands.subspan(1));
}

} // namespace

} // namespace find

int main(int argc, char **argv) {
    return tool::run(find::kProgram, argc, argv, find::find_lines);
}
