// Inclusive range checks in four integer types.
#include "feature/tsh/src/bounds.h"

namespace {

template <typename Integer> int32_t check_bounds(Integer value, Integer min, Integer max) {
    return min <= value && value <= max ? 1 : -1;
}

} // namespace

int32_t check_uint_bounds(uint32_t value, uint32_t min, uint32_t max) {
    return check_bounds(value, min, max);
}

int32_t check_int_bounds(int32_t value, int32_t min, int32_t max) {
    return check_bounds(value, min, max);
}

int32_t check_uint64_bounds(uint64_t value, uint64_t min, uint64_t max) {
    return check_bounds(value, min, max);
}

int32_t check_int64_bounds(int64_t value, int64_t min, int64_t max) {
    return check_bounds(value, min, max);
}
