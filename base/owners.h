// Owners of what C callers take over or hand out: blocks and whatever has a release function.
#pragma once

#include <cstdlib>
#include <memory>

namespace base {

/// Deleter that calls a release function.
template <auto release> struct Releaser {
    template <typename T> void operator()(T *owned) const { release(owned); }
};

/// A block from malloc or calloc.
template <typename T> using Block = std::unique_ptr<T, Releaser<free>>;

} // namespace base
