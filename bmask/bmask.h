/* Sets of the numbers 0 to 127 and 0 to 255 as fixed-width bitmasks: set operations, search, text
 * and byte arrays. Every operation except the last exists for both widths with the same contract;
 * below, N is 128 or 256, and B is the size of the bitmap in bytes, 16 or 32.
 *
 * Bit n is in byte n / 8 at 0x80 >> (n mod 8): bit 0 is the most significant bit of the first byte.
 * Only new and init write nbytes; all other operations use only the bitmap. Operands may be the
 * same mask. Every index is checked: setting or clearing a bit outside 0 .. N-1 does nothing,
 * testing it gives 0, and a range (first .. first + count - 1) is clipped to the mask. */
#ifndef TSH_BMASK_BMASK_H
#define TSH_BMASK_BMASK_H

#include "platform/bit_library.h"

#include <stdint.h>

/** A range of bits, including both ends. */
typedef struct bmask_range_t {
    int32_t first; /**< Index of the first bit. */
    int32_t last;  /**< Index of the last bit. */
} bmask_range_t;

/* ---- Life cycle ---- */

/** Returns N. */
TSH_API int32_t bmask128_numbits(void);
TSH_API int32_t bmask256_numbits(void);

/** Allocates an empty mask, which the caller releases with delete; null if out of memory. */
TSH_API bmask128_t *bmask128_new(void);
TSH_API bmask256_t *bmask256_new(void);

/** Initializes a mask: sets nbytes and clears every bit. Returns the mask. */
TSH_API bmask128_t *bmask128_init(bmask128_t *mask);
TSH_API bmask256_t *bmask256_init(bmask256_t *mask);

/** Releases a mask that new allocated; null is ignored. */
TSH_API void bmask128_delete(bmask128_t *mask);
TSH_API void bmask256_delete(bmask256_t *mask);

/** Sets every bit. */
TSH_API void bmask128_fill(bmask128_t *mask);
TSH_API void bmask256_fill(bmask256_t *mask);

/** Clears every bit. */
TSH_API void bmask128_clear(bmask128_t *mask);
TSH_API void bmask256_clear(bmask256_t *mask);

/** dst = src. */
TSH_API void bmask128_copy(bmask128_t *dst, const bmask128_t *src);
TSH_API void bmask256_copy(bmask256_t *dst, const bmask256_t *src);

/* ---- Single bits and ranges ---- */

/** Sets bit n. */
TSH_API void bmask128_set_bit(bmask128_t *mask, int32_t n);
TSH_API void bmask256_set_bit(bmask256_t *mask, int32_t n);

/** Clears bit n. */
TSH_API void bmask128_clear_bit(bmask128_t *mask, int32_t n);
TSH_API void bmask256_clear_bit(bmask256_t *mask, int32_t n);

/** Returns 1 if bit n is set, else 0. */
TSH_API int32_t bmask128_is_bit_set(const bmask128_t *mask, int32_t n);
TSH_API int32_t bmask256_is_bit_set(const bmask256_t *mask, int32_t n);

/** Sets the bits of a range, or clears them if value is 0. A count below 1 changes nothing, here
 * and in every operation on a range. */
TSH_API void bmask128_set_range_value(bmask128_t *mask, int32_t first, int32_t count,
                                      int32_t value);
TSH_API void bmask256_set_range_value(bmask256_t *mask, int32_t first, int32_t count,
                                      int32_t value);

/** Sets the bits of a range. */
TSH_API void bmask128_set_range(bmask128_t *mask, int32_t first, int32_t count);
TSH_API void bmask256_set_range(bmask256_t *mask, int32_t first, int32_t count);

/** Clears the bits of a range. */
TSH_API void bmask128_clear_range(bmask128_t *mask, int32_t first, int32_t count);
TSH_API void bmask256_clear_range(bmask256_t *mask, int32_t first, int32_t count);

/* ---- Operations on complete masks ---- */

/** dst = dst | a. */
TSH_API void bmask128_union(bmask128_t *dst, const bmask128_t *a);
TSH_API void bmask256_union(bmask256_t *dst, const bmask256_t *a);

