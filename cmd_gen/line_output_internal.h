// Numbered lines on their way to standard output: written in place into one block, which leaves in
// large pieces.
#pragma once

#include "cmd_gen/enumeration.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace tsh {

/// Texts are copied in whole chunks. Where one is kept for copying, this many bytes behind it must
/// be readable; where it is copied to, as many must be free.
constexpr size_t kCopyChunk = 32;

inline char *copy_in_chunks(char *to, std::string_view text) {
    for (size_t done = 0; done < text.size(); done += kCopyChunk)
        memcpy(to + done, text.data() + done, kCopyChunk);
    return to + text.size();
}

/// Lines bound for standard output. What is gathered here is not yet in the stream: drain before
/// anything else writes to it.
class LineOutput {
public:
    LineOutput();
    ~LineOutput() { drain(); }
    LineOutput(const LineOutput &) = delete;
    LineOutput &operator=(const LineOutput &) = delete;

    /// Counts one more line and writes it: a newline, its number in brackets, the two texts. Both
    /// texts are kept for copying in chunks.
    void print(std::string_view text, std::string_view word) {
        char *place = room_for(kNumberSize + text.size() + word.size() + kCopyChunk);
        if (place == nullptr)
            return print_long(text, word);
        place = copy_in_chunks(add_number(place), text);
        used_ = static_cast<size_t>(copy_in_chunks(place, word) - bytes_.data());
    }

    /// Hands everything to the stream.
    void drain();

    /// True once the stream takes no more.
    [[nodiscard]] bool failed() const { return failed_; }

private:
    static constexpr size_t kNumberSize = 16; // "\n[4294967295]." is the longest
    static constexpr size_t kBlockSize = 262144;

    // Null for a line longer than the whole block.
    char *room_for(size_t size) {
        if (size > kBlockSize - used_)
            drain();
        return size > kBlockSize ? nullptr : &bytes_[used_];
    }

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

    static constexpr size_t kNumberTail = 3; // last digit and "]."

    std::array<char, kNumberSize> number_{};
    size_t number_length_ = 0;
    char last_digit_ = '0';
    bool failed_ = false;
    size_t used_ = 0;
    std::array<char, kBlockSize> bytes_;
};

} // namespace tsh
