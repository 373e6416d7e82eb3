// Resolution of symbolic links whose target need not exist.
#include "base/symlinks.h"

#include <system_error>
#include <utility>

namespace base {

std::filesystem::path end_of_links(std::filesystem::path path) {
    constexpr int kMostLinks = 40;
    std::error_code not_a_link;
    for (int i = 0; i < kMostLinks; ++i) {
        const std::filesystem::path next = std::filesystem::read_symlink(path, not_a_link);
        if (not_a_link)
            break;
        path = path.parent_path() / next;
    }
    return path;
}

} // namespace base