/** dst = dst & a. */
TSH_API void bmask128_intersection(bmask128_t *dst, const bmask128_t *a);
TSH_API void bmask256_intersection(bmask256_t *dst, const bmask256_t *a);

/** dst = dst & ~a. */
TSH_API void bmask128_subtract(bmask128_t *dst, const bmask128_t *a);
TSH_API void bmask256_subtract(bmask256_t *dst, const bmask256_t *a);

/** dst = ~dst. */
TSH_API void bmask128_revert(bmask128_t *dst);
TSH_API void bmask256_revert(bmask256_t *dst);

/** dst = a ^ b. */
TSH_API void bmask128_xor(bmask128_t *dst, const bmask128_t *a, const bmask128_t *b);
TSH_API void bmask256_xor(bmask256_t *dst, const bmask256_t *a, const bmask256_t *b);

/* ---- Operations under a selecting mask m: the bits of dst where m is clear do not change ---- */

/** dst = a where m is set. */
TSH_API void bmask128_maskcopy(bmask128_t *dst, const bmask128_t *a, const bmask128_t *m);
TSH_API void bmask256_maskcopy(bmask256_t *dst, const bmask256_t *a, const bmask256_t *m);

/** dst = dst | a where m is set. */
TSH_API void bmask128_maskunion(bmask128_t *dst, const bmask128_t *a, const bmask128_t *m);
TSH_API void bmask256_maskunion(bmask256_t *dst, const bmask256_t *a, const bmask256_t *m);

/** dst = dst & a where m is set. */
TSH_API void bmask128_maskintersect(bmask128_t *dst, const bmask128_t *a, const bmask128_t *m);
TSH_API void bmask256_maskintersect(bmask256_t *dst, const bmask256_t *a, const bmask256_t *m);

/** dst = dst & ~a where m is set. */
TSH_API void bmask128_masksubtract(bmask128_t *dst, const bmask128_t *a, const bmask128_t *m);
TSH_API void bmask256_masksubtract(bmask256_t *dst, const bmask256_t *a, const bmask256_t *m);

/** dst = ~dst where m is set. */
TSH_API void bmask128_maskrevert(bmask128_t *dst, const bmask128_t *m);
TSH_API void bmask256_maskrevert(bmask256_t *dst, const bmask256_t *m);

/* ---- Operations on a range: the bits of dst outside first .. first + count - 1 do not change
 * ---- */

/** dst = dst | a in the range. */
TSH_API void bmask128_union_range(bmask128_t *dst, const bmask128_t *a, int32_t first,
                                  int32_t count);
TSH_API void bmask256_union_range(bmask256_t *dst, const bmask256_t *a, int32_t first,
                                  int32_t count);

/** dst = dst & a in the range. */
TSH_API void bmask128_intersection_range(bmask128_t *dst, const bmask128_t *a, int32_t first,
                                         int32_t count);
TSH_API void bmask256_intersection_range(bmask256_t *dst, const bmask256_t *a, int32_t first,
                                         int32_t count);

/** dst = dst & ~a in the range. */
TSH_API void bmask128_subtract_range(bmask128_t *dst, const bmask128_t *a, int32_t first,
                                     int32_t count);
TSH_API void bmask256_subtract_range(bmask256_t *dst, const bmask256_t *a, int32_t first,
                                     int32_t count);

/** dst = ~dst in the range. */
TSH_API void bmask128_revert_range(bmask128_t *dst, int32_t first, int32_t count);
TSH_API void bmask256_revert_range(bmask256_t *dst, int32_t first, int32_t count);

/* ---- Comparison and counting ---- */

/** Returns 1 if a and b contain the same bits, else 0. */
TSH_API int32_t bmask128_equal(const bmask128_t *a, const bmask128_t *b);
TSH_API int32_t bmask256_equal(const bmask256_t *a, const bmask256_t *b);

/** Returns 1 if a and b are equal in every bit that is set in m, else 0. */
TSH_API int32_t bmask128_maskequal(const bmask128_t *a, const bmask128_t *b, const bmask128_t *m);
TSH_API int32_t bmask256_maskequal(const bmask256_t *a, const bmask256_t *b, const bmask256_t *m);

