// What may stand in a line for a parameter.
#pragma once

#include "parse_tree/tree_node.h"
#include "tools/support/value_types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace find {

/// The check of values of one parameter. Integers, and ranges and lists of them, have to be written
/// as such and to lie within the bounds; texts have a greatest length; any word does for other
/// types. Bounds that are both 0 are none, and so is a length below 1.
class ValueCheck {
public:
    /// Types are known by the registry, which must be filled.
    explicit ValueCheck(const parameter_info_t &parameter);

    /// Whether a value is all that is left of its line.
    [[nodiscard]] bool takes_rest() const { return takes_rest_; }

    /// What is wrong with a value, or nothing: one of the parameter's types has to accept it.
    [[nodiscard]] std::optional<std::string> fault_of(std::string_view value) const;

private:
    std::vector<const tool::ValueType *> types_; // empty when any word does
    bool takes_rest_ = false;
    int32_t int_min_;
    int32_t int_max_;
};

} // namespace find
