// Formatting of traces, and the switches of all diagnostic output.
#include "feature/tsh/src/trace_internal.h"

#include <cstdarg>
#include <sys/time.h>

uint32_t tsh_debug_filter = 0;
FILE *tsh_logfp = nullptr;
int32_t debug_flag = 0;
int32_t verbose = 0;

int32_t log_mesg(const char * /*message*/, ...) {
    return 0;
}

namespace {

[[gnu::format(printf, 1, 0)]] void write_text(const char *format, va_list values) {
    vfprintf(tsh_logfp, format, values);
    fflush(tsh_logfp);
}

} // namespace

void tsh::trace_time() {
    if (tsh_logfp == nullptr)
        return;
    timeval now{};
    gettimeofday(&now, nullptr);
    fprintf(tsh_logfp, "%ld:%ld: ", static_cast<long>(now.tv_sec), static_cast<long>(now.tv_usec));
}

void tsh::trace_text(const char *format, ...) {
    if (tsh_logfp == nullptr)
        return;
    va_list values;
    va_start(values, format);
    write_text(format, values);
    va_end(values);
}

void tsh::trace(const char *format, ...) {
    if (tsh_logfp == nullptr)
        return;
    trace_time();
    va_list values;
    va_start(values, format);
    write_text(format, values);
    va_end(values);
}

void tsh::trace_entry(const char *function) {
    trace(" Func Trace: <<< %s >>>\n", function);
}
