// A line as a user types it, in words as the shell splits it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace find {

/// A word with its place in the line, in bytes from 0.
struct TypedWord {
    std::string text;
    size_t place;
    bool is_quoted; ///< A quote stands before it, which is no part of it.

    /// The word without the quote that closes it, if its first quote does, and white space behind
    /// that.
    [[nodiscard]] std::string_view value() const;
};

class TypedLine {
public:
    /// Splits the line (strsplit at white space).
    explicit TypedLine(std::string line);

    [[nodiscard]] const std::string &text() const { return text_; }
    [[nodiscard]] const std::vector<TypedWord> &words() const { return words_; }

    /// Where a word begins, or the quote before it.
    [[nodiscard]] size_t place_with_quote(size_t word) const;

    /// What is left of the line from a word on, quotes and blanks as they are, without the blanks
    /// at its end.
    [[nodiscard]] std::string_view rest_from(size_t word) const;

    /// Why the line cannot be split as it should be, and where; nothing as a rule.
    struct Fault {
        std::string what;
        size_t place;
    };
    [[nodiscard]] const std::optional<Fault> &fault() const { return fault_; }

private:
    std::string text_;
    std::vector<TypedWord> words_;
    std::optional<Fault> fault_;
};

} // namespace find
