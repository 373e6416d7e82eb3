// Lines typed at a terminal: editing, history, completion.
#pragma once

#include "base/owners.h"
#include "tools/ocmd_try/command_shell.h"
#include "tools/ocmd_try/history_file.h"

#include <cstddef>
#include <cwchar>
#include <histedit.h>
#include <memory>
#include <optional>
#include <string>

namespace shell {

class LineEditor {
public:
    /// Edits lines on the terminal of standard input and output.
    /// @param keeps_history whether lines of earlier runs are known, and these to later ones.
    LineEditor(CommandShell &command_shell, bool keeps_history);
    ~LineEditor() = default;
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;

    /// Returns the next line without its newline; empty after Ctrl-C. Nothing at the end of input.
    std::optional<std::string> next();

    /// Lines of the screen.
    [[nodiscard]] static size_t height();

private:
    void remember(const std::string &line);
    static char *prompt(EditLine *editor);
    static unsigned char complete_word(EditLine *editor, wint_t key);
    static unsigned char list_candidates(EditLine *editor, wint_t key);
    unsigned char complete();
    unsigned char list();
    unsigned char complete_own_command(std::string_view word);
    unsigned char replace(size_t begin, size_t end, const std::string &text);
    [[nodiscard]] std::string_view text_to_cursor() const;

    CommandShell &shell_;
    std::string prompt_;
    std::optional<HistoryFile> history_file_; // none if no history is kept
    HistoryPtr history_;
    std::unique_ptr<EditLine, base::Releaser<el_end>> editor_;
};

} // namespace shell
