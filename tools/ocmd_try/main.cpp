// ocmd_try: a shell over a grammar.
#include "tools/ocmd_try/command_shell.h"
#include "tools/ocmd_try/grammar_files.h"
#include "tools/ocmd_try/line_editor.h"
#include "tools/ocmd_try/own_commands.h"
#include "tools/support/program.h"
#include "tools/support/types.h"

#include <array>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

using shell::CommandShell;
using shell::LineEditor;
using shell::Outcome;

constexpr std::array kOptions{
    tool::Option{'p', "prebuilt", "DIRECTORY",
                 "Where main_tree.pars and main_tree2.pars are, to borrow from when linking."},
    tool::Option{0, "single", nullptr, "Show single mode: no submode is entered."},
    tool::Option{0, "no-history", nullptr, "Neither read nor write the history of lines."},
};

constexpr tool::Program kProgram{
    "ocmd_try", "TREE|GRAMMAR.yaml...",
    "A shell over a grammar: completes and resolves command lines and shows what they stand for.\n"
    "No command is run. Reads one tree, or compiles grammars in YAML and links several of them.\n"
    "Without a terminal, answers standard input line by line.",
    kOptions};

Outcome handle(const std::string &line, CommandShell &command_shell, size_t height) {
    if (shell::is_own_command(line))
        return shell::run_own_command(line, command_shell, height);
    return command_shell.answer(line) ? Outcome::kDone : Outcome::kRefused;
}

// Ctrl-D leaves a submode, outside all of them the shell.
bool goes_on_at_end(CommandShell &command_shell) {
    fputc('\n', stdout);
    if (command_shell.depth() == 0)
        return false;
    command_shell.leave(1);
    return true;
}

tool::Status talk(CommandShell &command_shell, bool keeps_history) {
    LineEditor editor{command_shell, keeps_history};
    for (;;) {
        fflush(stdout);
        command_shell.reload(false);
        const std::optional<std::string> line = editor.next();
        if (!line) {
            if (!goes_on_at_end(command_shell))
                return tool::kDone;
            continue;
        }
        fflush(stdout);
        if (handle(*line, command_shell, LineEditor::height()) == Outcome::kQuit)
            return tool::kDone;
    }
}

tool::Status answer_lines(CommandShell &command_shell) {
    tool::Status status = tool::kDone;
    for (std::string line; std::getline(std::cin, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        const Outcome outcome = handle(line, command_shell, 0);
        fflush(stdout);
        if (outcome == Outcome::kQuit)
            break;
        if (outcome == Outcome::kRefused)
            status = tool::kNegative;
    }
    if (std::cin.bad() || ferror(stdin) != 0)
        tool::fail("standard input: cannot be read");
    return status;
}

tool::Status run_shell(const tool::CommandLine &line) {
    shell::GrammarFiles files{line.operands(), line.value("prebuilt")};
    tool::register_types();
    CommandShell command_shell{files, line.has("single")};
    return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0
               ? talk(command_shell, !line.has("no-history"))
               : answer_lines(command_shell);
}

} // namespace

int main(int argc, char **argv) {
    return tool::run(kProgram, argc, argv, run_shell);
}
