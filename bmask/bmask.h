/* Sets of the numbers 0 to 127 and 0 to 255 as fixed-width bitmasks: sets, search, and text and
 * byte-array forms. Every operation but the last exists for both widths under one contract; below,
 * N is 128 or 256 and B, the bytes of the bitmap, 16 or 32.
 *
 * Bit n lies in byte n / 8 at 0x80 >> (n mod 8): bit 0 is the most significant bit of the first
 * byte. Only new and init write nbytes; everything else works on the bitmap alone. Operands may be
 * the same mask. No index is trusted: setting or clearing a bit outside 0 .. N-1 does nothing,
 * testing it gives 0, and a range (first .. first + count - 1) is clipped to the mask. */
#ifndef TSH_BMASK_BMASK_H
#define TSH_BMASK_BMASK_H

#include "platform/bit_library.h"

#include <stdint.h>

/** A run of bits, both ends included. */
typedef struct bmask_range_t {
    int32_t first; /**< Index of the first bit. */
    int32_t last;  /**< Index of the last bit. */
} bmask_range_t;

/* ---- Life cycle ---- */

/** N. */
TSH_API int32_t bmask128_numbits(void);
TSH_API int32_t bmask256_numbits(void);

/** Allocates an empty mask, which the caller releases with delete; null without memory. */
TSH_API bmask128_t *bmask128_new(void);
TSH_API bmask256_t *bmask256_new(void);

/** Prepares a mask of any origin: sets nbytes and clears every bit. Returns the mask. */
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

/** 1 when bit n is set, else 0. */
TSH_API int32_t bmask128_is_bit_set(const bmask128_t *mask, int32_t n);
TSH_API int32_t bmask256_is_bit_set(const bmask256_t *mask, int32_t n);

/** Sets the bits of a range, or clears them when value is 0. A count below 1 changes nothing, here
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

/* ---- Algebra of whole masks ---- */

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

/* ---- Algebra under a selecting mask m: dst keeps its bits wherever m is clear ---- */

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

/* ---- Algebra within a range: dst keeps its bits outside first .. first + count - 1 ---- */

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

/** 1 when a and b hold the same bits, else 0. */
TSH_API int32_t bmask128_equal(const bmask128_t *a, const bmask128_t *b);
TSH_API int32_t bmask256_equal(const bmask256_t *a, const bmask256_t *b);

/** 1 when a and b agree on every bit set in m, else 0. */
TSH_API int32_t bmask128_maskequal(const bmask128_t *a, const bmask128_t *b, const bmask128_t *m);
TSH_API int32_t bmask256_maskequal(const bmask256_t *a, const bmask256_t *b, const bmask256_t *m);

/** 1 when a bit is set in both, else 0. */
TSH_API int32_t bmask128_intersects(const bmask128_t *a, const bmask128_t *b);
TSH_API int32_t bmask256_intersects(const bmask256_t *a, const bmask256_t *b);

/** 1 when every bit set in a is set in b, else 0. */
TSH_API int32_t bmask128_subset(const bmask128_t *a, const bmask128_t *b);
TSH_API int32_t bmask256_subset(const bmask256_t *a, const bmask256_t *b);

/** Number of set bits. */
TSH_API int32_t bmask128_bitcount(const bmask128_t *a);
TSH_API int32_t bmask256_bitcount(const bmask256_t *a);

/* ---- Compressed form ---- */

/** bitset_compress of the mask, whose nbytes must be set. */
TSH_API int32_t bmask128_compress(const bmask128_t *mask, uint8_t *buffer, uint32_t capacity);
TSH_API int32_t bmask256_compress(const bmask256_t *mask, uint8_t *buffer, uint32_t capacity);

/** bitset_uncompress into the mask, whose nbytes must be set. */
TSH_API int32_t bmask128_uncompress(bmask128_t *mask, const uint8_t *buffer, uint32_t length);
TSH_API int32_t bmask256_uncompress(bmask256_t *mask, const uint8_t *buffer, uint32_t length);

/* ---- Search: results are bit indices, -1 for none. A free bit is a clear one. A forward search
 * from below 0 begins at 0, a backward one from above N-1 begins there. ---- */

/** Lowest set bit at start or above. */
TSH_API int32_t bmask128_find_bit(const bmask128_t *mask, int32_t start);
TSH_API int32_t bmask256_find_bit(const bmask256_t *mask, int32_t start);

/** Lowest free bit at start or above. */
TSH_API int32_t bmask128_find_free_bit(const bmask128_t *mask, int32_t start);
TSH_API int32_t bmask256_find_free_bit(const bmask256_t *mask, int32_t start);

/** Highest set bit at start or below. */
TSH_API int32_t bmask128_find_prev_bit(const bmask128_t *mask, int32_t start);
TSH_API int32_t bmask256_find_prev_bit(const bmask256_t *mask, int32_t start);

/** Lowest set bit. */
TSH_API int32_t bmask128_first_bit(const bmask128_t *mask);
TSH_API int32_t bmask256_first_bit(const bmask256_t *mask);

/** Lowest free bit. */
TSH_API int32_t bmask128_first_free_bit(const bmask128_t *mask);
TSH_API int32_t bmask256_first_free_bit(const bmask256_t *mask);

