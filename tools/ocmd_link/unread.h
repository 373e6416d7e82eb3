// What of a subtree file the library leaves out in silence, so that nothing is lost unnoticed.
#pragma once

#include "treelink/subtree_read.h"

#include <cstdint>
#include <string>

namespace tool {

/// The subtrees that one file has brought, from the one read last to the one read first.
struct Records {
    const subtree_entry_t *first;
    const subtree_entry_t *end;

    [[nodiscard]] bool empty() const { return first == end; }
};

/// Tells what was not read of a regular file: what follows compressed data without being of that
/// kind, or a record of no nodes. Most files show without being inflated once more that there is
/// nothing.
/// @param path by which the file is opened.
/// @param name in messages.
/// @param records all that was read of it.
/// @return what was told, in messages.
uint32_t tell_of_unread(const std::string &path, const std::string &name, const Records &records);

} // namespace tool
