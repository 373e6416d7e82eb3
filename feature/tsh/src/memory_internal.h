// Memory for strings whose lengths may exceed the 32-bit sizes of the exported helpers. A larger
// size is treated as out of memory: the helper's message, and null.
#pragma once

#include <cstdint>

namespace tsh {

/// Prints the message of tsh_malloc if out of memory, and returns null.
void *malloc_failed();

/// Allocates like tsh_malloc, with a size of any width.
char *allocate_text(uint64_t size);

/// Resizes like tsh_realloc, with a size of any width.
char *resize_text(char *text, uint64_t size);

} // namespace tsh
