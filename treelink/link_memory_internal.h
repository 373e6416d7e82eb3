// Memory of the linker. If an allocation of the linker or of a container fails, the process exits
// with status 100. Only GLib ends the process in another way, if one of its tables cannot grow.
#pragma once

#include "base/owners.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace tsh {

[[noreturn]] void end_out_of_memory();

/// Allocates memory, not cleared, with malloc, because C callers own such blocks. Large blocks use
/// huge pages if possible.
void *allocate_bytes(size_t size);

/// Allocates count objects, not cleared.
template <typename T> base::Block<T> allocate(size_t count) {
    if (count > SIZE_MAX / sizeof(T))
        end_out_of_memory();
    return base::Block<T>{static_cast<T *>(allocate_bytes(count * sizeof(T)))};
}

/// Allocates count objects, all zero.
template <typename T> base::Block<T> allocate_zeroed(size_t count = 1) {
    void *block = calloc(std::max(count, size_t{1}), sizeof(T));
    if (block == nullptr)
        end_out_of_memory();
    return base::Block<T>{static_cast<T *>(block)};
}

/// Runs the body of an exported function that uses containers; no exception crosses the API
/// boundary.
template <typename Body> auto at_api_boundary(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        end_out_of_memory();
    }
}

} // namespace tsh
