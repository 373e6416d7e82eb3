// The text that stands for a parameter in a line.
#pragma once

#include "parse_tree/tree_node.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace tsh {

constexpr std::string_view kOptionalMark = "[o]";

/// The names of a parameter's types in angle brackets, lowest type bit first, with nothing between
/// them; cut to 255 bytes.
class ParamPiece {
public:
    explicit ParamPiece(const parameter_info_t &param);

    [[nodiscard]] const char *text() const { return text_; }

private:
    char text_[256];
};

/// The parameters that a node has in use.
inline std::span<const parameter_info_t> params_of(const tree_node_t &node) {
    return {node.params, std::min<size_t>(node.param_count, TREE_MAX_PARAMS)};
}

} // namespace tsh
