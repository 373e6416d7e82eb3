// Identity of files by device and inode.
#include "tools/ocmd_compile/file_identity.h"

#include "base/symlinks.h"

#include <filesystem>
#include <sys/stat.h>

namespace compiler {

namespace fs = std::filesystem;

std::optional<FileIdentity> file_identity(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0)
        return S_ISREG(status.st_mode)
                   ? std::optional{FileIdentity{status.st_dev, status.st_ino, {}}}
                   : std::nullopt;
    const fs::path file = base::end_of_links(path);
    const fs::path directory = file.has_parent_path() ? file.parent_path() : fs::path{"."};
    if (stat(directory.c_str(), &status) != 0)
        return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino, file.filename()};
}

} // namespace compiler
