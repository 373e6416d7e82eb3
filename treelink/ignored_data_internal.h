// Detection of data after the compressed data of a file.
#pragma once

#include <cstdint>

namespace tsh {

/// Returns whether other data follows the compressed data of a regular file; zlib ignores it.
/// @param size of the decompressed data.
bool data_follows_members(const char *path, uint32_t size);

} // namespace tsh
