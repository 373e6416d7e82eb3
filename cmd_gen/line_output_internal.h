// Numbered lines, written in place into the block that takes them to standard output.
#pragma once

#include "cmd_gen/enumeration.h"
#include "cmd_gen/output_block_internal.h"

#include <array>
#include <string_view>

namespace tsh {

class LineOutput {
public:
    LineOutput() { render_number(); }

    /// Counts one more line and writes it: a newline, its number in brackets, the two texts. Both
    /// texts are kept for copying in chunks.
    void print(std::string_view text, std::string_view word) {
        char *place = block_.room_for(kNumberSize + text.size() + word.size() + kCopyChunk);
        if (place == nullptr)
            return print_long(text, word);
        block_.take_until(copy_in_chunks(copy_in_chunks(add_number(place), text), word));
    }

    void drain() { block_.drain(); }
    [[nodiscard]] bool failed() const { return block_.failed(); }

private:
    static constexpr size_t kNumberSize = 16; // "\n[4294967295]." is the longest
    static constexpr size_t kNumberTail = 3;  // last digit and "]."

    // Nine times in ten only the last digit moves; the rest of the text stays as it is.
    char *add_number(char *place) {
        ++cmd_count;
        if (last_digit_ == '9' || cmd_count == 0)
            carry();
        else
            ++last_digit_;
        memcpy(place, number_.data(), kNumberSize);
        place[number_length_ - kNumberTail] = last_digit_;
        return place + number_length_;
    }

    void carry();
    void render_number();
    void print_long(std::string_view text, std::string_view word);

    std::array<char, kNumberSize> number_{};
    size_t number_length_ = 0;
    char last_digit_ = '0';
    OutputBlock block_;
};

} // namespace tsh
