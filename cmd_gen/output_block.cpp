// The ways out of a block: past the stream in whole blocks, through it with the rest.
#include "cmd_gen/output_block_internal.h"

#include <unistd.h>

namespace tsh {

void OutputBlock::drain(std::string_view text) {
    put({bytes_, used_});
    put(text);
    used_ = 0;
}

bool OutputBlock::hand_over() {
    drain();
    failed_ = failed_ || fflush(stream_) != 0;
    return !failed_;
}

// Blocks end at multiples of their size in the output, so that a file takes whole pages.
void OutputBlock::pass_block_on() {
    const size_t size = kOutputBlockSize - handed_over_ % kOutputBlockSize;
    const size_t written = write_past_stream({bytes_, size});
    put({bytes_ + written, size - written});
    handed_over_ += written;
    used_ -= size;
    memmove(bytes_, bytes_ + size, used_);
}

// The stream would copy the first part of every block and take two writes for it. Returns what was
// written; the rest is for the stream, which keeps the error if there is one.
size_t OutputBlock::write_past_stream(std::string_view text) {
    if (failed_ || fflush(stream_) != 0) {
        failed_ = true;
        return 0;
    }
    const ssize_t written = write(fileno(stream_), text.data(), text.size());
    return written < 0 ? 0 : static_cast<size_t>(written);
}

void OutputBlock::put(std::string_view text) {
    if (!text.empty() && !failed_) // no later text may follow a lost one
        failed_ = fwrite(text.data(), 1, text.size(), stream_) != text.size();
    handed_over_ += text.size();
}

} // namespace tsh
