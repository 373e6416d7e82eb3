// The rare steps of line output: a new number text, a line too long to gather.
#include "cmd_gen/line_output_internal.h"

#include "feature/tsh/src/text_builder_internal.h"

namespace tsh {

void LineOutput::render_number() {
    constexpr size_t kWidth = 6;
    TextBuilder<kNumberSize> digits;
    digits.number(cmd_count);
    const size_t missing = kWidth - std::min(kWidth, digits.text().size());
    TextBuilder<kNumberSize> number;
    number << "\n[";
    number.blanks(missing) << digits.text() << "].";
    number_length_ = number.text().copy(number_.data(), number_.size());
}

void LineOutput::print_apart(std::string_view text, std::string_view word) {
    print(text, word);
}

void LineOutput::print_long(std::string_view text, std::string_view word) {
    char *place = block_.room();
    block_.take_until(put_line(place, count_line(), {}, {}));
    block_.drain(text);
    block_.drain(word);
}

} // namespace tsh
