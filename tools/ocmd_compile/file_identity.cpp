// Identity of files by device and inode.
#include "tools/ocmd_compile/file_identity.h"

#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace compiler {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40; // as the kernel follows

// Returns the file at the end of a chain of links, which need not exist.
fs::path end_of_links(fs::path path) {
    std::error_code not_a_link;
    for (int i = 0; i < kMostLinks; ++i) {
        const fs::path next = fs::read_symlink(path, not_a_link);
        if (not_a_link)
            break;
        path = path.parent_path() / next;
    }
    return path;
}

} // namespace

std::optional<FileIdentity> file_identity(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0)
        return S_ISREG(status.st_mode)
                   ? std::optional{FileIdentity{status.st_dev, status.st_ino, {}}}
                   : std::nullopt;
    const fs::path file = end_of_links(path);
    const fs::path directory = file.has_parent_path() ? file.parent_path() : fs::path{"."};
    if (stat(directory.c_str(), &status) != 0)
        return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino, file.filename()};
}

} // namespace compiler
