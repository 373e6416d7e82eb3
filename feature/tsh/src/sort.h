/* Sorting of 32-bit words by a comparison function. */
#ifndef TSH_FEATURE_TSH_SORT_H
#define TSH_FEATURE_TSH_SORT_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Swaps two elements of an array of words. */
TSH_API void swap(uint32_t *array, uint32_t i, uint32_t j);

/** Compares two elements, given by value: above 0 if the first belongs after the second. */
typedef int (*bsort_compare_t)(uint32_t first, uint32_t second);

/** Sorts ascending in place by bubble sort; stable.
 * @return 0 for fewer than 2 elements; the number of passes if a pass without swaps ended the sort;
 *         count if every pass swapped elements. */
TSH_API uint32_t bsort(uint32_t *array, uint32_t count, bsort_compare_t compare);

#endif
