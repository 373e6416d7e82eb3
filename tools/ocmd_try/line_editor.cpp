// Line editing with libedit, with characters in UTF-8 whatever the locale.
#include "tools/ocmd_try/line_editor.h"

#include "tools/ocmd_try/own_commands.h"
#include "tools/support/program.h"
#include "tools/support/utf8.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <langinfo.h>
#include <new>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace shell {

namespace {

constexpr size_t kUsualHeight = 24;

volatile sig_atomic_t is_interrupted = 0;

void note_interrupt(int /*unused*/) {
    is_interrupted = 1;
}

// Ctrl-C ends the line, not the program.
void catch_interrupt() {
    struct sigaction action {};
    action.sa_handler = note_interrupt;
    sigaction(SIGINT, &action, nullptr);
}

void use_utf8() {
    setlocale(LC_CTYPE, "");
    if (strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        setlocale(LC_CTYPE, "C.UTF-8");
}

} // namespace

LineEditor::LineEditor(CommandShell &command_shell, bool keeps_history)
    : shell_(command_shell), history_(new_history()) {
    use_utf8();
    catch_interrupt();
    setvbuf(stdout, nullptr, _IOFBF, BUFSIZ); // lists leave in few writes; libedit flushes it
    editor_.reset(el_init(tool::name_in_messages(), stdin, stdout, stderr));
    if (editor_ == nullptr)
        throw std::bad_alloc{};
    if (keeps_history)
        history_file_.emplace().load(history_.get());
    EditLine *editor = editor_.get();
    el_set(editor, EL_CLIENTDATA, this);
    el_set(editor, EL_PROMPT, prompt);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_HIST, ::history, history_.get());
    // Wide texts are kept where they are; of narrow ones libedit makes copies that it never frees.
    el_wset(editor, EL_ADDFN, L"ocmd-complete", L"Complete the word", complete_word);
    el_wset(editor, EL_ADDFN, L"ocmd-list", L"List what may stand here", list_candidates);
    el_set(editor, EL_BIND, "^I", "ocmd-complete", nullptr);
    el_set(editor, EL_BIND, "?", "ocmd-list", nullptr);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
}

void LineEditor::remember(const std::string &line) {
    HistEvent event;
    ::history(history_.get(), &event, H_ENTER, line.c_str());
    if (history_file_)
        history_file_->add(line);
}

std::optional<std::string> LineEditor::next() {
    prompt_ = tool::with_invalid_bytes_escaped(shell_.prompt()); // libedit takes no others
    is_interrupted = 0;
    el_resize(editor_.get());
    int length = 0;
    const char *typed = el_gets(editor_.get(), &length);
    if (is_interrupted != 0) {
        el_reset(editor_.get());
        fputc('\n', stdout);
        return "";
    }
    if (typed == nullptr || length <= 0)
        return std::nullopt;
    std::string line{typed, static_cast<size_t>(length)};
    if (line.ends_with('\n'))
        line.pop_back();
    if (line.find_first_not_of(" \t") != std::string::npos)
        remember(line);
    return line;
}

size_t LineEditor::height() {
    struct winsize size {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 ? size.ws_row
                                                                           : kUsualHeight;
}

// ---- What libedit calls ----

namespace {

LineEditor *owner_of(EditLine *editor) {
    void *owner = nullptr;
    el_get(editor, EL_CLIENTDATA, &owner);
    return static_cast<LineEditor *>(owner);
}

} // namespace

char *LineEditor::prompt(EditLine *editor) {
    return owner_of(editor)->prompt_.data();
}

unsigned char LineEditor::complete_word(EditLine *editor, wint_t /*key*/) {
    return owner_of(editor)->complete();
}

unsigned char LineEditor::list_candidates(EditLine *editor, wint_t /*key*/) {
    return owner_of(editor)->list();
}

std::string_view LineEditor::text_to_cursor() const {
    const LineInfo *line = el_line(editor_.get());
    return {line->buffer, static_cast<size_t>(line->cursor - line->buffer)};
}

unsigned char LineEditor::complete() {
    const std::string text{text_to_cursor()};
    if (is_own_command(text))
        return complete_own_command(text);
    const Completion found = shell_.complete(text, text.size());
    const size_t typed = found.range.end - found.range.begin;
    if (found.is_unique && !found.common.empty())
        return replace(found.range.begin, found.range.end, found.common + ' ');
    if (found.common.size() > typed)
        return replace(found.range.begin, found.range.end, found.common);
    printf("\n%s", found.candidates.c_str());
    return CC_REDISPLAY;
}

unsigned char LineEditor::complete_own_command(std::string_view word) {
    const std::vector<std::string_view> names = own_commands(word);
    if (names.empty())
        return CC_REFRESH_BEEP;
    if (names.size() == 1)
        return replace(0, word.size(), std::string{names.front()} + ' ');
    fputc('\n', stdout);
    for (const std::string_view name : names)
        printf("  %s\n", std::string{name}.c_str());
    return CC_REDISPLAY;
}

unsigned char LineEditor::list() {
    const std::string text{text_to_cursor()};
    if (is_own_command(text)) // a regular expression may have it
        return el_insertstr(editor_.get(), "?") == 0 ? CC_REFRESH : CC_ERROR;
    printf("?\n%s", shell_.complete(text, text.size()).candidates.c_str());
    return CC_REDISPLAY;
}

// Bytes begin to end - 1 of the text that ends at the cursor.
unsigned char LineEditor::replace(size_t begin, size_t end, const std::string &text) {
    const std::string old{text_to_cursor().substr(begin, end - begin)};
    el_deletestr(editor_.get(), static_cast<int>(tool::count_characters(old)));
    return el_insertstr(editor_.get(), text.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
}

} // namespace shell
