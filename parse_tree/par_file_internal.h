// Opening of par files.
#pragma once

#include "base/descriptor.h"

namespace tsh {

/// Opens a file without blocking, so that a pipe is rejected like any other file that cannot be
/// mapped.
inline base::Descriptor open_par_file(const char *path) {
    return base::Descriptor{open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC)};
}

} // namespace tsh