/** Returns 1 if a bit is set in both, else 0. */
TSH_API int32_t bmask128_intersects(const bmask128_t *a, const bmask128_t *b);
TSH_API int32_t bmask256_intersects(const bmask256_t *a, const bmask256_t *b);

/** Returns 1 if every bit set in a is set in b, else 0. */
TSH_API int32_t bmask128_subset(const bmask128_t *a, const bmask128_t *b);
TSH_API int32_t bmask256_subset(const bmask256_t *a, const bmask256_t *b);

/** Returns the number of set bits. */
TSH_API int32_t bmask128_bitcount(const bmask128_t *a);
TSH_API int32_t bmask256_bitcount(const bmask256_t *a);

/* ---- Compressed form ---- */

/** Calls bitset_compress for the mask, whose nbytes must be set. */
TSH_API int32_t bmask128_compress(const bmask128_t *mask, uint8_t *buffer, uint32_t capacity);
TSH_API int32_t bmask256_compress(const bmask256_t *mask, uint8_t *buffer, uint32_t capacity);

/** Calls bitset_uncompress for the mask, whose nbytes must be set. */
TSH_API int32_t bmask128_uncompress(bmask128_t *mask, const uint8_t *buffer, uint32_t length);
TSH_API int32_t bmask256_uncompress(bmask256_t *mask, const uint8_t *buffer, uint32_t length);

/* ---- Search: results are bit indices, -1 for none. A free bit is a clear bit. A forward search
 * from below 0 starts at 0, a backward search from above N-1 starts at N-1. ---- */

/** Returns the lowest set bit at start or above. */
TSH_API int32_t bmask128_find_bit(const bmask128_t *mask, int32_t start);
TSH_API int32_t bmask256_find_bit(const bmask256_t *mask, int32_t start);

/** Returns the lowest free bit at start or above. */
TSH_API int32_t bmask128_find_free_bit(const bmask128_t *mask, int32_t start);
TSH_API int32_t bmask256_find_free_bit(const bmask256_t *mask, int32_t start);

/** Returns the highest set bit at start or below. */
TSH_API int32_t bmask128_find_prev_bit(const bmask128_t *mask, int32_t start);
TSH_API int32_t bmask256_find_prev_bit(const bmask256_t *mask, int32_t start);

/** Returns the lowest set bit. */
TSH_API int32_t bmask128_first_bit(const bmask128_t *mask);
TSH_API int32_t bmask256_first_bit(const bmask256_t *mask);

/** Returns the lowest free bit. */
TSH_API int32_t bmask128_first_free_bit(const bmask128_t *mask);
TSH_API int32_t bmask256_first_free_bit(const bmask256_t *mask);

/** Returns the lowest set bit above n. */
TSH_API int32_t bmask128_next_bit(const bmask128_t *mask, int32_t n);
TSH_API int32_t bmask256_next_bit(const bmask256_t *mask, int32_t n);

/** Returns the lowest free bit above n. */
TSH_API int32_t bmask128_next_free_bit(const bmask128_t *mask, int32_t n);
TSH_API int32_t bmask256_next_free_bit(const bmask256_t *mask, int32_t n);

/** Returns the set bit of rank k; rank 0 is the lowest. */
TSH_API int32_t bmask128_nth_bit(const bmask128_t *mask, int32_t k);
TSH_API int32_t bmask256_nth_bit(const bmask256_t *mask, int32_t k);

/** Returns the free bit of rank k; rank 0 is the lowest. */
TSH_API int32_t bmask128_nth_free_bit(const bmask128_t *mask, int32_t k);
TSH_API int32_t bmask256_nth_free_bit(const bmask256_t *mask, int32_t k);

/** Finds the next maximal run of set bits:
 *     bmask_range_t run = {1, 0};
 *     while (bmask128_next_range(mask, &run) == 0)
 *         use(run.first, run.last);
 * {1, 0} starts the iteration; any other value continues after its last. The bit after that is
 * assumed to be clear and is not checked.
 * @return 0 with the run stored; -1 if there is none; first is then -1, unless no bit is left to
 *         check. */
