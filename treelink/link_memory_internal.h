// Memory of the tree linker. Where there is none left the process ends with status 100, whether the
// linker itself or a container of the standard library asked for it. Only GLib, when one of its
// tables grows, ends the process its own way.
#pragma once

#include "base/owners.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace tsh {

[[noreturn]] void end_out_of_memory();

/// Not cleared. C callers own such blocks, so they come from malloc. Large ones prefer huge pages.
void *allocate_bytes(size_t size);

/// Room for count objects, not cleared.
template <typename T> base::Block<T> allocate(size_t count) {
    if (count > SIZE_MAX / sizeof(T))
        end_out_of_memory();
    return base::Block<T>{static_cast<T *>(allocate_bytes(count * sizeof(T)))};
}

/// Room for count objects, all zero.
template <typename T> base::Block<T> allocate_zeroed(size_t count = 1) {
    void *block = calloc(std::max(count, size_t{1}), sizeof(T));
    if (block == nullptr)
        end_out_of_memory();
    return base::Block<T>{static_cast<T *>(block)};
}

/// Runs the body of an exported operation that uses containers; no exception leaves it.
template <typename Body> auto at_c_edge(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        end_out_of_memory();
    }
}

} // namespace tsh
