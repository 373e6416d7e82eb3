// Results on their way to standard output, gathered in a block that leaves in large writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace tool {

/// Texts that are copied again and again are copied in whole chunks: this many bytes behind such a
/// text must be readable.
constexpr size_t kCopyChunk = 32;

/// Copies a text in whole chunks, up to kCopyChunk - 1 bytes beyond its end. @return that end.
inline char *copy_in_chunks(char *to, std::string_view text) {
    for (size_t done = 0; done < text.size(); done += kCopyChunk)
        memcpy(to + done, text.data() + done, kCopyChunk);
    return to + text.size();
}

/// Standard output for results. Nothing else may write there while this lives, unless after a
/// flush. Output that cannot be written is told and ends the run with kTrouble; what a run that
/// ends otherwise has gathered still leaves.
class TextOutput {
public:
    /// The longest text that room can be asked for.
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

    /// Lower-case hexadecimal digits, so many at least.
    TextOutput &hexadecimal(uint64_t number, int digits = 1);

    TextOutput &blanks(size_t count);

    /// Room for kMostRoom bytes and a chunk more, to be filled from the front; take_until tells how
    /// far.
    char *room() {
        if (used_ >= kBlockSize)
            write_block();
        return block_.get() + used_;
    }
    void take_until(const char *end) { used_ = static_cast<size_t>(end - block_.get()); }

    /// Where such room ends to be free without another call of room.
    [[nodiscard]] const char *full() const { return block_.get() + kBlockSize; }

    void flush();

private:
    // As much as leaves at once. It stays in the processor's second cache.
    static constexpr size_t kBlockSize = 262144;

    TextOutput &put_number(uint64_t number);
    TextOutput &put_long(std::string_view text);
    void write_block();

    std::unique_ptr<char[]> block_;
    size_t used_ = 0;
};

} // namespace tool