TSH_API int32_t bmask128_next_range(const bmask128_t *mask, bmask_range_t *range);
TSH_API int32_t bmask256_next_range(const bmask256_t *mask, bmask_range_t *range);

/** Finds the next maximal run of free bits in the same way. */
TSH_API int32_t bmask128_next_free_range(const bmask128_t *mask, bmask_range_t *range);
TSH_API int32_t bmask256_next_free_range(const bmask256_t *mask, bmask_range_t *range);

/** Returns 1 if no bit above range->first up to range->last is set, else 0. Bit first itself, which
 * belongs to the caller, is not checked. */
TSH_API int32_t bmask128_is_range_free(const bmask128_t *mask, const bmask_range_t *range);
TSH_API int32_t bmask256_is_range_free(const bmask256_t *mask, const bmask_range_t *range);

/* ---- Text: the maximal runs of set bits in increasing order, "first-last" or a single number,
 * separated by "," without spaces: "1-3,5,9". ---- */

/** Last bit of the last item that snprintf wrote, where its next call continues; 0 if nothing is
 * pending. Shared by both widths and all masks, so only one text can be written in pieces at a
 * time. */
TSH_API int32_t printf_curr_idx;

/** Size of the longest decimal list of each width, including its NUL. */
#define BMASK128_TEXT_SIZE 512
#define BMASK256_TEXT_SIZE 1024

/** Writes the complete decimal list; BMASKn_TEXT_SIZE bytes are always sufficient.
 * @return the number of characters, 0 for an empty mask. */
TSH_API int32_t bmask128_sprintf(char *buffer, const bmask128_t *mask);
TSH_API int32_t bmask256_sprintf(char *buffer, const bmask256_t *mask);

/** Writes as many complete decimal items as fit into capacity bytes with a NUL. A long list is
 * written in pieces: restart is 1 in the first call and 0 in the others, until done is set. No
 * piece starts with a comma. With a capacity of 0, nothing is written.
 * @param done set to 1 if the list is complete, else to 0.
 * @return the number of characters; 0 with done 0 if not even one item fits. After such a first
 *         call, restart must be 1 again: any later call assumes that bit 0 is already written. */
TSH_API int32_t bmask128_snprintf(char *buffer, uint32_t capacity, const bmask128_t *mask,
                                  uint8_t restart, uint8_t *done);
TSH_API int32_t bmask256_snprintf(char *buffer, uint32_t capacity, const bmask256_t *mask,
                                  uint8_t restart, uint8_t *done);

/** Prints the decimal list to standard output. */
TSH_API void bmask128_printf(const bmask128_t *mask);
TSH_API void bmask256_printf(const bmask256_t *mask);

/** Prints the list to standard output with numbers like 0x1f; zero is printed as 0. */
TSH_API void bmask128_hex_printf(const bmask128_t *mask);
TSH_API void bmask256_hex_printf(const bmask256_t *mask);

/** Prints the bytes of the bitmap to standard output, two lowercase hexadecimal digits each. */
TSH_API void bmask128_printf_hex(const bmask128_t *mask);
TSH_API void bmask256_printf_hex(const bmask256_t *mask);

/* ---- Bit arrays: byte i is swapbits of byte i of the bitmap ---- */

/** Stores the first length bytes of the bitmap; bytes beyond B become 0. */
TSH_API void bmask128_to_bitarray(const bmask128_t *mask, uint8_t *array, int32_t length);
TSH_API void bmask256_to_bitarray(const bmask256_t *mask, uint8_t *array, int32_t length);

/** Loads the bitmap from at most the first B bytes of the array, and clears the rest. */
TSH_API void bmask128_from_bitarray(bmask128_t *mask, const uint8_t *array, int32_t length);
TSH_API void bmask256_from_bitarray(bmask256_t *mask, const uint8_t *array, int32_t length);

/** Stores a word in the lowest 32 positions of a set: bit i of the word (0 is the least
 * significant) becomes position i. The other positions do not change. */
TSH_API void bmask128_uint32_copy(bmask128_t *set, uint32_t word);

#endif
