// Descriptor of a file that is open for reading.
#pragma once

#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace tool {

/// Closed by the destructor, unless it is standard input.
class Descriptor {
public:
    /// @param path "-" for standard input.
    explicit Descriptor(const std::string &path)
        : number_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~Descriptor() {
        if (number_ > STDIN_FILENO)
            close(number_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    /// Returns the number; negative, with errno set, if the file could not be opened.
    [[nodiscard]] int number() const { return number_; }

private:
    int number_;
};

} // namespace tool
