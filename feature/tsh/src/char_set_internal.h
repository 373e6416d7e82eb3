// Sets of characters, as one table: how the splitters look for what ends a word.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace tsh {

class CharSet {
public:
    /// The characters of all the texts.
    template <typename... Texts> constexpr explicit CharSet(const Texts &...texts) {
        (add(texts), ...);
    }

    [[nodiscard]] constexpr bool holds(char c) const {
        return held_[static_cast<unsigned char>(c)];
    }

    /// Position of the first character of the set at or after from, or the size of the text.
    [[nodiscard]] constexpr size_t find_in(std::string_view text, size_t from) const {
        while (from < text.size() && !holds(text[from]))
            ++from;
        return from;
    }

private:
    constexpr void add(std::string_view characters) {
        for (const char c : characters)
            held_[static_cast<unsigned char>(c)] = true;
    }

    std::array<bool, 256> held_{};
};

} // namespace tsh
