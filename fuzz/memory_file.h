// Files in memory for input and output of fuzzers, without a file system.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

// Creates a file in memory with the bytes; every file gets the same name.
inline std::string store(int descriptor, std::string_view bytes) {
    const int created = memfd_create("input", 0);
    if (dup2(created, descriptor) < 0 ||
        write(created, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        abort();
    close(created);
    return "/proc/self/fd/" + std::to_string(descriptor);
}

// Captures standard output or standard error in memory during its lifetime.
class CapturedOutput {
public:
    explicit CapturedOutput(int descriptor = STDOUT_FILENO)
        : descriptor_(descriptor), before_(dup(descriptor)), file_(memfd_create("output", 0)) {
        fflush(stdout); // excludes earlier output
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

    // Returns the output since the last call.
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
