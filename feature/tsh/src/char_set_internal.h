// Sets of characters as a table, with which the splitters find the end of a word.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace tsh {

class CharSet {
public:
    /// Contains the characters of all texts.
    template <typename... Texts> constexpr explicit CharSet(const Texts &...texts) {
        (add(texts), ...);
    }

    [[nodiscard]] constexpr bool contains(char c) const {
        return contained_[static_cast<unsigned char>(c)];
    }

    /// Returns the position of the first character of the set at or after from, or the size of the
    /// text, which must end with a NUL.
    [[nodiscard]] size_t find_in(std::string_view text, size_t from) const {
        const size_t nearby =
            count_ > kFewMembers ? text.size() : std::min(text.size(), from + kByTable);
        while (from < nearby && !contains(text[from]))
            ++from;
        if (from < nearby || from >= text.size())
            return from;
        return from + strcspn(&text[from], members_.data());
    }

private:
    // Number of characters checked one by one before strcspn is called. A call of strcspn costs as
    // much as eleven characters; then it is seven times as fast. Most words end before that.
    static constexpr size_t kByTable = 16;
    // With more members, strcspn builds a table at every call, which costs six times as much.
    static constexpr size_t kFewMembers = 16;

    constexpr void add(std::string_view characters) {
        for (const char c : characters) {
            if (!contains(c) && count_++ < kFewMembers)
                members_[count_ - 1] = c;
            contained_[static_cast<unsigned char>(c)] = true;
        }
    }

    std::array<bool, 256> contained_{};
    std::array<char, kFewMembers + 1> members_{}; // the first members, NUL-terminated
    size_t count_ = 0;
};

} // namespace tsh
