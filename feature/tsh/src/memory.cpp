// Allocation wrappers. calloc returns fresh zero pages without accessing them.
#include "feature/tsh/src/memory.h"

#include "feature/tsh/src/memory_internal.h"
#include "platform/robust_string.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void *realloc_failed() {
    fputs("\nErr: Realloc failed...", stdout);
    return nullptr;
}

} // namespace

void *tsh::malloc_failed() {
    fputs("\nErr: Malloc failed...", stdout);
    return nullptr;
}

char *tsh::allocate_text(uint64_t size) {
    void *text = size > UINT32_MAX ? malloc_failed() : tsh_malloc(static_cast<uint32_t>(size));
    return static_cast<char *>(text);
}

char *tsh::resize_text(char *text, uint64_t size) {
    void *resized =
        size > UINT32_MAX ? realloc_failed() : tsh_realloc(text, static_cast<uint32_t>(size));
    return static_cast<char *>(resized);
}

void *tsh_malloc(uint32_t size) {
    void *block = calloc(1, std::max(size, 1U));
    return block == nullptr ? tsh::malloc_failed() : block;
}

void *tsh_realloc(void *block, uint32_t size) {
    void *resized = realloc(block, std::max(size, 1U));
    return resized == nullptr ? realloc_failed() : resized;
}

void tsh_free(void *block) {
    free(block);
}

char *tsh_strdup(const char *text) {
    if (text == nullptr)
        return nullptr;
    const size_t length = strlen(text);
    char *copy = tsh::allocate_text(length + 1);
    if (copy != nullptr)
        robust_strncpy(copy, text, length + 1);
    return copy;
}

char *tsh_strdup_with_space(const char *text) {
    const size_t length = robust_strlen(text);
    char *copy = tsh::allocate_text(length + 2);
    if (copy == nullptr)
        return nullptr;
    robust_strncpy(copy, text, length + 1);
    copy[length] = ' ';
    return copy;
}
