// Reading in blocks; bytes that were read ahead stay in the buffer.
#include "tools/ocmd_find/config_lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace find {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr size_t kTabWidth = 8;

} // namespace

bool is_comment(std::string_view line) {
    const size_t first = line.find_first_not_of(kIndentation);
    return first == std::string_view::npos || line[first] == '!' || line[first] == '#';
}

size_t indentation_of(std::string_view line) {
    size_t column = 0;
    for (const char c : line) {
        if (c == '\t')
            column = (column / kTabWidth + 1) * kTabWidth;
        else if (kIndentation.find(c) != std::string_view::npos)
            ++column;
        else
            break;
    }
    return column;
}

bool ConfigLines::are_indented() {
    while (end_ < kByteOrderMark.size() && fill()) {
    }
    if (std::string_view{buffer_.data(), end_}.starts_with(kByteOrderMark))
        begin_ = kByteOrderMark.size();
    for (size_t ahead = 0; ahead < kMostLineBytes;) {
        const std::optional<std::string_view> line = line_at(begin_ + ahead);
        if (!line)
            return false;
        if (kIndentation.find(line->empty() ? 'x' : line->front()) != std::string_view::npos &&
            !is_comment(*line))
            return true;
        ahead += line->size() + 1;
    }
    return false;
}

std::optional<std::string_view> ConfigLines::next() {
    if (begin_ > 0 && memchr(buffer_.data() + begin_, '\n', end_ - begin_) == nullptr) {
        std::copy(buffer_.begin() + static_cast<ptrdiff_t>(begin_),
                  buffer_.begin() + static_cast<ptrdiff_t>(end_), buffer_.begin());
        end_ -= std::exchange(begin_, 0);
    }
    const std::optional<std::string_view> line = line_at(begin_);
    if (line)
        begin_ = std::min(begin_ + line->size() + 1, end_);
    return line;
}

// Returns the line at an offset in the buffer, which is filled up to the end of the line.
std::optional<std::string_view> ConfigLines::line_at(size_t offset) {
    for (size_t known = offset;;) {
        const void *newline =
            known < end_ ? memchr(buffer_.data() + known, '\n', end_ - known) : nullptr;
        const size_t end =
            newline != nullptr
                ? static_cast<size_t>(static_cast<const char *>(newline) - buffer_.data())
                : end_;
        if (newline != nullptr || end - std::min(offset, end) > kMostLineBytes)
            return std::string_view{buffer_.data() + offset, end - offset};
        known = end_;
        if (fill())
            continue;
        if (offset >= end_)
            return std::nullopt;
        return std::string_view{buffer_.data() + offset, end_ - offset};
    }
}

bool ConfigLines::fill() {
    if (is_at_end_)
        return false;
    if (end_ == buffer_.size())
        buffer_.resize(2 * buffer_.size());
    const size_t count = fread(buffer_.data() + end_, 1, buffer_.size() - end_, stream_);
    end_ += count;
    is_at_end_ = count == 0;
    return count > 0;
}

} // namespace find
