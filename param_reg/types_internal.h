// Representation of a types handle.
#pragma once

#include "param_reg/values.h"

#include <span>

struct tsh_types_t {
    const tsh_type_t *rows; ///< In strictly ascending order of masks.
    uint32_t count;
    tsh_type_t *own; ///< The same rows if the handle owns them.
};

namespace tsh {

/// The types of a handle; null stands for the built-in ones.
inline std::span<const tsh_type_t> types_in(const tsh_types_t *types) {
    const tsh_types_t &known = types == nullptr ? *tsh_types_builtin() : *types;
    return {known.rows, known.count};
}

/// Calls with each single type of a mask, null for one that is not known, until a call returns
/// true.
/// @return whether one did.
template <typename Call>
bool any_type_of(const tsh_types_t *types, uint32_t mask, const Call &call) {
    for (uint32_t key = tsh_mask_next_type(mask, 0); key != 0; key = tsh_mask_next_type(mask, key))
        if (call(tsh_type_by_mask(types, key)))
            return true;
    return false;
}

} // namespace tsh
