// ocmd_try: a shell over a grammar.
#include "tools/ocmd_try/grammar_files.h"
#include "tools/ocmd_try/line_editor.h"
#include "tools/ocmd_try/own_commands.h"
#include "tools/ocmd_try/session.h"
#include "tools/support/program.h"
#include "tools/support/types.h"

#include <array>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

using shell::LineEditor;
using shell::Outcome;
using shell::Session;

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

Outcome handle(const std::string &line, Session &session, size_t height) {
    if (shell::is_own_command(line))
        return shell::run_own_command(line, session, height);
    return session.answer(line) ? Outcome::kDone : Outcome::kRefused;
}

// Ctrl-D leaves a submode, outside all of them the shell.
bool goes_on_at_end(Session &session) {
    fputc('\n', stdout);
    if (session.depth() == 0)
        return false;
    session.leave(1);
    return true;
}

tool::Status talk(Session &session, bool keeps_history) {
    LineEditor editor{session, keeps_history};
    for (;;) {
        fflush(stdout);
        session.reload(false);
        const std::optional<std::string> line = editor.next();
        if (!line) {
            if (!goes_on_at_end(session))
                return tool::kDone;
            continue;
        }
        fflush(stdout);
        if (handle(*line, session, LineEditor::height()) == Outcome::kQuit)
            return tool::kDone;
    }
}

tool::Status answer_lines(Session &session) {
    tool::Status status = tool::kDone;
    for (std::string line; std::getline(std::cin, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        const Outcome outcome = handle(line, session, 0);
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
    Session session{files, line.has("single")};
    return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0
               ? talk(session, !line.has("no-history"))
               : answer_lines(session);
}

} // namespace

int main(int argc, char **argv) {
    return tool::run(kProgram, argc, argv, run_shell);
}
