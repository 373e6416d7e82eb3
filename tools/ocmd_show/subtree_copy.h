// Copy of a part of a tree as a separate subtree record.
#pragma once

#include "tools/ocmd_show/line_search.h"
#include "tools/support/tree_input.h"

#include <cstdint>
#include <vector>

namespace show {

/// What a grammar need not give.
inline constexpr uint32_t kUsualVersion = 1;
inline constexpr uint32_t kUsualPathKind = 2;

/// A node with all that it reaches, in the order in which ocmd_compile writes them.
class SubtreeCopy {
public:
    /// Copies from a found node on. The attach path names the nodes before it on the line.
    SubtreeCopy(const LineSearch &search, uint16_t found);

    [[nodiscard]] const tool::TreeRecord &record() const { return record_; }

private:
    std::vector<tree_node_t> nodes_;
    tool::TreeRecord record_;
};

} // namespace show
