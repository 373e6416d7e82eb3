// Splitting a type mask into the keys of its single types.
#pragma once

#include "feature/tsh/src/bits.h"
#include "param_reg/param_registry.h"

#include <cstdint>
#include <optional>

namespace tsh {

/// The keys of a mask, lowest type bit first.
class TypeKeys {
public:
    explicit TypeKeys(uint32_t mask)
        : family_and_class_(mask &
                            (PARAM_TYPE_FAMILY |
                             (in_family0(mask) ? PARAM_TYPE_CLASS_0 : PARAM_TYPE_CLASS_1_TO_3))),
          type_bits_(mask & (in_family0(mask) ? PARAM_TYPE_BITS_0 : PARAM_TYPE_BITS_1_TO_3)) {}

    std::optional<uint32_t> next() {
        position_ = bit_pos_get32(type_bits_, position_);
        if (position_ < 0)
            return std::nullopt;
        return family_and_class_ | 1U << static_cast<uint32_t>(position_);
    }

private:
    static bool in_family0(uint32_t mask) { return (mask & PARAM_TYPE_FAMILY) == 0; }

    uint32_t family_and_class_;
    uint32_t type_bits_;
    int32_t position_ = -1;
};

} // namespace tsh
