// The line of progress.
#include "tools/ocmd_link/progress.h"

#include <cstdarg>
#include <cstdio>
#include <unistd.h>

namespace tool {

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 1s;    // of someone who sees nothing happen
constexpr auto kInterval = 100ms; // between two texts that can still be read

} // namespace

Progress::Progress() : on_terminal_(isatty(STDERR_FILENO) == 1), next_(Clock::now() + kPatience) {}

Progress::~Progress() {
    if (shown_)
        fputs("\033[K", stderr);
}

void Progress::show(const char *format, ...) {
    const Clock::time_point now = Clock::now();
    if (!on_terminal_ || now < next_)
        return;
    next_ = now + kInterval;
    shown_ = true;
    va_list values;
    va_start(values, format);
    vfprintf(stderr, format, values);
    va_end(values);
    fputs("\033[K\r", stderr);
}

} // namespace tool
