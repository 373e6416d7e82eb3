// Buffered writer for standard output.
#pragma once

#include "base/output_block.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace tool {

/// Standard output for results. During its lifetime, other code may write there only after a flush.
/// Reports a write error and exits with kError. The destructor writes the buffered bytes.
class TextOutput {
public:
    /// Maximum size of a text that is written to room().
    static constexpr size_t kMostRoom = base::kLongestGathered;

    TextOutput();
    ~TextOutput();
    TextOutput(const TextOutput &) = delete;
    TextOutput &operator=(const TextOutput &) = delete;

    TextOutput &operator<<(std::string_view text) {
        if (text.size() > kMostRoom)
            return put_long(text);
        char *start = room();
        take_until(start + text.copy(start, text.size()));
        return *this;
    }
    TextOutput &operator<<(char c) {
        char *start = room();
        *start = c;
        take_until(start + 1);
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
    char *room() { return block_.room(); }
    void take_until(const char *end) { block_.take_until(end); }

    /// Returns the end of the block: from there on, call room() again.
    [[nodiscard]] const char *full() const { return block_.end(); }

    void flush();

private:
    // Ends the program at a write error.
    class Destination final : public base::Destination {
    public:
        bool write_block(std::string_view text) override { return write(text); }
        bool write(std::string_view text) override;
        bool flush() override { return true; }
    };

    TextOutput &put_number(uint64_t number);
    TextOutput &put_long(std::string_view text);

    Destination destination_;
    std::unique_ptr<char[]> bytes_;
    base::OutputBlock block_;
};

} // namespace tool
