/* What the library tells of its own work: diagnostic traces, which families are on and where they
 * go, and the switches of the debug and progress prints. A trace is the time as "%ld:%ld: "
 * (seconds and microseconds), the message, and a flush of the stream. */
#ifndef TSH_FEATURE_TSH_TRACE_H
#define TSH_FEATURE_TSH_TRACE_H

#include "platform/tsh_api.h"

#include <stdint.h>
#include <stdio.h>

/** Families of traces, as bits of tsh_debug_filter. */
#define TSH_TRACE_ALLOCATION 0xCu   /**< Either bit: word splitting finds no memory for its line. */
#define TSH_TRACE_FUNCTIONS 0x20u   /**< Function entries, " Func Trace: <<< %s >>>\n". */
#define TSH_TRACE_NAVIGATION 0x200u /**< Tree navigation, lookups, tsh_parse_tree_release. */
#define TSH_TRACE_PARAMS 0x10000u   /**< Registry lookups and number parsing. */
#define TSH_TRACE_WORDS 0x80000u    /**< Word splitting and string lists. */
#define TSH_TRACE_STARTUP 0x100000u /**< Parameter registration and main tree start-up. */

/** Families that are on; 0 at start. The library only reads it. */
TSH_API uint32_t tsh_debug_filter;

/** Stream of all traces and of the tree dump; null at start, and then both print nothing. */
TSH_API FILE *tsh_logfp;

/** The value 1, and no other, turns on the debug prints of the tree writer and the tree linker on
 * standard output; 0 at start. The library only reads it. */
TSH_API int32_t debug_flag;

/** Non-zero: the linker's progress lines on standard output; 0 at start. The library only reads
 * it. */
TSH_API int32_t verbose;

/** Logging hook of the shell; ignores its message. The library's traces do not use it.
 * @return 0. */
TSH_API int32_t log_mesg(const char *message, ...);

#endif
