// Inputs of fuzzers as files, without a file system.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

// Makes a file in memory of the bytes, a new one under a name that stays the same.
inline std::string store(int descriptor, const uint8_t *data, size_t size) {
    const int created = memfd_create("input", 0);
    if (dup2(created, descriptor) < 0 || write(created, data, size) != static_cast<ssize_t>(size))
        abort();
    close(created);
    return "/proc/self/fd/" + std::to_string(descriptor);
}
