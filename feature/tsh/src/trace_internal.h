// How the library writes its traces. The writers are marked cold, so that a site costs one
// predictable branch while its family is off:
//     if (traces(TSH_TRACE_NAVIGATION))
//         trace("atn stack height: %d\n", height);
#pragma once

#include "feature/tsh/src/trace.h"

namespace tsh {

inline bool traces(uint32_t families) {
    return (tsh_debug_filter & families) != 0;
}

/// One whole trace: time, message, flush.
[[gnu::format(printf, 1, 2), gnu::cold]] void trace(const char *format, ...);

/// The two halves of a trace, for the one message that has another trace between them.
[[gnu::cold]] void trace_time();
[[gnu::format(printf, 1, 2), gnu::cold]] void trace_text(const char *format, ...);

/// The function-entry trace, when its family is on.
[[gnu::cold]] void trace_entry(const char *function);
inline void trace_function(const char *function) {
    if (traces(TSH_TRACE_FUNCTIONS))
        trace_entry(function);
}

} // namespace tsh
