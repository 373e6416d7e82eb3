// Tree check for the library's own readers, which stop at the first error.
#pragma once

#include "parse_tree/tree_check.h"

#include <array>
#include <optional>
#include <span>

namespace tsh {

/// Returns the first error that tsh_tree_check would report. Throws std::bad_alloc if out of
/// memory.
std::optional<tsh_tree_fault_t> check_tree(std::span<const tree_node_t> nodes);

/// Text of an error.
class FaultText {
public:
    FaultText(std::span<const tree_node_t> nodes, const tsh_tree_fault_t &fault) {
        tsh_tree_fault_text(nodes.data(), static_cast<uint32_t>(nodes.size()), &fault, text_.data(),
                            text_.size());
    }
    [[nodiscard]] const char *text() const { return text_.data(); }

private:
    std::array<char, TSH_TREE_FAULT_TEXT_SIZE> text_;
};

} // namespace tsh
