// Bytes of a field without its padding.
#pragma once

#include <cstdint>
#include <span>

namespace show {

/// Returns the bytes up to the last that is not zero.
std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes);

} // namespace show
