// Sets of characters, as one table: how the splitters look for what ends a word.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
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

    /// Position of the first character of the set at or after from, or the size of the text, which
    /// ends where a zero-terminated text does.
    [[nodiscard]] size_t find_in(std::string_view text, size_t from) const {
        const size_t nearby =
            count_ > kFewMembers ? text.size() : std::min(text.size(), from + kByTable);
        while (from < nearby && !holds(text[from]))
            ++from;
        if (from < nearby || from >= text.size())
            return from;
        return from + strcspn(&text[from], members_.data());
    }

private:
    // Characters looked at one by one before strcspn takes over, which takes as long to call as
    // eleven of them and then passes seven in the time of one. Most words end before that.
    static constexpr size_t kByTable = 16;
    // Of more members strcspn makes a table of its own at every call, which costs six times as
    // much.
    static constexpr size_t kFewMembers = 16;

    constexpr void add(std::string_view characters) {
        for (const char c : characters) {
            if (!holds(c) && count_++ < kFewMembers)
                members_[count_ - 1] = c;
            held_[static_cast<unsigned char>(c)] = true;
        }
    }

    std::array<bool, 256> held_{};
    std::array<char, kFewMembers + 1> members_{}; // the first of them, zero-terminated
    size_t count_ = 0;
};

} // namespace tsh
