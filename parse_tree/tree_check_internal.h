// The check of whole trees as the library's own readers make it: sound, or the first fault.
#pragma once

#include "parse_tree/tree_check.h"

#include <array>
#include <optional>
#include <span>

namespace tsh {

/// The first fault that tsh_tree_check would report. Throws std::bad_alloc where that check would
/// report that there is no memory.
std::optional<tsh_tree_fault_t> check_tree(std::span<const tree_node_t> nodes);

/// The text of a fault.
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
