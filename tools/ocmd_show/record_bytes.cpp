// Bytes without the zeros that pad their field.
#include "tools/ocmd_show/record_bytes.h"

#include <cstring>

namespace show {

std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes) {
    uint64_t last = 0; // most fields are mostly zeros
    while (bytes.size() >= sizeof last) {
        memcpy(&last, &bytes[bytes.size() - sizeof last], sizeof last);
        if (last != 0)
            break;
        bytes = bytes.first(bytes.size() - sizeof last);
    }
    while (!bytes.empty() && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    return bytes;
}

} // namespace show
