// Text put together in a fixed buffer, numbers included, without printf.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

namespace base {

/// Holds up to Capacity bytes; what does not fit is cut, and a number left out whole.
template <size_t Capacity> class TextBuilder {
public:
    TextBuilder &operator<<(std::string_view text) {
        const size_t length = std::min(text.size(), Capacity - used_);
        memcpy(end(), text.data(), length);
        used_ += length;
        return *this;
    }

    template <typename Integer> TextBuilder &number(Integer value, int base = 10) {
        const auto written = std::to_chars(end(), bytes_.data() + Capacity, value, base);
        if (written.ec == std::errc{})
            used_ = static_cast<size_t>(written.ptr - bytes_.data());
        return *this;
    }

    TextBuilder &blanks(size_t count) {
        const size_t length = std::min(count, Capacity - used_);
        memset(end(), ' ', length);
        used_ += length;
        return *this;
    }

    [[nodiscard]] std::string_view text() const { return {bytes_.data(), used_}; }
    void clear() { used_ = 0; }

private:
    char *end() { return bytes_.data() + used_; }

    std::array<char, Capacity> bytes_;
    size_t used_ = 0;
};

} // namespace base
