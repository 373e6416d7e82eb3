// Identity of files, which may have several names.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <sys/types.h>

namespace compiler {

/// A regular file, or the entry of a directory where one would be created.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;      ///< Of the file, or of the directory.
    std::string new_name; ///< In the directory; empty for a file that exists.

    auto operator<=>(const FileIdentity &) const = default;
};

/// Returns the identity of the file at the end of symbolic links; nothing for any other file, such
/// as a device, and for a file in no directory.
std::optional<FileIdentity> file_identity(const std::string &path);

} // namespace compiler
