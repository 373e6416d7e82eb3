// Output buffer of one block, written in large writes.
#pragma once

#include "base/chunk_copy.h"

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace base {

/// Size of a write: a multiple of the buffer of a stream, much larger than it, and small enough for
/// the CPU cache.
constexpr size_t kOutputBlockSize = 262144;

/// Maximum size of a buffered text, including the bytes copied after it.
constexpr size_t kLongestGathered = 16384;

/// Destination of blocks. All functions return false after a write error.
class Destination {
public:
    /// Writes a block that ends at a multiple of its size in the output, so that a file receives
    /// complete pages.
    virtual bool write_block(std::string_view text) = 0;
    virtual bool write(std::string_view text) = 0;
    virtual bool flush() = 0;

protected:
    ~Destination() = default;
};

/// A stream; blocks bypass its own buffer.
class StreamDestination final : public Destination {
public:
    explicit StreamDestination(FILE *stream) : stream_(stream) {}
    bool write_block(std::string_view text) override;
    bool write(std::string_view text) override;
    bool flush() override;

private:
    FILE *stream_;
};

/// Buffered bytes are not yet at the destination: call hand_over before other code writes there.
class OutputBlock {
public:
    static constexpr size_t kBytes = kOutputBlockSize + kLongestGathered;

    /// @param bytes kBytes of memory. Both must outlive the block.
    OutputBlock(Destination &destination, char *bytes) : destination_(destination), bytes_(bytes) {}

    /// Returns free space of kLongestGathered bytes after the buffered bytes.
    char *room() {
        while (place() >= end())
            pass_block_on();
        return place();
    }

    /// Returns the end of the buffered bytes. Before the end of the block, it has such space.
    char *place() { return bytes_ + used_; }
    [[nodiscard]] const char *end() const { return bytes_ + kOutputBlockSize; }

    /// Adds the bytes written there, up to end.
    void take_until(const char *end) { used_ = static_cast<size_t>(end - bytes_); }

    /// Writes all buffered bytes, and then a text without buffering.
    void drain(std::string_view text = {});

    /// Writes all buffered bytes and flushes the destination. @return false after a write error.
    bool hand_over();

    [[nodiscard]] std::string_view buffered() const { return {bytes_, used_}; }

    /// Returns whether a write has failed; later bytes are dropped.
    [[nodiscard]] bool failed() const { return failed_; }

private:
    void pass_block_on();
    void put(std::string_view text);

    Destination &destination_;
    char *bytes_;
    size_t used_ = 0;
    size_t handed_over_ = 0;
    bool failed_ = false;
};

/// Buffers a text for each word of a sequence. put(place, word) writes a text of at most
/// kLongestGathered bytes and returns its end. Returns the rest of the sequence.
template <typename Words, typename Put>
Words gather_each(OutputBlock &block, Words words, const Put &put) {
    while (words.more() && !block.failed()) {
        char *place = block.room();
        const char *end = block.end();
        do {
            place = put(place, words.take());
        } while (place < end && words.more());
        block.take_until(place);
    }
    return words;
}

} // namespace base
