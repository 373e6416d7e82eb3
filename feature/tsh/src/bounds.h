/* Range checks. All bounds are inclusive; the result is 1 inside and -1 outside, so a range
 * whose minimum exceeds its maximum is empty. */
#ifndef TSH_FEATURE_TSH_BOUNDS_H
#define TSH_FEATURE_TSH_BOUNDS_H

#include "platform/tsh_api.h"

#include <stdint.h>

TSH_API int32_t check_uint_bounds(uint32_t value, uint32_t min, uint32_t max);
TSH_API int32_t check_int_bounds(int32_t value, int32_t min, int32_t max);
TSH_API int32_t check_uint64_bounds(uint64_t value, uint64_t min, uint64_t max);
TSH_API int32_t check_int64_bounds(int64_t value, int64_t min, int64_t max);

#endif
