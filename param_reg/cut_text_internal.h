// Strings in the caller's buffer.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

namespace tsh {

/// A NUL-terminated string that is truncated to a capacity in bytes, and its complete length.
/// Without capacity nothing is written.
class CutText {
public:
    CutText(char *text, size_t capacity) : text_(text), capacity_(capacity) {
        if (capacity > 0)
            text[0] = '\0';
    }

    CutText &operator<<(std::string_view part) {
        if (length_ + 1 < capacity_) {
            const size_t copied = std::min(part.size(), capacity_ - 1 - length_);
            memcpy(text_ + length_, part.data(), copied);
            text_[length_ + copied] = '\0';
        }
        length_ += part.size();
        return *this;
    }

    template <typename Integer> CutText &number(Integer value, int base) {
        char digits[64];
        const auto written = std::to_chars(digits, digits + sizeof digits, value, base);
        return *this << std::string_view{digits, static_cast<size_t>(written.ptr - digits)};
    }

    [[nodiscard]] size_t length() const { return length_; }

private:
    char *text_;
    size_t capacity_;
    size_t length_ = 0;
};

} // namespace tsh
