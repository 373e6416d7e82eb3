// Reading through a file descriptor.
#include "base/descriptor.h"

#include <cerrno>

ssize_t base::read_fully(const Descriptor &file, void *buffer, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t some = read(file.number(), static_cast<char *>(buffer) + done, size - done);
        if (some == 0)
            break;
        if (some < 0 && errno != EINTR)
            return -1;
        done += some < 0 ? 0 : static_cast<size_t>(some);
    }
    return static_cast<ssize_t>(done);
}
