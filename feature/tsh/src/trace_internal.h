// Writing of traces. The functions are marked cold, so that a trace costs one predictable branch if
// its family is disabled:
//     if (traces(TSH_TRACE_NAVIGATION))
//         trace("atn stack height: %d\n", height);
#pragma once

#include "feature/tsh/src/trace.h"

namespace tsh {

inline bool traces(uint32_t families) {
    return (tsh_debug_filter & families) != 0;
}

/// Writes a complete trace: time, message, flush.
[[gnu::format(printf, 1, 2), gnu::cold]] void trace(const char *format, ...);

/// Write the two parts of a trace, for a message with another trace in between.
[[gnu::cold]] void trace_time();
[[gnu::format(printf, 1, 2), gnu::cold]] void trace_text(const char *format, ...);

/// Write the function-entry trace, if its family is enabled.
[[gnu::cold]] void trace_entry(const char *function);
inline void trace_function(const char *function) {
    if (traces(TSH_TRACE_FUNCTIONS))
        trace_entry(function);
}

} // namespace tsh
