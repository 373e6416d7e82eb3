// Owner of a file descriptor, and reading through one.
#pragma once

#include "base/errno_kept.h"

#include <cstddef>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace base {

/// Closes the descriptor at its end; errno stays as it is.
class Descriptor {
public:
    Descriptor() = default;
    /// Takes the descriptor over; a negative number is none.
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        const ErrnoKept kept;
        if (number_ >= 0)
            close(number_);
    }
    Descriptor(Descriptor &&other) noexcept : number_(other.release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    explicit operator bool() const { return number_ >= 0; }
    [[nodiscard]] int number() const { return number_; }
    int release() { return std::exchange(number_, -1); }

    /// Returns nothing, with errno set, if there is no descriptor or the system refuses.
    [[nodiscard]] std::optional<struct stat> status() const {
        struct stat status {};
        return number_ >= 0 && fstat(number_, &status) == 0 ? std::optional{status} : std::nullopt;
    }
    /// Returns the size of the file in bytes, or -1 likewise.
    [[nodiscard]] off_t size() const {
        const auto known = status();
        return known ? known->st_size : -1;
    }

private:
    int number_ = -1;
};

/// Opens a file for reading; "-" is a copy of standard input.
inline Descriptor open_input(const std::string &path) {
    return Descriptor{path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                  : open(path.c_str(), O_RDONLY | O_CLOEXEC)};
}

/// Reads size bytes, in several pieces if need be. Returns how many there were, fewer only at the
/// end of the file, or -1 with errno set.
ssize_t read_fully(const Descriptor &file, void *buffer, size_t size);

} // namespace base
