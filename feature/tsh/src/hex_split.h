/* Splitting of delimited hexadecimal text, such as a world-wide name, into fields of complete
 * bytes. */
#ifndef TSH_FEATURE_TSH_HEX_SPLIT_H
#define TSH_FEATURE_TSH_HEX_SPLIT_H

#include "platform/tsh_api.h"

/** Splits a string at every character of delimiters. Prepends '0' to a field with an odd number of
 * characters; does not check that they are digits. An empty field between delimiters gives an empty
 * string, an empty field at the end gives none: with colons, "1:23:abc" gives "01", "23", "0abc",
 * and "a::b:" gives "0a", "", "0b".
 * @return the fields and a null entry, to be released with g_strfreev; null if out of memory, and
 *         for a null string or null delimiters, which is reported to GLib's log as a failed
 *         assertion of critical level. */
TSH_API char **hex_split(const char *string, const char *delimiters);

#endif
