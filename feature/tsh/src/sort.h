/* Sorting of 32-bit words by a caller's comparison. */
#ifndef TSH_FEATURE_TSH_SORT_H
#define TSH_FEATURE_TSH_SORT_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Exchanges two elements of an array of words. */
TSH_API void swap(uint32_t *array, uint32_t i, uint32_t j);

/** Compares two elements, given by value: above 0 when the first belongs after the second. */
typedef int (*bsort_compare_t)(uint32_t first, uint32_t second);

/** Sorts ascending in place by bubble sort; stable.
 * @return 0 when there are fewer than 2 elements; the number of passes when one without exchanges
 *         ended the sort; count when every pass exchanged something. */
TSH_API uint32_t bsort(uint32_t *array, uint32_t count, bsort_compare_t compare);

#endif
