// Buffered writer for standard output.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace tool {

/// Standard output for results. During its lifetime, other code may write there only after a flush.
/// Reports a write error and exits with kError. The destructor writes the buffered bytes.
class TextOutput {
public:
    /// Maximum size of a text that is written to room().
    static constexpr size_t kMostRoom = 16384;

    TextOutput();
    ~TextOutput();
    TextOutput(const TextOutput &) = delete;
    TextOutput &operator=(const TextOutput &) = delete;

    TextOutput &operator<<(std::string_view text) {
        if (text.size() > kMostRoom)
            return put_long(text);
        used_ += text.copy(room(), text.size());
        return *this;
    }
    TextOutput &operator<<(char c) {
        *room() = c;
        ++used_;
        return *this;
    }
    TextOutput &operator<<(const char *text) { return *this << std::string_view{text}; }
    TextOutput &operator<<(uint64_t number) { return put_number(number); }
    TextOutput &operator<<(int64_t number);
    TextOutput &operator<<(uint32_t number) { return put_number(number); }
    TextOutput &operator<<(int32_t number) { return *this << int64_t{number}; }

    /// Writes lower-case hexadecimal digits, at least this many.
    TextOutput &hexadecimal(uint64_t number, int digits = 1);

    TextOutput &blanks(size_t count);

    /// Returns free space of kMostRoom bytes and one chunk. take_until sets the end of the bytes
    /// written.
    char *room() {
        if (used_ >= kBlockSize)
            write_block();
        return block_.get() + used_;
    }
    void take_until(const char *end) { used_ = static_cast<size_t>(end - block_.get()); }

    /// Returns the end of the block: from there on, call room() again.
    [[nodiscard]] const char *full() const { return block_.get() + kBlockSize; }

    void flush();

private:
    // Size of a write. The block fits into the second-level cache.
    static constexpr size_t kBlockSize = 262144;

    TextOutput &put_number(uint64_t number);
    TextOutput &put_long(std::string_view text);
    void write_block();

    std::unique_ptr<char[]> block_;
    size_t used_ = 0;
};

} // namespace tool
