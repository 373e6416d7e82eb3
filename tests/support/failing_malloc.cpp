#include "tests/support/failing_malloc.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace {

bool armed = false;
long failing = 0;
failing_malloc::Tally tally{};

} // namespace

void failing_malloc::arm(long fail_at) {
    failing = fail_at;
    tally = {};
    armed = true;
}

failing_malloc::Tally failing_malloc::disarm() {
    armed = false;
    return tally;
}

#ifdef __SANITIZE_ADDRESS__

bool failing_malloc::available() {
    return false;
}

#else

bool failing_malloc::available() {
    return true;
}

[[gnu::constructor]] static void arm_from_environment() {
    if (const char *number = getenv("FAIL_ALLOCATION"))
        failing_malloc::arm(atol(number));
}

[[gnu::destructor]] static void store_count() {
    const char *path = getenv("ALLOCATIONS_FILE");
    FILE *file = path == nullptr ? nullptr : fopen(path, "w");
    if (file == nullptr)
        return;
    fprintf(file, "%ld", failing_malloc::disarm().allocations);
    fclose(file);
}

extern "C" {

void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);

static bool refused() {
    if (!armed || ++tally.allocations != failing)
        return false;
    errno = ENOMEM;
    return true;
}

static void *counted(void *block) {
    if (armed && block != nullptr)
        ++tally.live;
    return block;
}

void *malloc(size_t size) {
    return refused() ? nullptr : counted(__libc_malloc(size));
}

void *calloc(size_t count, size_t size) {
    return refused() ? nullptr : counted(__libc_calloc(count, size));
}

void *realloc(void *block, size_t size) {
    if (refused())
        return nullptr;
    void *moved = __libc_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}

void free(void *block) {
    if (armed && block != nullptr)
        --tally.live;
    __libc_free(block);
}
}

#endif
