// Bytes without what fills their field.
#include "tools/ocmd_show/record_bytes.h"

namespace show {

std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes) {
    while (!bytes.empty() && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    return bytes;
}

} // namespace show
