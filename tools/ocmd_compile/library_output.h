// Standard output while the library runs.
#pragma once

#include "base/descriptor.h"

namespace compiler {

/// Keeps what the library prints to standard output, where a tree may be written, and prints it to
/// standard error at the end, except lines about what the tools report themselves or what is no
/// fault. One at a time. Keeps errno.
class LibraryOutput {
public:
    /// Reports a failure, and exits with kError.
    LibraryOutput();
    ~LibraryOutput();
    LibraryOutput(const LibraryOutput &) = delete;
    LibraryOutput &operator=(const LibraryOutput &) = delete;

private:
    base::Descriptor saved_; // none if standard output is closed
    base::Descriptor kept_;
};

} // namespace compiler
