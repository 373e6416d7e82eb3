/* Set bits of 32- and 64-bit words. Positions count from 0 at the least significant bit. */
#ifndef TSH_FEATURE_TSH_BITS_H
#define TSH_FEATURE_TSH_BITS_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Lowest set bit above position after; -1 asks for the lowest of all.
 * @return its position, or -1 when there is none or after lies outside -1 .. 30. */
TSH_API int32_t bit_pos_get32(uint32_t value, int32_t after);

/** The same for 64 bits, after in -1 .. 62. */
TSH_API int32_t bit_pos_get64(uint64_t value, int32_t after);

/** Number of set bits. */
TSH_API int32_t bit_count_get(uint32_t value);

/** Number of set bits. */
TSH_API int32_t bit_count_get64(uint64_t value);

#endif
