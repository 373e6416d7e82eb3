// Numbered lines on their way to standard output, gathered into large writes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tsh {

/// The start of a line, "\n[%6u].", counted up in place along with cmd_count.
class LineNumber {
public:
    LineNumber() { render(); }

    /// Counts one more line and gives its start.
    std::string_view next();

private:
    void render();

    std::array<char, 16> text_{}; // "\n[4294967295]." is the longest
    size_t length_ = 0;
};

/// Text bound for standard output. What is gathered here is not yet in the stream: drain before
/// anything else writes to it.
class OutputBlock {
public:
    ~OutputBlock() { drain(); }
    OutputBlock() = default;
    OutputBlock(const OutputBlock &) = delete;
    OutputBlock &operator=(const OutputBlock &) = delete;

    void append(std::string_view text);

    /// Hands everything to the stream. @return false when the stream takes no more.
    bool drain();

    [[nodiscard]] bool failed() const { return failed_; }

private:
    static constexpr size_t kSize = 65536;
    std::array<char, kSize> bytes_;
    size_t used_ = 0;
    bool failed_ = false;
};

} // namespace tsh
