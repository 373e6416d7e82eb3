// Numbered lines, written in place into the block that takes them to standard output.
#pragma once

#include "cmd_gen/enumeration.h"
#include "cmd_gen/output_block_internal.h"
#include "cmd_gen/word_internal.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace tsh {

/// Room for a word with the gap before it.
constexpr size_t kLongestGappedWord = 1024;
static_assert(kLongestWord < kLongestGappedWord);

class LineOutput {
public:
    class Run;

    LineOutput() { render_number(); }

    /// Counts one more line and writes it: a newline, its number in brackets, the two texts. Both
    /// texts are kept for copying in chunks; no word is longer than kLongestGappedWord.
    void print(std::string_view text, std::string_view word) {
        if (!fits(text))
            return print_long(text, word);
        char *place = block_.room();
        block_.take_until(put_line(place, count_line(), text, word));
    }

    void drain() { block_.drain(); }
    [[nodiscard]] bool failed() const { return block_.failed(); }

private:
    static constexpr size_t kNumberSize = 16; // "\n[4294967295]." is the longest
    static constexpr size_t kNumberTail = 4;  // last two digits and "]."
    static constexpr uint32_t kHundred = 100;

    using DigitPair = std::array<char, 2>;
    static constexpr std::array<DigitPair, kHundred> kDigitPairs = [] {
        std::array<DigitPair, kHundred> pairs{};
        for (size_t i = 0; i < kHundred; ++i)
            pairs[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
        return pairs;
    }();

    static bool fits(std::string_view text) {
        return text.size() <= kLongestGathered - kNumberSize - kLongestGappedWord - kCopyChunk;
    }

    // Returns the last two digits of the next number. From line to line no others move, but for
    // one in a hundred; the first hundred numbers may have blanks there.
    const char *count_line() {
        ++cmd_count;
        if (cmd_count > kHundred && cmd_count % kHundred != 0)
            return kDigitPairs[cmd_count % kHundred].data();
        render_number();
        return &number_[number_length_ - kNumberTail];
    }

    char *put_line(char *place, const char *ending, std::string_view text, std::string_view word) {
        memcpy(place, number_.data(), kNumberSize);
        memcpy(place + number_length_ - kNumberTail, ending, sizeof(DigitPair));
        return copy_in_chunks(copy_in_chunks(place + number_length_, text), word);
    }

    void render_number();
    void print_apart(std::string_view text, std::string_view word); // print, out of line
    void print_long(std::string_view text, std::string_view word);

    std::array<char, kNumberSize> number_{}; // right but for the last two digits
    size_t number_length_ = 0;
    OutputBlock block_;
};

/// Lines that begin with one text. What moves on from line to line is held here meanwhile, where it
/// can stay in registers; until the run ends, nothing else uses the output.
class LineOutput::Run {
public:
    Run(LineOutput &output, std::string_view text) : output_(output), text_(text) { take_over(); }
    ~Run() { hand_back(); }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    void print(std::string_view word) {
        if (ending_ != last_ending_ && place_ < end_) {
            place_ = output_.put_line(place_, kDigitPairs[++ending_].data(), text_, word);
            return;
        }
        hand_back();
        output_.print_apart(text_, word);
        take_over();
    }

private:
    void take_over() {
        first_ending_ = ending_ = cmd_count % kHundred;
        last_ending_ = cmd_count < kHundred
                           ? ending_
                           : std::min(kHundred - 1, ending_ + (UINT32_MAX - cmd_count));
        place_ = output_.block_.place();
        end_ = fits(text_) ? output_.block_.end() : place_;
    }

    void hand_back() {
        cmd_count += ending_ - first_ending_;
        output_.block_.take_until(place_);
    }

    LineOutput &output_;
    const std::string_view text_;
    uint32_t first_ending_; // cmd_count % kHundred, where the run took over
    uint32_t ending_;
    uint32_t last_ending_; // that leaves the rest of the number as it is
    char *place_;
    const char *end_; // from there on no line is put in place
};

} // namespace tsh
