// Allocation wrappers. calloc hands out fresh zero pages without touching them, which is what a
// zero-filled block of any size should cost.
#include "feature/tsh/src/memory.h"

#include "platform/robust_string.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void *malloc_failed() {
    fputs("\nErr: Malloc failed...", stdout);
    return nullptr;
}

// A text too long for the 32-bit sizes of these helpers is out of memory like any other.
char *allocate_text(size_t size) {
    void *block = size > UINT32_MAX ? malloc_failed() : tsh_malloc(static_cast<uint32_t>(size));
    return static_cast<char *>(block);
}

} // namespace

void *tsh_malloc(uint32_t size) {
    void *block = calloc(1, std::max(size, 1U));
    return block == nullptr ? malloc_failed() : block;
}

void *tsh_realloc(void *block, uint32_t size) {
    void *grown = realloc(block, std::max(size, 1U));
    if (grown == nullptr)
        fputs("\nErr: Realloc failed...", stdout);
    return grown;
}

void tsh_free(void *block) {
    free(block);
}

char *tsh_strdup(const char *text) {
    if (text == nullptr)
        return nullptr;
    const size_t length = strlen(text);
    char *copy = allocate_text(length + 1);
    if (copy != nullptr)
        robust_strncpy(copy, text, length + 1);
    return copy;
}

char *tsh_strdup_with_space(const char *text) {
    const size_t length = robust_strlen(text);
    char *copy = allocate_text(length + 2);
    if (copy == nullptr)
        return nullptr;
    robust_strncpy(copy, text, length + 1);
    copy[length] = ' ';
    return copy;
}
