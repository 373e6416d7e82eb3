// Tokenizer: one pass over the line with the states in a word and in quotes.
#include "feature/tsh/src/tokenizer.h"

#include "feature/tsh/src/char_set_internal.h"
#include "feature/tsh/src/str_list_internal.h"

#include <optional>

int32_t unmatched_quote_flag = 0;
int32_t unmatched_quote_index = 0;

namespace {

using tsh::CharSet;

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
constexpr std::string_view kQuote = "\"";
constexpr std::string_view kEscape = "\\";
constexpr std::string_view kAlwaysSpecial = "\xFF";

constexpr CharSet kSeparating(kWhiteSpace);
constexpr CharSet kNeverSpecial(kWhiteSpace, kQuote);
constexpr CharSet kMeaningInQuotes(kQuote, kEscape);

// One pass over a line. Results are members; the caller sets the process-wide state.
class TokenWalk {
public:
    TokenWalk(std::string_view line, std::string_view specials, str_list_t &list)
        : line_(line), list_(list), specials_(kAlwaysSpecial, specials),
          meaning_in_word_(kWhiteSpace, kQuote, kEscape, kAlwaysSpecial, specials) {}

    /// Processes the complete line. @return false if out of memory.
    bool run() {
        while (goes_on()) {
            if (in_word_)
                pass_text();
            if (goes_on())
                take(line_[position_]);
        }
        end_word();
        return !out_of_memory_;
    }

    /// Returns the offset of the unmatched quote.
    [[nodiscard]] std::optional<size_t> open_quote() const { return open_quote_; }

private:
    [[nodiscard]] bool in_quotes() const { return open_quote_.has_value(); }

    [[nodiscard]] bool goes_on() const {
        return position_ < line_.size() && list_.size < STR_LIST_ENTRIES && !out_of_memory_;
    }

    // Skips characters without special meaning inside the current word, including escaped ones.
    void pass_text() {
        const CharSet &meaning = in_quotes() ? kMeaningInQuotes : meaning_in_word_;
        position_ = meaning.find_in(line_, position_);
        while (at_escape())
            position_ = meaning.find_in(line_, position_ + 2);
    }

    // A backslash at the end of a line escapes nothing and is an ordinary character.
    [[nodiscard]] bool at_escape() const {
        return position_ + 1 < line_.size() && line_[position_] == '\\';
    }

    void take(char c) {
        if (c == '"')
            in_quotes() ? close_quotes() : open_quotes();
        else if (!in_quotes() && specials_.contains(c))
            take_special();
        else if (!in_quotes() && kSeparating.contains(c))
            take_white_space();
        else
            take_text();
    }

    void open_quotes() {
        end_word();
        open_quote_ = position_;
        ++position_;
        begin_word();
    }

    void close_quotes() {
        end_word();
        open_quote_.reset();
        ++position_;
    }

    // A special is stored even in the entry after the last word; the caller then rejects the list.
    void take_special() {
        end_word();
        append(line_.substr(position_, 1), position_);
        ++position_;
    }

    void take_white_space() {
        end_word();
        ++position_;
    }

    void take_text() {
        if (in_word_)
            ++position_;
        else
            begin_word();
    }

    void begin_word() {
        in_word_ = true;
        word_start_ = position_;
    }

    void end_word() {
        if (in_word_)
            tokenize_append_word(line_.substr(word_start_, position_ - word_start_), word_start_);
        in_word_ = false;
    }

    void tokenize_append_word(std::string_view word, size_t offset) {
        if (list_.size < STR_LIST_MAX_WORDS && !word.empty())
            append(word, offset);
    }

    void append(std::string_view token, size_t offset) {
        out_of_memory_ = out_of_memory_ || !tsh::append_word(list_, token, offset);
    }

    std::string_view line_;
    str_list_t &list_;
    CharSet specials_;
    CharSet meaning_in_word_;
    size_t position_ = 0;
    size_t word_start_ = 0;
    bool in_word_ = false;
    std::optional<size_t> open_quote_;
    bool out_of_memory_ = false;
};

bool may_be_special(std::string_view specials) {
    return kNeverSpecial.find_in(specials, 0) == specials.size();
}

} // namespace

str_list_t *tokenize(const char *line, const char *specials) {
    unmatched_quote_flag = 0;
    unmatched_quote_index = 0;
    tsh::OwnedList list = tsh::new_list();
    const std::string_view special_set(specials == nullptr ? "" : specials);
    if (list == nullptr || !may_be_special(special_set) || line == nullptr)
        return nullptr;
    const std::string_view text(line);
    if (text.size() > tsh::kLongestLine) {
        tsh::malloc_failed();
        return nullptr;
    }

    TokenWalk walk(text, special_set, *list);
    if (!walk.run())
        return nullptr;
    const auto open_quote = walk.open_quote();
    unmatched_quote_index = static_cast<int32_t>(open_quote.value_or(0));
    if (list->size == 0)
        return nullptr;
    if (open_quote || list->size == STR_LIST_ENTRIES) {
        unmatched_quote_flag = open_quote ? 1 : 0;
        return nullptr;
    }
    print_str_list(list.get());
    return list.release();
}

int32_t check_unmatched_quote() {
    return unmatched_quote_flag;
}

int32_t get_unmatched_quote_index() {
    return unmatched_quote_index;
}
