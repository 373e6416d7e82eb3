/* Diagnostic traces: families and stream, and the switches of the debug and progress messages. A
 * trace consists of the time as "%ld:%ld: " (seconds and microseconds), the message, and a flush of
 * the stream. */
#ifndef TSH_FEATURE_TSH_TRACE_H
#define TSH_FEATURE_TSH_TRACE_H

#include "platform/tsh_api.h"

#include <stdint.h>
#include <stdio.h>

/** Families of traces, as bits of tsh_debug_filter. */
#define TSH_TRACE_ALLOCATION 0xCu   /**< Either bit: word splitting is out of memory. */
#define TSH_TRACE_FUNCTIONS 0x20u   /**< Function entries, " Func Trace: <<< %s >>>\n". */
#define TSH_TRACE_NAVIGATION 0x200u /**< Tree navigation, lookups, tsh_parse_tree_release. */
#define TSH_TRACE_PARAMS 0x10000u   /**< Registry lookups and number parsing. */
#define TSH_TRACE_WORDS 0x80000u    /**< Word splitting and string lists. */
#define TSH_TRACE_STARTUP 0x100000u /**< Parameter registration and main tree start-up. */

/** Enabled families; initially 0. The library only reads it. */
TSH_API uint32_t tsh_debug_filter;

/** Stream of all traces and of the tree dump; if it is null, as initially, both print nothing. */
TSH_API FILE *tsh_logfp;

/** Only the value 1 enables the debug messages of the tree writer and the linker on standard
 * output; initially 0. The library only reads it. */
TSH_API int32_t debug_flag;

/** Nonzero: the linker prints its progress to standard output; initially 0. The library only reads
 * it. */
TSH_API int32_t verbose;

/** Logging hook of the shell; ignores its message. The library's traces do not use it.
 * @return 0. */
TSH_API int32_t log_mesg(const char *message, ...);

#endif
