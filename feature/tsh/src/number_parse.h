/* Strict parsing of hexadecimal numbers, and rewriting of ranges. Digits are 0-9, a-f and A-F;
 * signs and spaces are not allowed. Values have 32 bits. */
#ifndef TSH_FEATURE_TSH_NUMBER_PARSE_H
#define TSH_FEATURE_TSH_NUMBER_PARSE_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Parses an identifier: digits without a prefix; the empty string is 0. Not limited to 16 bits:
 * "ffffffff" gives 0xFFFFFFFF, which cannot be distinguished from an error.
 * @return the value; -1 for null, for any other character and for values over 32 bits. Traces the
 *         reason (TSH_TRACE_PARAMS). */
TSH_API int32_t get_uint16_from_str(const char *text);

/** Parses an identifier in the same way, up to 255; a larger value gives -1 without a trace. */
TSH_API int32_t get_uint8_from_str(const char *text);

/** Parses digits after an optional 0x or 0X: "0x1F" and "1f" give 31, "12g" gives 0. The result 0
 * is ambiguous: zero or an error; if the difference matters, check the string before.
 * @return the value; 0 for null, for no digits, for any other character and for values over
 *         32 bits. */
TSH_API uint32_t strxtoi(const char *text);

/** Rewrites a range of signed decimal numbers in place as two numbers separated by a comma:
 * replaces each '-' directly after a digit, or directly before another '-', by a comma. Null is
 * ignored.
 *
 *     1-5 becomes 1,5; -3--1 becomes -3,-1; 5--2 becomes 5,-2; --5 becomes ,-5 */
TSH_API void range_preparse_str(char *text);

#endif
