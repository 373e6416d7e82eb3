// Less frequent steps of line output: formatting of numbers, and lines longer than the block.
#include "cmd_gen/line_output_internal.h"

#include <algorithm>

namespace tsh {

namespace {

constexpr uint32_t kHundred = 100;
constexpr uint32_t kTen = 10;
using Digits = std::array<char, 2>;

constexpr auto kEndings = [] {
    std::array<Digits, kHundred> endings{};
    for (size_t i = 0; i < kHundred; ++i)
        endings[i] = {static_cast<char>('0' + i / kTen), static_cast<char>('0' + i % kTen)};
    return endings;
}();

// Endings of the first ten numbers, which start with a space.
constexpr auto kFirstEndings = [] {
    std::array<Digits, kTen> endings{};
    for (size_t i = 0; i < kTen; ++i)
        endings[i] = {' ', static_cast<char>('0' + i)};
    return endings;
}();

} // namespace

LineNumbers::LineNumbers(uint32_t first) : base_(first - first % kHundred) {
    constexpr size_t kWidth = 6;
    base::TextBuilder<kSize> digits;
    digits.number(first);
    const size_t missing = kWidth - std::min(kWidth, digits.text().size());
    base::TextBuilder<kSize> number;
    number << "\n[";
    number.blanks(missing) << digits.text() << "].";
    length_ = number.text().copy(text_.data(), text_.size());
    endings_ = first < kTen ? kFirstEndings.data() : kEndings.data();
    last_ = first < kTen ? kTen - 1 : base_ + std::min(kHundred - 1, UINT32_MAX - base_);
}

void LineOutput::print_long_line(std::string_view text, std::string_view word) {
    numbers_ = LineNumbers(++cmd_count);
    block_.take_until(numbers_.put(block_.room(), cmd_count));
    block_.drain(text);
    block_.drain(word);
}

} // namespace tsh
