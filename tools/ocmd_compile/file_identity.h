// Identity of files, which may have several names.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <tuple>

namespace compiler {

/// A regular file, or the entry of a directory where one would be created.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;      ///< Of the file, or of the directory.
    std::string new_name; ///< In the directory; empty for a file that exists.

    bool operator<(const FileIdentity &other) const {
        return std::tie(device, inode, new_name) <
               std::tie(other.device, other.inode, other.new_name);
    }
};

/// Returns the identity of the file at the end of symbolic links; nothing for any other file, such
/// as a device, and for a file in no directory.
std::optional<FileIdentity> file_identity(const std::string &path);

} // namespace compiler
