// Words of a line as strsplit splits it, with their places, without a copy of each.
#pragma once

#include "resolve/resolver.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tsh {

/// White space between words.
constexpr std::string_view kWhiteSpace = " \t\n\r\f\v";

/// One word. Places count bytes of the caller's line.
struct LineWord {
    std::string_view text; ///< As strsplit gives it: without the opening quote.
    size_t begin;          ///< Of the text.
    size_t end;            ///< Behind the text.
    bool is_quoted;        ///< A quote stands before it.
    bool is_open;          ///< A quote of it is not closed.
    bool is_run_together;  ///< One space behind a closing quote joined two words.

    [[nodiscard]] size_t begin_with_quote() const { return begin - (is_quoted ? 1 : 0); }

    /// The text without the closing quote, and white space that was taken along behind it.
    [[nodiscard]] std::string_view value() const;
};

/// Why a line cannot be split completely, as reason and range of a refusal.
struct SplitFault {
    tsh_reason_t reason = TSH_REASON_NONE;
    tsh_range_t range{};
};

class LineWords {
public:
    /// Splits a line, which must live as long as the words are used.
    void split(std::string_view line);

    [[nodiscard]] size_t size() const { return words_.size(); }
    const LineWord &operator[](size_t i) const { return words_[i]; }
    [[nodiscard]] const SplitFault &fault() const { return fault_; }
    [[nodiscard]] std::string_view line() const { return line_; }

    /// The rest of the line from a word on, quotes and white space within it included.
    [[nodiscard]] std::string_view rest_from(size_t word) const;
    /// The end of the last word.
    [[nodiscard]] size_t end() const;

private:
    void add(size_t begin, size_t end, bool is_quoted, bool is_open, bool is_run_together);
    [[nodiscard]] size_t place_in_line(size_t place) const;

    std::string_view line_;
    std::string_view copy_; // the line itself unless strsplit would change it
    std::string changed_;
    size_t inserted_ = std::string_view::npos; // where the copy has a space that the line has not
    std::vector<LineWord> words_;
    SplitFault fault_;
};

} // namespace tsh
