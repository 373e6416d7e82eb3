// Lines of a saved configuration, read ahead.
#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace find {

/// White space that a line may begin with.
constexpr std::string_view kIndentation = " \t\r\f\v";

/// Longer lines are not read to their end. No shell writes such lines.
constexpr size_t kMostLineBytes = size_t{1} << 26U;

/// Returns whether a line has no command: it is empty, white space, or a comment.
bool is_comment(std::string_view line);

/// Returns the number of terminal columns before the first word of a line.
size_t indentation_of(std::string_view line);

class ConfigLines {
public:
    /// Reads from the stream's position on.
    explicit ConfigLines(FILE *stream) : stream_(stream), buffer_(kFirstRoom) {}

    /// Returns whether a command of the first 64 MiB is indented. To be called before next. Skips
    /// a byte order mark.
    bool are_indented();

    /// Returns the next line without its newline, valid until the next call; of one that is too
    /// long, more than kMostLineBytes bytes.
    std::optional<std::string_view> next();

private:
    static constexpr size_t kFirstRoom = size_t{1} << 16U;

    [[nodiscard]] std::optional<std::string_view> line_at(size_t offset);
    bool fill();

    FILE *stream_;
    std::vector<char> buffer_;
    size_t begin_ = 0; // of the next line in the buffer
    size_t end_ = 0;   // of the bytes read
    bool is_at_end_ = false;
};

} // namespace find
