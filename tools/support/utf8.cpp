// The shapes that a character of UTF-8 may have.
#include "tools/support/utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace tool {

namespace {

// Characters by their first byte: how long they are, and what their second byte may be. The bytes
// after it are 0x80 to 0xBF.
struct Shape {
    unsigned char first;
    unsigned char last;
    size_t length;
    unsigned char second_least;
    unsigned char second_most;
};

constexpr std::array kShapes{
    Shape{0x00, 0x7F, 1, 0x00, 0x00}, Shape{0xC2, 0xDF, 2, 0x80, 0xBF},
    Shape{0xE0, 0xE0, 3, 0xA0, 0xBF}, Shape{0xE1, 0xEC, 3, 0x80, 0xBF},
    Shape{0xED, 0xED, 3, 0x80, 0x9F}, Shape{0xEE, 0xEF, 3, 0x80, 0xBF},
    Shape{0xF0, 0xF0, 4, 0x90, 0xBF}, Shape{0xF1, 0xF3, 4, 0x80, 0xBF},
    Shape{0xF4, 0xF4, 4, 0x80, 0x8F},
};

bool lies_within(char c, unsigned char least, unsigned char most) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= least && byte <= most;
}

bool goes_on(std::string_view text, const Shape &shape) {
    if (text.size() < shape.length)
        return false;
    if (shape.length > 1 && !lies_within(text[1], shape.second_least, shape.second_most))
        return false;
    return std::ranges::all_of(text.substr(1, shape.length - 1),
                               [](char c) { return lies_within(c, 0x80, 0xBF); });
}

// Bytes of the character that the text begins with; 0 when it begins with none.
size_t character_length(std::string_view text) {
    for (const Shape &shape : kShapes)
        if (lies_within(text[0], shape.first, shape.last))
            return goes_on(text, shape) ? shape.length : 0;
    return 0;
}

} // namespace

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = character_length(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

} // namespace tool
