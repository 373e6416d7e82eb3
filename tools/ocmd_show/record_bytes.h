// Bytes of records that are shown as bytes.
#pragma once

#include <cstdint>
#include <span>

namespace show {

/// What is left when the zeros at the end are taken off, which a field has behind what it holds.
inline std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes) {
    while (!bytes.empty() && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    return bytes;
}

} // namespace show
