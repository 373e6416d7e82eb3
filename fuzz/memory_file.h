// Inputs of fuzzers as files, without a file system.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

// Makes a file in memory of the bytes, a new one under a name that stays the same.
inline std::string store(int descriptor, const uint8_t *data, size_t size) {
    const int created = memfd_create("input", 0);
    if (dup2(created, descriptor) < 0 || write(created, data, size) != static_cast<ssize_t>(size))
        abort();
    close(created);
    return "/proc/self/fd/" + std::to_string(descriptor);
}

// What code prints on standard output, kept in memory. One that lives at a time.
class CapturedOutput {
public:
    CapturedOutput() : file_(memfd_create("output", 0)) {
        if (dup2(file_, STDOUT_FILENO) < 0)
            abort();
    }
    ~CapturedOutput() { close(file_); }
    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    // All since the last call.
    std::string take() const {
        std::string text(static_cast<size_t>(lseek(file_, 0, SEEK_END)), '\0');
        if (pread(file_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()) ||
            ftruncate(file_, 0) != 0 || lseek(file_, 0, SEEK_SET) != 0)
            abort();
        return text;
    }

private:
    int file_;
};
