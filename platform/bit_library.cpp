// Bit order and compressed form of stored masks in the device's files.
#include "platform/bit_library.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

namespace {

// Both records have the same first members, so either type gives access to the bytes of both.
static_assert(offsetof(bmask128_t, bits) == offsetof(bmask256_t, bits));

uint32_t mask_width(const void *mask) {
    uint32_t nbytes = 0;
    memcpy(&nbytes, mask, sizeof nbytes);
    return nbytes == BMASK128_BYTES || nbytes == BMASK256_BYTES ? nbytes : 0;
}

constexpr size_t kBitsOffset = offsetof(bmask128_t, bits);

} // namespace

uint8_t swapbits(uint8_t byte) {
    unsigned bits = byte;
    bits = (bits & 0xF0U) >> 4U | (bits & 0x0FU) << 4U;
    bits = (bits & 0xCCU) >> 2U | (bits & 0x33U) << 2U;
    bits = (bits & 0xAAU) >> 1U | (bits & 0x55U) << 1U;
    return static_cast<uint8_t>(bits);
}

int32_t bitset_compress(const void *mask, uint8_t *buffer, uint32_t capacity) {
    const uint32_t width = mask_width(mask);
    if (width == 0)
        return -1;
    const std::span bytes{static_cast<const uint8_t *>(mask) + kBitsOffset, width};
    const auto last = std::find_if(bytes.rbegin(), bytes.rend(), [](uint8_t b) { return b != 0; });
    const auto used = static_cast<uint32_t>(bytes.rend() - last);
    if (used > capacity)
        return -1;
    std::copy_n(bytes.begin(), used, buffer);
    return static_cast<int32_t>(used);
}

int32_t bitset_uncompress(void *mask, const uint8_t *buffer, uint32_t length) {
    const uint32_t width = mask_width(mask);
    if (width == 0 || length > width)
        return -1;
    const std::span bytes{static_cast<uint8_t *>(mask) + kBitsOffset, width};
    const auto rest = std::copy_n(buffer, length, bytes.begin());
    std::fill(rest, bytes.end(), uint8_t{0});
    return 0;
}
