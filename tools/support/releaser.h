// Objects of C libraries in smart pointers.
#pragma once

namespace tool {

/// A deleter that calls a function of the library.
template <auto Release> struct Releaser {
    template <typename Object> void operator()(Object *object) const { Release(object); }
};

} // namespace tool
