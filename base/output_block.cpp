// Writing of blocks: complete blocks bypass a stream's buffer, the rest uses it.
#include "base/output_block.h"

#include <cstring>
#include <unistd.h>
#include <utility>

namespace base {

// Bypasses the stream, which would copy the first part of every block and need two writes for it.
bool StreamDestination::write_block(std::string_view text) {
    if (fflush(stream_) != 0)
        return false;
    const ssize_t written = ::write(fileno(stream_), text.data(), text.size());
    text.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    return write(text); // the stream stores an error
}

bool StreamDestination::write(std::string_view text) {
    return fwrite(text.data(), 1, text.size(), stream_) == text.size();
}

bool StreamDestination::flush() {
    return fflush(stream_) == 0;
}

void OutputBlock::drain(std::string_view text) {
    put({bytes_, std::exchange(used_, 0)});
    put(text);
}

bool OutputBlock::hand_over() {
    drain();
    failed_ = !destination_.flush() || failed_;
    return !failed_;
}

void OutputBlock::pass_block_on() {
    const size_t size = kOutputBlockSize - handed_over_ % kOutputBlockSize;
    const size_t beyond = std::exchange(used_, 0) - size; // a destination may throw
    failed_ = failed_ || !destination_.write_block({bytes_, size});
    handed_over_ += size;
    used_ = beyond;
    memmove(bytes_, bytes_ + size, beyond);
}

void OutputBlock::put(std::string_view text) {
    if (!text.empty() && !failed_) // no text may follow a lost one
        failed_ = !destination_.write(text);
    handed_over_ += text.size();
}

} // namespace base
