/* Services of the device's bit library: the fixed-width mask records, the bit order of stored
 * masks, and their compressed form. bmask/bmask.h declares the operations on masks. */
#ifndef TSH_PLATFORM_BIT_LIBRARY_H
#define TSH_PLATFORM_BIT_LIBRARY_H

#include "platform/tsh_api.h"

#include <stdint.h>

#define BMASK128_BYTES 16 /**< Bytes of a set of 128 numbers. */
#define BMASK256_BYTES 32 /**< Bytes of a set of 256 numbers. */

/** A set of the numbers 0 to 127. Bit n is in byte n / 8 at 0x80 >> (n mod 8). */
typedef struct bmask128_t {
    uint32_t nbytes;              /**< Length of bits in bytes (16), set by bmask128_init. */
    uint8_t bits[BMASK128_BYTES]; /**< Bit 0 is the highest bit of the first byte. */
} bmask128_t;

/** A set of the numbers 0 to 255, in the same bit order. */
typedef struct bmask256_t {
    uint32_t nbytes;              /**< Length of bits in bytes (32), set by bmask256_init. */
    uint8_t bits[BMASK256_BYTES]; /**< Bit 0 is the highest bit of the first byte. */
} bmask256_t;

/** Returns the byte with its bits in reverse order: bit 7 swapped with bit 0, 6 with 1 and so on.
 * Its own inverse. */
TSH_API uint8_t swapbits(uint8_t byte);

/** Stores the mask's bytes up to the last nonzero one.
 * @param mask a bmask128_t or bmask256_t, according to its nbytes.
 * @return the number of bytes stored (0 for an empty mask), or -1 if they do not fit into capacity
 *         bytes, or if nbytes is neither 16 nor 32. */
TSH_API int32_t bitset_compress(const void *mask, uint8_t *buffer, uint32_t capacity);

/** Loads a mask from the length bytes that bitset_compress stored, and clears the rest.
 * @return 0, or -1 (mask unchanged) if length exceeds the mask's nbytes, or if nbytes is neither 16
 *         nor 32. */
TSH_API int32_t bitset_uncompress(void *mask, const uint8_t *buffer, uint32_t length);

#endif
