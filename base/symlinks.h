// Targets of symbolic links.
#pragma once

#include <filesystem>

namespace base {

/// Returns the file at the end of a chain of symbolic links, whether it exists or not. A chain of
/// more than 40 links, the system's limit, is followed so far only.
std::filesystem::path end_of_links(std::filesystem::path path);

} // namespace base
