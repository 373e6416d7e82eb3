// Word splitting: copies the line, separates its operators, then splits it in one pass.
#include "feature/tsh/src/word_split.h"

#include "feature/tsh/src/char_set_internal.h"
#include "feature/tsh/src/str_list_internal.h"
#include "feature/tsh/src/trace_internal.h"
#include "platform/robust_string.h"

#include <array>

namespace {

using tsh::CharSet;
using tsh::OwnedList;
using tsh::OwnedText;
using tsh::trace;
using tsh::traces;

constexpr char kDefaultSeparators[] = " \t\n\r\f\v";
constexpr size_t kDelimiterRoom = 33;
// Space for the two spaces that may be inserted, and for NULs after the text.
constexpr size_t kSpareBytes = 5;
constexpr CharSet kEndsQuotes("\"");

void note(const char *message) {
    if (traces(TSH_TRACE_WORDS))
        trace("%s", message);
}

// Prints one mark for each character that the split skips.
void mark(const char *text, size_t characters) {
    if (traces(TSH_TRACE_WORDS))
        for (size_t i = 0; i < characters; ++i)
            trace("%s", text);
}

class WorkingCopy {
public:
    /// If out of memory, text() is null.
    explicit WorkingCopy(std::string_view line) : length_(line.size()) {
        if (length_ > tsh::kLongestLine)
            tsh::malloc_failed();
        else
            text_.reset(tsh::allocate_text(length_ + kSpareBytes));
        if (text_ != nullptr)
            line.copy(text_.get(), length_);
    }

    [[nodiscard]] const char *text() const { return text_.get(); }

    [[nodiscard]] std::string_view line() const { return {text_.get(), length_}; }

    void pad_last_operator() {
        const char last = line().back();
        if (last == '|' || last == '>' || last == '<')
            text_.get()[length_++] = ' ';
    }

    void part_first_pipe_to_file() {
        const size_t pipe = line().find("|>");
        if (pipe == std::string_view::npos)
            return;
        char *redirection = text_.get() + pipe + 1;
        const OwnedText rest(tsh_strdup(redirection));
        if (rest == nullptr) {
            note("Error mallocing for dup str |> in  case.\n");
            return;
        }
        *redirection = ' ';
        robust_strcpy(redirection + 1, rest.get());
        ++length_;
    }

private:
    size_t length_;
    OwnedText text_;
};

std::array<char, kDelimiterRoom> choose_delimiters(const char *delimiters) {
    std::array<char, kDelimiterRoom> chosen{};
    if (robust_strlen(delimiters) == 0) {
        note("Defaulting delimter to space...\n");
        robust_strncpy(chosen.data(), kDefaultSeparators, chosen.size());
        return chosen;
    }
    note("Using user specified delimiter...\n");
    robust_strncpy(chosen.data(), delimiters, chosen.size());
    if (std::string_view(delimiters).find(' ') != std::string_view::npos) {
        note("Adding std delimiters...\n");
        robust_strncat(chosen.data(), kDefaultSeparators, chosen.size());
    }
    return chosen;
}

class WordCutter {
public:
    WordCutter(std::string_view line, std::string_view delimiters)
        : line_(line), delimiters_(delimiters), ends_text_(delimiters, "\"") {}

    /// Splits off all words up to the capacity. @return false if out of memory.
    bool cut_into(str_list_t &list) {
        while (begin_word()) {
            const size_t start = position_;
            pass_word();
            if (position_ > start && !append(list, start))
                return false;
            if (list.size == STR_LIST_MAX_WORDS) {
                note("*** Oops, Too many words in string ***\n");
                note("Exiting...\n");
                break;
            }
        }
        return true;
    }

private:
    // Moves to the first character of the next word. @return false at the end of the line.
    bool begin_word() {
        note("\n");
        for (; position_ < line_.size(); ++position_) {
            const char c = line_[position_];
            quoted_ = c == '"';
            if (quoted_) {
                note("\nStart of quotes...");
                ++position_;
                return true;
            }
            if (!delimiters_.contains(c)) {
                note("D");
                return true;
            }
            note("!");
        }
        return false;
    }

    // Moves after the last character of the word; one character after the end of the line if a
    // quote is its last character.
    void pass_word() {
        pass_text();
        while (position_ < line_.size() && line_[position_] == '"') {
            pass_quote();
            pass_text();
        }
        if (position_ < line_.size())
            note("d");
    }

    void pass_text() {
        const size_t start = position_;
        position_ = (quoted_ ? kEndsQuotes : ends_text_).find_in(line_, start);
        mark(quoted_ ? "Q" : "c", position_ - start);
    }

    // The character after the quote belongs to the word without a check.
    void pass_quote() {
        if (quoted_)
            note("\nEnd of quotes...");
        quoted_ = !quoted_;
        position_ += 2;
    }

    bool append(str_list_t &list, size_t start) {
        if (!tsh::append_word(list, line_.substr(start, position_ - start), start)) {
            note("Mem alloc failed...\n");
            return false;
        }
        if (traces(TSH_TRACE_WORDS)) {
            trace(" String : %s, len : %d", list.str[list.size - 1],
                  static_cast<int>(position_ - start));
            trace(" index : %d\n", list.index[list.size - 1]);
        }
        return true;
    }

    std::string_view line_;
    CharSet delimiters_;
    CharSet ends_text_;
    size_t position_ = 0;
    bool quoted_ = false;
};

} // namespace

str_list_t *strsplit(const char *line, const char *delimiters) {
    WorkingCopy copy(line == nullptr ? "" : line);
    if (copy.text() == nullptr) {
        if (traces(TSH_TRACE_ALLOCATION))
            trace("malloc failed while duplicating cmdline\n");
        return nullptr;
    }
    if (copy.line().empty()) {
        note("Nothing to split...\n");
        return nullptr;
    }
    const std::array<char, kDelimiterRoom> chosen = choose_delimiters(delimiters);
    copy.pad_last_operator();
    copy.part_first_pipe_to_file();
    if (traces(TSH_TRACE_WORDS))
        trace("Line : %s, Delimiter : [%s]\n", copy.text(), chosen.data());

    OwnedList list = tsh::new_list();
    if (list == nullptr) {
        note("Error mallocing str list...\n");
        return nullptr;
    }
    if (!WordCutter(copy.line(), chosen.data()).cut_into(*list))
        return nullptr;
    if (traces(TSH_TRACE_WORDS))
        trace("Words extracted : %d\n", list->size);
    return list->size > 0 ? list.release() : nullptr;
}
