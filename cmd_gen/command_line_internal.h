// Text of the current line, extended on the way down and truncated on the way up.
#pragma once

#include "base/chunk_copy.h"
#include "base/output_block.h"
#include "cmd_gen/enumeration.h"
#include "cmd_gen/store_internal.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace tsh {

/// Sets spc_str to the indentation of the next line to be printed.
void show_indentation();

/// Returns the number of spaces before a line at the current submode depth.
inline size_t indentation() {
    return static_cast<size_t>(
        std::clamp<int64_t>(int64_t{2} * submode_depth, 0, SPC_STR_SIZE - 1));
}

/// One line with its indentation, stored after the lines that lead to its submode.
class CommandLine {
public:
    struct Mark {
        size_t start;
        size_t length;
    };

    /// Reserve memory for more bytes, as the other operations require: SPC_STR_SIZE for the start
    /// of a line. reserve allocates exactly this size, grow some more.
    /// @return false if out of memory.
    [[nodiscard]] bool reserve(size_t more) {
        return bytes_.reserve(length_ + more + base::kCopyChunk);
    }
    [[nodiscard]] bool grow(size_t more) { return bytes_.grow(length_ + more + base::kCopyChunk); }

    /// Starts a new line after the current one.
    void begin() {
        start_ = length_;
        memset(bytes_.data() + length_, ' ', indentation());
        length_ += indentation();
    }

    void append(std::string_view text) {
        length_ += text.copy(bytes_.data() + length_, text.size());
    }

    /// Returns a mark to which the text can be truncated later, even after begin().
    [[nodiscard]] Mark mark() const { return {start_, length_}; }
    void cut_back(Mark mark) {
        start_ = mark.start;
        length_ = mark.length;
    }

    /// Returns the line; its memory is readable in chunks of kCopyChunk bytes.
    [[nodiscard]] std::string_view text() const {
        return {bytes_.data() + start_, length_ - start_};
    }

private:
    Store<char> bytes_{tsh_realloc};
    size_t start_ = 0;
    size_t length_ = 0;
};

} // namespace tsh
