// The key of a word: `show`, `<INTEGER | HEX>`, `pace<INTEGER>`, `<>`.
#pragma once

#include "tools/ocmd_compile/grammar.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace compiler {

/// Reports an error in a part of the text that is being parsed.
class PartReporter {
public:
    using Function = std::function<void(std::string_view part, std::string text)>;

    PartReporter(Function report, bool is_shown)
        : report_(std::move(report)), is_shown_(is_shown) {}

    void operator()(std::string_view part, std::string text) const {
        report_(part, std::move(text));
    }
    /// Returns whether a user will see the message; if not, no time is spent on it.
    [[nodiscard]] bool is_shown() const { return is_shown_; }

private:
    Function report_;
    bool is_shown_;
};

/// Returns the word of a key, or nothing after reporting its errors. With bytes set, the key was
/// tagged "!bytes". Requires the registered types.
std::optional<WordKey> read_word_key(std::string_view text, bool bytes, TextStore &texts,
                                     const PartReporter &report);

/// Decodes a string tagged "!bytes": `\x` and two digits are one byte, `\\` is a backslash.
std::optional<std::string> read_bytes(std::string_view text, const PartReporter &report);

} // namespace compiler
