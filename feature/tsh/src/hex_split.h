/* Delimited hexadecimal text, such as a world-wide name, cut into fields of whole bytes. */
#ifndef TSH_FEATURE_TSH_HEX_SPLIT_H
#define TSH_FEATURE_TSH_HEX_SPLIT_H

#include "platform/tsh_api.h"

/** Cuts a text at every character of delimiters. A field with an odd number of characters gets a
 * '0' in front; that they are digits is not looked at. An empty field between delimiters gives an
 * empty text, one at the end of the text gives none: at colons, "1:23:abc" gives "01", "23",
 * "0abc", and "a::b:" gives "0a", "", "0b".
 * @return the fields and a null entry, all blocks of GLib for g_strfreev; null without memory, and
 *         for a null text or null delimiters, which is reported to GLib's log as a failed
 *         assertion of critical level. */
TSH_API char **hex_split(const char *string, const char *delimiters);

#endif
