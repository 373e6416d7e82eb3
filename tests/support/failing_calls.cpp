#include "tests/support/failing_calls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

std::vector<failing_calls::Fault> armed;

bool fails(const char *call) {
    const auto fault = std::ranges::find(armed, call, &failing_calls::Fault::call);
    if (fault == armed.end())
        return false;
    errno = fault->reason;
    return true;
}

// The call itself, unless it is to fail.
template <typename Result, typename... Arguments>
Result pass_on(const char *call, Result failure, Arguments... arguments) {
    if (fails(call))
        return failure;
    const auto real = reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, call));
    return real(arguments...);
}

} // namespace

void failing_calls::arm(std::vector<Fault> faults) {
    armed = std::move(faults);
}

#pragma GCC visibility push(default)
extern "C" {

int openat(int folder, const char *path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    const bool nameless = (flags & O_TMPFILE) == O_TMPFILE;
    if ((nameless && fails("O_TMPFILE")) ||
        ((nameless || (flags & O_CREAT) != 0) && fails("O_CREAT")))
        return -1;
    return pass_on("openat64", -1, folder, path, flags, mode);
}

int fallocate(int file, int mode, off_t start, off_t length) {
    return fails("fallocate") ? -1 : pass_on("fallocate64", -1, file, mode, start, length);
}

int fchmod(int file, mode_t mode) noexcept {
    return pass_on("fchmod", -1, file, mode);
}

FILE *fdopen(int file, const char *mode) noexcept {
    return pass_on("fdopen", static_cast<FILE *>(nullptr), file, mode);
}

int fsync(int file) {
    return pass_on("fsync", -1, file);
}

int linkat(int from, const char *old_path, int to, const char *new_path, int flags) noexcept {
    return pass_on("linkat", -1, from, old_path, to, new_path, flags);
}

int memfd_create(const char *name, unsigned flags) noexcept {
    return pass_on("memfd_create", -1, name, flags);
}

int renameat(int from, const char *old_path, int to, const char *new_path) noexcept {
    return pass_on("renameat", -1, from, old_path, to, new_path);
}
}
#pragma GCC visibility pop
