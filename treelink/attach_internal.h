// Common parts of resolving and attaching subtrees.
#pragma once

#include "treelink/link_report_internal.h"
#include "treelink/subtree_read.h"

#include <algorithm>
#include <span>

namespace tsh {

/// The attach paths of a record in slot order.
inline auto attach_paths_of(const subtree_entry_t &record) {
    const auto count = std::clamp<int32_t>(record.path_count, 0, SUBTREE_ATTACH_PATHS);
    return std::span{record.attach_paths, static_cast<size_t>(count)};
}

inline void report_unresolved_path(const char *name, const subtree_entry_t &record) {
    warn(Loss::kPart, "***Treelink Warning***: Unresolved path %s in file %s \n", name,
         record.file_name);
}

} // namespace tsh
