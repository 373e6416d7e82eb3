// Line numbers without printf, and the block that turns lines into large writes.
#include "cmd_gen/line_output_internal.h"

#include "cmd_gen/enumeration.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace tsh {

constexpr size_t kDigitsFrom = 2; // behind "\n["
constexpr size_t kTailSize = 2;   // "]."

std::string_view LineNumber::next() {
    ++cmd_count;
    char *digit = &text_[length_ - kTailSize - 1];
    while (*digit == '9')
        *digit-- = '0';
    if (isdigit(static_cast<unsigned char>(*digit)) != 0 && cmd_count != 0)
        ++*digit;
    else
        render();
    return {text_.data(), length_};
}

void LineNumber::render() {
    length_ = static_cast<size_t>(snprintf(text_.data(), text_.size(), "\n[%6u].", cmd_count));
}

void OutputBlock::append(std::string_view text) {
    if (text.size() > kSize - used_) {
        drain();
        if (text.size() > kSize) {
            failed_ |= fwrite(text.data(), 1, text.size(), stdout) != text.size();
            return;
        }
    }
    memcpy(&bytes_[used_], text.data(), text.size());
    used_ += text.size();
}

bool OutputBlock::drain() {
    if (used_ > 0)
        failed_ |= fwrite(bytes_.data(), 1, used_, stdout) != used_;
    used_ = 0;
    return !failed_;
}

} // namespace tsh
