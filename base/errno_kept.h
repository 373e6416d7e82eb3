// The reason of a failure, past what is done after it.
#pragma once

#include <cerrno>

namespace base {

/// Gives errno back, when it goes, the value that it had.
class ErrnoKept {
public:
    ErrnoKept() = default;
    ~ErrnoKept() { errno = reason_; }
    ErrnoKept(const ErrnoKept &) = delete;
    ErrnoKept &operator=(const ErrnoKept &) = delete;

private:
    int reason_ = errno;
};

} // namespace base
