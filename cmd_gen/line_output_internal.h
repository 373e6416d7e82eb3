// Output of numbered lines, formatted directly in the output block of standard output.
#pragma once

#include "base/output_block.h"
#include "cmd_gen/enumeration.h"
#include "cmd_gen/word_internal.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tsh {

/// Maximum size of a word with the gap before it.
constexpr size_t kLongestGappedWord = 1024;
static_assert(kLongestWord < kLongestGappedWord);

/// Formatted line numbers that differ only in their last two digits: "\n[%6u]." is formatted once
/// for all of them. A value type, so that a loop over lines can keep it in registers.
class LineNumbers {
public:
    static constexpr size_t kSize = 16; // "\n[4294967295]." is the longest

    explicit LineNumbers(uint32_t first);

    [[nodiscard]] uint32_t last() const { return last_; }

    /// Writes kSize bytes. Returns the end of the number.
    char *put(char *place, uint32_t number) const {
        memcpy(place, text_.data(), kSize);
        memcpy(place + length_ - kTail, &endings_[number - base_], sizeof *endings_);
        return place + length_;
    }

private:
    using Digits = std::array<char, 2>;
    static constexpr size_t kTail = 4; // the last two digits and "]."

    std::array<char, kSize> text_{};
    size_t length_;
    uint32_t base_; // the number with the first of the endings
    uint32_t last_;
    const Digits *endings_;
};

/// One word as a sequence of words for LineOutput.
class OneWord {
public:
    explicit OneWord(std::string_view word) : word_(word) {}
    [[nodiscard]] bool more() const { return !is_taken_; }
    std::string_view take() {
        is_taken_ = true;
        return word_;
    }

private:
    std::string_view word_;
    bool is_taken_ = false;
};

class LineOutput {
public:
    /// @param bytes base::OutputBlock::kBytes of memory that outlive the output.
    explicit LineOutput(char *bytes) : block_(stdout_, bytes) {}
    LineOutput(const LineOutput &) = delete;
    LineOutput &operator=(const LineOutput &) = delete;

    /// Counts and writes one line for each word of a sequence: its number, the text, the word. Text
    /// and words must be readable in chunks; no word may be longer than kLongestGappedWord. Returns
    /// the sequence after the words that were printed.
    template <typename Words> Words print(std::string_view text, Words words) {
        if (!fits(text))
            return print_long(text, words);
        while (words.more() && !block_.failed()) {
            if (cmd_count == numbers_.last())
                numbers_ = LineNumbers(cmd_count + 1);
            // A copy: for the compiler, the output could overlap the members.
            const LineNumbers numbers = numbers_;
            uint32_t number = cmd_count;
            char *place = block_.room();
            const char *end = block_.end();
            do {
                place = base::copy_in_chunks(numbers.put(place, ++number), text);
                place = base::copy_in_chunks(place, words.take());
            } while (number != numbers.last() && place < end && words.more());
            cmd_count = number;
            block_.take_until(place);
        }
        return words;
    }

    bool hand_over() { return block_.hand_over(); }
    [[nodiscard]] bool failed() const { return block_.failed(); }

private:
    static bool fits(std::string_view text) {
        return text.size() <=
               base::kLongestGathered - LineNumbers::kSize - kLongestGappedWord - base::kCopyChunk;
    }

    template <typename Words> Words print_long(std::string_view text, Words words) {
        while (words.more() && !block_.failed())
            print_long_line(text, words.take());
        return words;
    }

    void print_long_line(std::string_view text, std::string_view word);

    LineNumbers numbers_{cmd_count + 1}; // of the latest or the next line
    base::StreamDestination stdout_{stdout};
    base::OutputBlock block_;
};

} // namespace tsh
