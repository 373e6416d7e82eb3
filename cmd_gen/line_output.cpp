// The rare steps of line output: a carry, a new number text, a line longer than the block.
#include "cmd_gen/line_output_internal.h"

#include <cstdio>

namespace tsh {

// Moves the digit before the last one on. Where the carry runs out of digits, and where the count
// starts again from 0, the text is made anew.
void LineOutput::carry() {
    char *digit = &number_[number_length_ - kNumberTail];
    *digit = '9';
    while (*digit == '9')
        *digit-- = '0';
    if (*digit < '0' || *digit > '8' || cmd_count == 0)
        return render_number();
    ++*digit;
    last_digit_ = '0';
}

void LineOutput::render_number() {
    number_length_ = static_cast<size_t>(
        snprintf(number_.data(), number_.size(), "\n[%6u].", static_cast<unsigned>(cmd_count)));
    last_digit_ = number_[number_length_ - kNumberTail];
}

void LineOutput::print_long(std::string_view text, std::string_view word) {
    block_.take_until(add_number(block_.room_for(kNumberSize)));
    block_.drain(text);
    block_.drain(word);
}

} // namespace tsh
