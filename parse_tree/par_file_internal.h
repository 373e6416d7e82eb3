// A par file open for reading.
#pragma once

#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace tsh {

/// Opened without waiting, so that a pipe in its place is refused like any other file that cannot
/// be mapped.
class ParFile {
public:
    explicit ParFile(const char *path)
        : descriptor_(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    ~ParFile() {
        if (descriptor_ >= 0)
            close(descriptor_);
    }
    ParFile(const ParFile &) = delete;
    ParFile &operator=(const ParFile &) = delete;

    [[nodiscard]] int descriptor() const { return descriptor_; }
    [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }

    /// None with errno set where the system tells none, as of a file that did not open.
    [[nodiscard]] std::optional<struct stat> status() const {
        struct stat status {};
        return is_open() && fstat(descriptor_, &status) == 0 ? std::optional{status} : std::nullopt;
    }

    /// Size in bytes, or -1 likewise.
    [[nodiscard]] off_t size() const {
        const auto known = status();
        return known ? known->st_size : -1;
    }

private:
    int descriptor_;
};

} // namespace tsh
