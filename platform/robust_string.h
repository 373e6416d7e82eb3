/* Bounded string helpers in the manner of the device's string library. Every capacity counts
 * bytes, terminating zero included; a capacity of 0 writes nothing. A null source is an empty
 * text; a text that does not fit is cut, and the destination is terminated. (To append needs a
 * terminated destination; one without is left as it is.) */
#ifndef TSH_PLATFORM_ROBUST_STRING_H
#define TSH_PLATFORM_ROBUST_STRING_H

#include "platform/tsh_api.h"

#include <stddef.h>

/** Length of a text in bytes without its terminating zero; 0 for null. */
TSH_API size_t robust_strlen(const char *text);

/** Copies a text whole; the caller vouches for the room. Returns dest. */
TSH_API char *robust_strcpy(char *dest, const char *src);

/** Copies at most capacity - 1 bytes of src and terminates dest. Reads no further than that into
 * src. Returns dest. */
TSH_API char *robust_strncpy(char *dest, const char *src, size_t capacity);

/** Appends src to the text in dest as far as the whole fits in capacity bytes. Returns dest. */
TSH_API char *robust_strncat(char *dest, const char *src, size_t capacity);

/** robust_strncpy with the capacity first. */
TSH_API char *__strcpy_to_buf(size_t capacity, char *dest, const char *src);

/** robust_strncat with the capacity first. */
TSH_API char *__strcat_to_buf(size_t capacity, char *dest, const char *src);

/** Sets count bytes of the buffer to byte, never more than capacity. Returns the buffer. */
TSH_API void *__memset_to_buf(size_t capacity, void *buffer, int byte, size_t count);

#endif
