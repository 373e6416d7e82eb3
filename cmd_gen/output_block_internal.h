// Text on its way to standard output, gathered in one block that leaves in large writes. All of it
// stands here, because the utility's dump uses it beside the library's listing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace tsh {

/// Texts are copied in whole chunks. Where one is kept for copying, this many bytes behind it must
/// be readable; where it is copied to, as many must be free.
constexpr size_t kCopyChunk = 32;

inline char *copy_in_chunks(char *to, std::string_view text) {
    for (size_t done = 0; done < text.size(); done += kCopyChunk)
        memcpy(to + done, text.data() + done, kCopyChunk);
    return to + text.size();
}

/// Bytes that leave at once: much more than the stream's own buffer, so that the stream passes them
/// on without a copy, and few enough to stay in the processor's cache.
constexpr size_t kOutputBlockSize = 262144;

/// What is gathered here is not yet in the stream: drain before anything else writes to it.
class OutputBlock {
public:
    OutputBlock() = default;
    ~OutputBlock() { drain(); }
    OutputBlock(const OutputBlock &) = delete;
    OutputBlock &operator=(const OutputBlock &) = delete;

    /// Room for so many bytes behind what is gathered; null when the whole block has less.
    char *room_for(size_t size) {
        if (size > kOutputBlockSize - used_)
            drain();
        return size > kOutputBlockSize ? nullptr : &bytes_[used_];
    }

    /// Gathers what was put there, up to end.
    void take_until(const char *end) { used_ = static_cast<size_t>(end - bytes_.data()); }

    /// Hands everything to the stream, and then a text that needs no gathering.
    void drain(std::string_view text = {}) {
        for (const std::string_view part : {std::string_view{bytes_.data(), used_}, text})
            if (!part.empty())
                failed_ |= fwrite(part.data(), 1, part.size(), stdout) != part.size();
        used_ = 0;
    }

    /// True once the stream takes no more.
    [[nodiscard]] bool failed() const { return failed_; }

private:
    size_t used_ = 0;
    bool failed_ = false;
    std::array<char, kOutputBlockSize> bytes_;
};

} // namespace tsh
