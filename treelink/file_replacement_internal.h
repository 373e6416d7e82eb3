// Writing a file so that its readers find the old content or the new one, whole.
#pragma once

#include <cstdio>
#include <string>
#include <sys/types.h>

namespace tsh {

/// A file that is being written beside the one it replaces. Unless it is committed, the old file
/// stays as it was and nothing is left behind. A target that exists and is no regular file (a
/// device, a pipe) is written directly; what a symbolic link points to is replaced, not the link.
class FileReplacement {
public:
    explicit FileReplacement(const char *path);
    ~FileReplacement();
    FileReplacement(const FileReplacement &) = delete;
    FileReplacement &operator=(const FileReplacement &) = delete;

    /// Where to write, on a descriptor above those of the standard streams; null when the target
    /// cannot be opened or created.
    [[nodiscard]] FILE *stream() const { return stream_; }

    /// Ends the writing and puts the file in place. False when it could not be written to the
    /// last byte; the old file then stays.
    bool commit();

private:
    void open_directly(const char *path);
    void open_beside(mode_t mode);
    bool close_stream();

    std::string target_;
    std::string temporary_; // empty while there is no such file
    FILE *stream_ = nullptr;
};

} // namespace tsh
