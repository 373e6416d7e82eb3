// Inputs of fuzzers as files, and output of theirs, without a file system.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

// Makes a file in memory of the bytes, a new one under a name that stays the same.
inline std::string store(int descriptor, std::string_view bytes) {
    const int created = memfd_create("input", 0);
    if (dup2(created, descriptor) < 0 ||
        write(created, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        abort();
    close(created);
    return "/proc/self/fd/" + std::to_string(descriptor);
}

// What code prints while this lives, on standard output or the other, kept in memory.
class CapturedOutput {
public:
    explicit CapturedOutput(int descriptor = STDOUT_FILENO)
        : descriptor_(descriptor), before_(dup(descriptor)), file_(memfd_create("output", 0)) {
        fflush(stdout); // what was printed before is none of it
        if (dup2(file_, descriptor_) < 0)
            abort();
    }
    ~CapturedOutput() {
        fflush(stdout);
        dup2(before_, descriptor_);
        close(before_);
        close(file_);
    }
    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    // All since the last call.
    [[nodiscard]] std::string take() const {
        fflush(stdout);
        std::string text(static_cast<size_t>(lseek(file_, 0, SEEK_END)), '\0');
        if (pread(file_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()) ||
            ftruncate(file_, 0) != 0 || lseek(file_, 0, SEEK_SET) != 0)
            abort();
        return text;
    }

private:
    int descriptor_;
    int before_;
    int file_;
};
