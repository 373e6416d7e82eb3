// Splitting a type mask into the keys of its single types.
#pragma once

#include "feature/tsh/src/bits.h"

#include <cstdint>
#include <optional>

namespace tsh {

/// The keys of a mask, lowest type bit first.
class TypeKeys {
public:
    explicit TypeKeys(uint32_t mask)
        : family_and_class_(mask & (kFamily | (in_family0(mask) ? 0x00F00000U : 0x00FFC000U))),
          type_bits_(mask & (in_family0(mask) ? 0x000FFFFFU : 0x00003FFFU)) {}

    std::optional<uint32_t> next() {
        position_ = bit_pos_get32(type_bits_, position_);
        if (position_ < 0)
            return std::nullopt;
        return family_and_class_ | 1U << static_cast<uint32_t>(position_);
    }

private:
    static constexpr uint32_t kFamily = 0xC0000000U;
    static bool in_family0(uint32_t mask) { return (mask & kFamily) == 0; }

    uint32_t family_and_class_;
    uint32_t type_bits_;
    int32_t position_ = -1;
};

} // namespace tsh
