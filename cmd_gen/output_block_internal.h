// Text on its way to standard output, gathered in one block that leaves in large writes. All of it
// stands here, because the utility's dump uses it beside the library's listing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace tsh {

/// Texts are copied in whole chunks. Where one is kept for copying, this many bytes behind it must
/// be readable; where it is copied to, as many must be free.
constexpr size_t kCopyChunk = 32;

inline char *copy_in_chunks(char *to, std::string_view text) {
    for (size_t done = 0; done < text.size(); done += kCopyChunk)
        memcpy(to + done, text.data() + done, kCopyChunk);
    return to + text.size();
}

/// Bytes that leave at once: a multiple of the stream's own buffer, much larger than it, and few
/// enough to stay in the processor's cache.
constexpr size_t kOutputBlockSize = 262144;

/// The longest text that is gathered, with what is copied beyond it.
constexpr size_t kLongestGathered = 16384;

/// What is gathered here is not yet in the stream: drain before anything else writes to it.
class OutputBlock {
public:
    OutputBlock() = default;
    ~OutputBlock() { drain(); }
    OutputBlock(const OutputBlock &) = delete;
    OutputBlock &operator=(const OutputBlock &) = delete;

    /// Room for kLongestGathered bytes behind what is gathered.
    char *room() {
        while (place() >= end())
            pass_block_on();
        return place();
    }

    /// The end of what is gathered. Before the end of the block it has such room.
    char *place() { return &bytes_[used_]; }
    [[nodiscard]] const char *end() const { return &bytes_[kOutputBlockSize]; }

    /// Gathers what was put there, up to end.
    void take_until(const char *end) { used_ = static_cast<size_t>(end - bytes_.data()); }

    /// Hands everything to the stream, and then a text that needs no gathering.
    void drain(std::string_view text = {}) {
        put({bytes_.data(), used_});
        put(text);
        used_ = 0;
    }

    /// True once the stream takes no more; what is gathered from then on is dropped.
    [[nodiscard]] bool failed() const { return failed_; }

private:
    // Blocks end at multiples of their size in the output, so that a file takes whole pages.
    void pass_block_on() {
        const size_t size = kOutputBlockSize - handed_over_ % kOutputBlockSize;
        const size_t written = write_past_stream({bytes_.data(), size});
        put({bytes_.data() + written, size - written});
        handed_over_ += written;
        used_ -= size;
        memmove(bytes_.data(), bytes_.data() + size, used_);
    }

    // The stream would copy the first part of every block and take two writes for it. Returns what
    // was written; the rest is for the stream, which keeps the error if there is one.
    static size_t write_past_stream(std::string_view text) {
        if (ferror(stdout) != 0 || fflush(stdout) != 0)
            return 0;
        const ssize_t written = write(fileno(stdout), text.data(), text.size());
        return written < 0 ? 0 : static_cast<size_t>(written);
    }

    void put(std::string_view text) {
        if (!text.empty() && !failed_) // no later text may follow a lost one
            failed_ = fwrite(text.data(), 1, text.size(), stdout) != text.size();
        handed_over_ += text.size();
    }

    size_t used_ = 0;
    size_t handed_over_ = 0;
    bool failed_ = false;
    std::array<char, kOutputBlockSize + kLongestGathered> bytes_;
};

} // namespace tsh
