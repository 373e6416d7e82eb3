// Numbered lines, written in place into the block that takes them to standard output.
#pragma once

#include "cmd_gen/enumeration.h"
#include "cmd_gen/output_block_internal.h"
#include "cmd_gen/word_internal.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tsh {

/// Room for a word with the gap before it.
constexpr size_t kLongestGappedWord = 1024;
static_assert(kLongestWord < kLongestGappedWord);

/// The numbers from one on that differ in their last two places alone: "\n[%6u]." is spelled out
/// once for all of them. A value, so that a loop over lines can keep it in registers.
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
    using Places = std::array<char, 2>;
    static constexpr size_t kTail = 4; // the last two places and "]."

    std::array<char, kSize> text_{};
    size_t length_;
    uint32_t base_; // the number that ends in the first of the endings
    uint32_t last_;
    const Places *endings_;
};

/// One word as a run of words: what LineOutput prints lines for.
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
    /// @param bytes OutputBlock::kBytes of memory that outlive the output.
    explicit LineOutput(char *bytes) : block_(stdout_, bytes) {}
    LineOutput(const LineOutput &) = delete;
    LineOutput &operator=(const LineOutput &) = delete;

    /// Counts and writes one line for each word of a run: its number, the text, the word. Text and
    /// words are kept for copying in chunks; no word is longer than kLongestGappedWord. Returns the
    /// run when no more is to be had of it.
    template <typename Words> Words print(std::string_view text, Words words) {
        if (!fits(text))
            return print_long(text, words);
        while (words.more() && !block_.failed()) {
            if (cmd_count == numbers_.last())
                numbers_ = LineNumbers(cmd_count + 1);
            // Local, because what is written might be the members for all the compiler knows.
            const LineNumbers numbers = numbers_;
            uint32_t number = cmd_count;
            char *place = block_.room();
            const char *end = block_.end();
            do {
                place = copy_in_chunks(numbers.put(place, ++number), text);
                place = copy_in_chunks(place, words.take());
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
               kLongestGathered - LineNumbers::kSize - kLongestGappedWord - kCopyChunk;
    }

    template <typename Words> Words print_long(std::string_view text, Words words) {
        while (words.more() && !block_.failed())
            print_long_line(text, words.take());
        return words;
    }

    void print_long_line(std::string_view text, std::string_view word);

    LineNumbers numbers_{cmd_count + 1}; // of the latest line or the next
    StreamDestination stdout_{stdout};
    OutputBlock block_;
};

} // namespace tsh
