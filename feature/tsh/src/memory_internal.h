// Memory for texts, whose lengths may exceed the 32-bit sizes of the exported helpers. One that
// does is out of memory like any other: the helper's message, and null.
#pragma once

#include <cstdint>

namespace tsh {

/// What tsh_malloc says and returns without memory.
void *malloc_failed();

/// tsh_malloc for a size of any width.
char *allocate_text(uint64_t size);

/// tsh_realloc for a size of any width.
char *resize_text(char *text, uint64_t size);

} // namespace tsh
