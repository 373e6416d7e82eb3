// What values of the parameter types look like, of the types that tools can judge values of. Needs
// register_types.
#pragma once

#include "parse_tree/tree_node.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace tool {

enum class ValueForm : uint8_t {
    kText,   // has a greatest length
    kLine,   // likewise, and goes on to the end of the line
    kNumber, // one number
    kRange,  // a number, or two with '-' between them
    kRanges, // ranges with ',' between them
};

struct ValueType {
    std::string_view name; ///< As the type is registered.
    ValueForm form;
    int base = 0; ///< Of numbers: 10 or 16,
    int bits = 0; ///< 32 or 64 of them,
    bool has_sign = false;

    [[nodiscard]] bool is_text() const {
        return form == ValueForm::kText || form == ValueForm::kLine;
    }
};

/// One for each type of a mask; null for a type that is not registered or of which nothing is
/// known.
std::vector<const ValueType *> value_types_of(uint32_t mask);

/// Whether a type of the mask is a text, or is not registered and may be one.
bool may_take_text(uint32_t mask);

/// Whether what bounds a parameter holds can be a text's greatest length, which lies where a lowest
/// value would. Texts without a length are such, too.
bool has_length(const parameter_info_t &parameter);

/// A bound as the parameter counts it: without a sign where all its types are numbers without one.
int64_t bound_of(uint32_t type_mask, int32_t stored);

/// The highest bound that there can be.
int64_t greatest_bound(uint32_t type_mask);

} // namespace tool
