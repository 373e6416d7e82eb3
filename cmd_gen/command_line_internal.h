// The text of the line in hand, grown on the way down and cut back on the way up.
#pragma once

#include "cmd_gen/enumeration.h"
#include "cmd_gen/output_block_internal.h"
#include "cmd_gen/store_internal.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace tsh {

/// Makes spc_str show the indentation of a line that is about to be printed.
void show_indentation();

/// Blanks before a line at the submode depth in hand.
inline size_t indentation() {
    return static_cast<size_t>(
        std::clamp<int64_t>(int64_t{2} * submode_depth, 0, SPC_STR_SIZE - 1));
}

/// One line, indentation included. Before it stand the lines that lead into its submode.
class CommandLine {
public:
    struct Mark {
        size_t start;
        size_t length;
    };

    /// Room for more bytes, which the other operations take for granted; the beginning of a line
    /// may take SPC_STR_SIZE. Either all at once or as they come.
    /// @return false when memory runs out.
    [[nodiscard]] bool reserve(size_t more) { return bytes_.reserve(length_ + more + kCopyChunk); }
    [[nodiscard]] bool grow(size_t more) { return bytes_.grow(length_ + more + kCopyChunk); }

    /// Begins a line of its own behind the one in hand.
    void begin() {
        start_ = length_;
        memset(bytes_.data() + length_, ' ', indentation());
        length_ += indentation();
    }

    void append(std::string_view text) {
        length_ += text.copy(bytes_.data() + length_, text.size());
    }

    /// What to cut the line back to later, whether a line of its own has begun since or not.
    [[nodiscard]] Mark mark() const { return {start_, length_}; }
    void cut_back(Mark mark) {
        start_ = mark.start;
        length_ = mark.length;
    }

    /// The line, readable in whole chunks.
    [[nodiscard]] std::string_view text() const {
        return {bytes_.data() + start_, length_ - start_};
    }

private:
    Store<char> bytes_{tsh_realloc};
    size_t start_ = 0;
    size_t length_ = 0;
};

} // namespace tsh
