// Detection of data in a subtree file that the library ignores silently.
#pragma once

#include "treelink/subtree_read.h"

#include <cstdint>
#include <string>

namespace tool {

/// The subtrees of one file, in reverse order of reading.
struct Records {
    const subtree_entry_t *first;
    const subtree_entry_t *end;

    [[nodiscard]] bool empty() const { return first == end; }
};

/// Reports data of a regular file that was not read: uncompressed data after compressed data, and
/// data after a record without nodes. Most files can be excluded without decompressing them again.
/// @param path of the file.
/// @param name of the file in messages.
/// @param records that were read from the file.
/// @return the number of messages printed.
uint32_t report_unread(const std::string &path, const std::string &name, const Records &records);

} // namespace tool
