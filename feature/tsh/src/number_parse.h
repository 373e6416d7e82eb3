/* Strict conversion of hexadecimal text, and the rewriting of ranges. Digits are 0-9, a-f and A-F;
 * there is no sign and no blank. Values have 32 bits. */
#ifndef TSH_FEATURE_TSH_NUMBER_PARSE_H
#define TSH_FEATURE_TSH_NUMBER_PARSE_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** An identifier: bare digits without a prefix; the empty text is 0. Not bounded to 16 bits:
 * "ffffffff" gives 0xFFFFFFFF, which looks like a failure.
 * @return the value; -1 for null, for any other character and for values over 32 bits. The reason
 *         is traced (TSH_TRACE_PARAMS). */
TSH_API int32_t get_uint16_from_str(const char *text);

/** The same for values up to 255; a greater one gives -1 without a trace. */
TSH_API int32_t get_uint8_from_str(const char *text);

/** Digits after an optional 0x or 0X: "0x1F" and "1f" give 31, "12g" gives 0. A result of 0 does
 * not tell failure from zero; who needs that looks at the text first.
 * @return the value; 0 for null, for no digits, for any other character and for values over
 *         32 bits. */
TSH_API uint32_t strxtoi(const char *text);

/** Rewrites a range of signed decimal numbers in place so that it reads as two numbers with a comma
 * between: each '-' right after a digit, or right before another '-', becomes a comma. Null is
 * ignored.
 *
 *     1-5 becomes 1,5; -3--1 becomes -3,-1; 5--2 becomes 5,-2; --5 becomes ,-5 */
TSH_API void range_preparse_str(char *text);

#endif
