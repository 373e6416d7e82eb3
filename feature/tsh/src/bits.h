/* Set bits of 32- and 64-bit words. Positions count from 0 at the least significant bit. */
#ifndef TSH_FEATURE_TSH_BITS_H
#define TSH_FEATURE_TSH_BITS_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Returns the position of the lowest set bit above position after; after -1, the lowest of all.
 * @return -1 if there is none, or if after is outside -1 .. 30. */
TSH_API int32_t bit_pos_get32(uint32_t value, int32_t after);

/** Returns the position in the same way for 64 bits, after in -1 .. 62. */
TSH_API int32_t bit_pos_get64(uint64_t value, int32_t after);

/** Returns the number of set bits. */
TSH_API int32_t bit_count_get(uint32_t value);

/** Returns the number of set bits. */
TSH_API int32_t bit_count_get64(uint64_t value);

#endif
