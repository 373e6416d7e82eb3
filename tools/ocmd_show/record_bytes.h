// Bytes of records as they are shown.
#pragma once

#include <cstdint>
#include <span>

namespace show {

/// What is left when the zeros at the end are taken off, which a field has behind what it holds.
std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes);

} // namespace show
