// Sums over the nodes, children before their parents.
#include "tools/support/command_count.h"

#include <algorithm>
#include <array>

namespace tool {

std::optional<Count> Count::parse(std::string_view digits) {
    Count number;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        Count tenfold;
        for (int i = 0; i < 10; ++i)
            tenfold += number;
        number = tenfold += static_cast<uint64_t>(digit - '0');
    }
    return digits.empty() || number.is_beyond() ? std::nullopt : std::optional{number};
}

std::string Count::text() const {
    // The maximum means more than the value before it. Divides by ten over digits of base 2^32.
    const uint64_t low = is_beyond() ? low_ - 1 : low_;
    std::array<uint32_t, 4> digits{static_cast<uint32_t>(high_ >> 32U),
                                   static_cast<uint32_t>(high_), static_cast<uint32_t>(low >> 32U),
                                   static_cast<uint32_t>(low)};
    std::string text;
    do {
        uint64_t rest = 0;
        for (uint32_t &digit : digits) {
            const uint64_t value = rest << 32U | digit;
            digit = static_cast<uint32_t>(value / 10);
            rest = value % 10;
        }
        text += static_cast<char>('0' + rest);
    } while (std::ranges::any_of(digits, [](uint32_t digit) { return digit != 0; }));
    std::ranges::reverse(text);
    return is_beyond() ? "more than " + text : text;
}

base::HugeVector<Count> count_lines_below(const LinkTable &links,
                                          std::span<const uint16_t> children_first) {
    base::HugeVector<Count> below(links.node_count());
    for (const uint16_t node : children_first) {
        Count count;
        uint64_t own = 0;
        for (const uint16_t child : links.below(node)) {
            count += below[child];
            own += static_cast<uint64_t>(links.has_line(child));
        }
        below[node] = count += own;
    }
    return below;
}

} // namespace tool
