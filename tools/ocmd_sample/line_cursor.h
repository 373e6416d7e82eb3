// A position among the numbered lines of a file, which moves on by changing only the end of a line.
#pragma once

#include "tools/ocmd_sample/line_numbers.h"
#include "tools/ocmd_sample/line_speller.h"
#include "tools/support/text_output.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sample {

class LineCursor {
public:
    /// Needs numbers.fits_cursor(). @param speller null if texts are not needed; otherwise its
    /// words are fixed.
    LineCursor(const LineNumbers &numbers, LineSpeller *speller);

    /// Moves to the line of a number, which is less than the count of lines. It takes less time the
    /// closer the number is to the last one, if it is not less.
    void move_to(uint64_t number);

    /// Returns the line; valid until the next call.
    const Line &line() {
        line_.nodes.assign(nodes_.begin(), nodes_.begin() + static_cast<ptrdiff_t>(depth_));
        return line_;
    }

    /// The line with its optional words, each submode followed by " / ", and a newline;
    /// base::kCopyChunk bytes can be read after it. Needs a speller and a certain line.
    [[nodiscard]] std::string_view text() const { return {text_.data(), end_.length + 1}; }

    /// Whether the line is accepted without being resolved.
    [[nodiscard]] bool is_certain() const { return end_.is_certain != 0; }

    /// Moves to the lines of numbers, one after the other, and writes their texts. Needs a speller.
    /// @param write_other is called for a line that is not certain.
    template <typename Number>
    void write(std::span<const Number> numbers, tool::TextOutput &output,
               const std::function<void(const Line &line)> &write_other);

private:
    /// The text up to the word of a node.
    struct TextEnd {
        uint32_t length = 0;
        uint32_t omitted = Word::kSlash.size(); // first bytes of the next separator
        uint32_t is_certain = 1;
    };

    /// A node of the line with lines below it.
    struct Frame {
        uint64_t first; // number of the first line below the node
        uint64_t end;   // number after the last line below it
        const LineNumbers::Division *division;
        TextEnd text;
    };

    void begin();
    void make_room();
    void make_room(size_t length);
    [[nodiscard]] bool is_certain(const Word &word, size_t depth);
    [[nodiscard]] TextEnd add(uint16_t node, size_t depth, TextEnd end);

    const LineNumbers &numbers_;
    LineNumbers::Divisions divisions_;
    LineSpeller *speller_;
    bool has_doubts_;
    std::vector<uint16_t> nodes_; // of the line, and memory for others
    std::vector<Frame> frames_;   // likewise, of the nodes but the last, if no line is below that
    size_t top_ = 0;              // frame
    size_t root_frames_ = 0;      // frames before that of the first node
    size_t depth_ = 0;            // nodes of the line
    TextEnd end_;                 // of the line
    std::string text_;
    uint64_t number_ = 0;
    Line line_;
};

} // namespace sample
