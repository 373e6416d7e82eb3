// Bubble sort: the number of passes is part of the contract, so no other method is possible.
#include "feature/tsh/src/sort.h"

#include <utility>

void swap(uint32_t *array, uint32_t i, uint32_t j) {
    std::swap(array[i], array[j]);
}

uint32_t bsort(uint32_t *array, uint32_t count, bsort_compare_t compare) {
    if (count < 2)
        return 0;
    for (uint32_t limit = count - 1; limit >= 1; --limit) {
        bool exchanged = false;
        for (uint32_t i = 0; i < limit; ++i) {
            if (compare(array[i], array[i + 1]) > 0) {
                swap(array, i, i + 1);
                exchanged = true;
            }
        }
        if (!exchanged)
            return count - limit;
    }
    return count;
}
