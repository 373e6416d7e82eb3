// Destination of the block, and less frequent formats.
#include "tools/support/text_output.h"

#include "base/pipe.h"
#include "tools/support/program.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <unistd.h>

namespace tool {

namespace {

// Returns the number of bytes written; if not all, errno has the reason.
size_t write_all(std::string_view text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t some = write(STDOUT_FILENO, text.data() + done, text.size() - done);
        if (some < 0 && errno != EINTR)
            break;
        done += static_cast<size_t>(std::max<ssize_t>(some, 0));
    }
    return done;
}

} // namespace

bool TextOutput::Destination::write(std::string_view text) {
    if (write_all(text) < text.size())
        fail("standard output: cannot be written: %s", strerror(errno));
    return true;
}

TextOutput::TextOutput()
    : bytes_(new char[base::OutputBlock::kBytes + base::kCopyChunk]),
      block_(destination_, bytes_.get()) {
    fflush(stdout);
    base::widen_output_pipe(base::kOutputBlockSize);
}

TextOutput::~TextOutput() {
    const std::string_view left = block_.buffered();
    const size_t written = write_all(left);
    // Bytes that cannot be written stay in the stream; the check at exit reports the error.
    if (written < left.size())
        fwrite(left.data() + written, 1, left.size() - written, stdout);
}

TextOutput &TextOutput::operator<<(int64_t number) {
    char *start = room();
    take_until(std::to_chars(start, start + kMostRoom, number).ptr);
    return *this;
}

TextOutput &TextOutput::put_number(uint64_t number) {
    char *start = room();
    take_until(std::to_chars(start, start + kMostRoom, number).ptr);
    return *this;
}

TextOutput &TextOutput::hexadecimal(uint64_t number, int digits) {
    constexpr int kDigitBits = 4;
    constexpr std::string_view kDigits = "0123456789abcdef";
    int count = digits;
    while (count * kDigitBits < 64 && number >> (count * kDigitBits) != 0)
        ++count;
    while (--count >= 0)
        *this << kDigits[number >> (count * kDigitBits) & 0xFU];
    return *this;
}

TextOutput &TextOutput::blanks(size_t count) {
    constexpr std::string_view kBlanks = "                                ";
    for (; count > kBlanks.size(); count -= kBlanks.size())
        *this << kBlanks;
    return *this << kBlanks.substr(0, count);
}

TextOutput &TextOutput::put_long(std::string_view text) {
    block_.drain(text);
    return *this;
}

void TextOutput::flush() {
    block_.drain();
}

} // namespace tool