/** Lowest set bit above n. */
TSH_API int32_t bmask128_next_bit(const bmask128_t *mask, int32_t n);
TSH_API int32_t bmask256_next_bit(const bmask256_t *mask, int32_t n);

/** Lowest free bit above n. */
TSH_API int32_t bmask128_next_free_bit(const bmask128_t *mask, int32_t n);
TSH_API int32_t bmask256_next_free_bit(const bmask256_t *mask, int32_t n);

/** The set bit of rank k; 0 asks for the lowest. */
TSH_API int32_t bmask128_nth_bit(const bmask128_t *mask, int32_t k);
TSH_API int32_t bmask256_nth_bit(const bmask256_t *mask, int32_t k);

/** The free bit of rank k; 0 asks for the lowest. */
TSH_API int32_t bmask128_nth_free_bit(const bmask128_t *mask, int32_t k);
TSH_API int32_t bmask256_nth_free_bit(const bmask256_t *mask, int32_t k);

/** Finds the next maximal run of set bits:
 *     bmask_range_t run = {1, 0};
 *     while (bmask128_next_range(mask, &run) == 0)
 *         use(run.first, run.last);
 * {1, 0} starts the iteration; any other value continues behind its last. The bit after that is
 * taken to end the run and is not looked at.
 * @return 0 with the run stored; -1 when there is none, first then being -1 unless no bit is
 *         left to look at. */
TSH_API int32_t bmask128_next_range(const bmask128_t *mask, bmask_range_t *range);
TSH_API int32_t bmask256_next_range(const bmask256_t *mask, bmask_range_t *range);

/** The same for runs of free bits. */
TSH_API int32_t bmask128_next_free_range(const bmask128_t *mask, bmask_range_t *range);
TSH_API int32_t bmask256_next_free_range(const bmask256_t *mask, bmask_range_t *range);

/** 1 when no bit above range->first up to range->last is set, else 0. Bit first itself, which the
 * caller holds, is not looked at. */
TSH_API int32_t bmask128_is_range_free(const bmask128_t *mask, const bmask_range_t *range);
TSH_API int32_t bmask256_is_range_free(const bmask256_t *mask, const bmask_range_t *range);

/* ---- Text: the maximal runs of set bits in increasing order, "first-last" or a single number,
 * separated by "," without blanks: "1-3,5,9". ---- */

/** Last bit of the last item that snprintf wrote, where its next call goes on; 0 when nothing is
 * pending. Shared by both widths and all masks, so one printing in pieces runs at a time. */
TSH_API int32_t printf_curr_idx;

/** Room for the longest decimal list of either width, with its terminating zero. */
#define BMASK128_TEXT_SIZE 512
#define BMASK256_TEXT_SIZE 1024

/** Writes the whole decimal list; the caller provides BMASKn_TEXT_SIZE bytes, unless it knows
 * better. @return the number of characters, 0 for an empty mask. */
TSH_API int32_t bmask128_sprintf(char *buffer, const bmask128_t *mask);
TSH_API int32_t bmask256_sprintf(char *buffer, const bmask256_t *mask);

/** Writes as many whole decimal items as fit capacity bytes with a terminating zero. A long list
 * is written in pieces: restart is 1 in the first call and 0 in the others, until done is set. No
 * piece begins with a comma. A capacity of 0 writes nothing.
 * @param done set to 1 when the list is complete, else to 0.
 * @return the number of characters; 0 with done 0 when not even one item fits. A first call that
 *         ends so is followed by another first call: bit 0 is taken as written by any later one. */
TSH_API int32_t bmask128_snprintf(char *buffer, uint32_t capacity, const bmask128_t *mask,
                                  uint8_t restart, uint8_t *done);
TSH_API int32_t bmask256_snprintf(char *buffer, uint32_t capacity, const bmask256_t *mask,
                                  uint8_t restart, uint8_t *done);

/** Prints the decimal list on standard output. */
TSH_API void bmask128_printf(const bmask128_t *mask);
TSH_API void bmask256_printf(const bmask256_t *mask);

/** Prints the list on standard output with numbers like 0x1f; zero is plain 0. */
TSH_API void bmask128_hex_printf(const bmask128_t *mask);
TSH_API void bmask256_hex_printf(const bmask256_t *mask);

/** Prints the bytes of the bitmap on standard output, two lowercase hexadecimal digits each. */
TSH_API void bmask128_printf_hex(const bmask128_t *mask);
TSH_API void bmask256_printf_hex(const bmask256_t *mask);

/* ---- Bit arrays: byte i is byte i of the bitmap through swapbits ---- */

/** Stores the first length bytes of the bitmap; bytes beyond B become 0. */
TSH_API void bmask128_to_bitarray(const bmask128_t *mask, uint8_t *array, int32_t length);
TSH_API void bmask256_to_bitarray(const bmask256_t *mask, uint8_t *array, int32_t length);

/** Loads the bitmap from at most its first B bytes of the array; the rest of it is cleared. */
TSH_API void bmask128_from_bitarray(bmask128_t *mask, const uint8_t *array, int32_t length);
TSH_API void bmask256_from_bitarray(bmask256_t *mask, const uint8_t *array, int32_t length);

/** Puts a word into the lowest 32 positions of a set: bit i of the word (0 the least significant)
 * becomes position i. The other positions keep their value. */
TSH_API void bmask128_uint32_copy(bmask128_t *set, uint32_t word);

#endif
