// Text on its way out, gathered in one block that leaves in large writes.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace tsh {

/// Texts are copied in whole chunks, at least one. Where one is kept for copying, this many bytes
/// behind it must be readable; where it is copied to, as many must be free.
constexpr size_t kCopyChunk = 32;

inline char *copy_in_chunks(char *to, std::string_view text) {
    memcpy(to, text.data(), kCopyChunk);
    for (size_t done = kCopyChunk; done < text.size(); done += kCopyChunk)
        memcpy(to + done, text.data() + done, kCopyChunk);
    return to + text.size();
}

/// Bytes that leave at once: a multiple of the stream's own buffer, much larger than it, and few
/// enough to stay in the processor's cache.
constexpr size_t kOutputBlockSize = 262144;

/// The longest text that is gathered, with what is copied beyond it.
constexpr size_t kLongestGathered = 16384;

/// Where a block's bytes go. Both return false once no more is taken.
class Destination {
public:
    /// A block that ends at a multiple of its size in the output, so that a file takes whole pages.
    virtual bool write_block(std::string_view text) = 0;
    virtual bool write(std::string_view text) = 0;
    virtual bool flush() = 0;

protected:
    ~Destination() = default;
};

/// A stream: blocks go past its own buffer.
class StreamDestination final : public Destination {
public:
    explicit StreamDestination(FILE *stream) : stream_(stream) {}
    bool write_block(std::string_view text) override;
    bool write(std::string_view text) override;
    bool flush() override;

private:
    FILE *stream_;
};

/// What is gathered here is not yet at its destination: hand it over before anything else writes
/// there.
class OutputBlock {
public:
    static constexpr size_t kBytes = kOutputBlockSize + kLongestGathered;

    /// @param bytes kBytes of memory. Both must outlive the block.
    OutputBlock(Destination &destination, char *bytes) : destination_(destination), bytes_(bytes) {}

    /// Room for kLongestGathered bytes behind what is gathered.
    char *room() {
        while (place() >= end())
            pass_block_on();
        return place();
    }

    /// The end of what is gathered. Before the end of the block it has such room.
    char *place() { return bytes_ + used_; }
    [[nodiscard]] const char *end() const { return bytes_ + kOutputBlockSize; }

    /// Gathers what was put there, up to end.
    void take_until(const char *end) { used_ = static_cast<size_t>(end - bytes_); }

    /// Hands everything over, and then a text that needs no gathering.
    void drain(std::string_view text = {});

    /// Hands everything over and flushes the destination. @return false once it takes no more.
    bool hand_over();

    /// True once the destination takes no more; what is gathered from then on is dropped.
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

/// Gathers a text for each word of a run; put(place, word) writes one of at most kLongestGathered
/// bytes and returns its end. Returns the run when no more is to be had of it.
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

} // namespace tsh
