/* Bounded string helpers like those of the device's string library. Every capacity counts bytes,
 * including the NUL; with a capacity of 0, nothing is written. A null source is an empty string. A
 * string that does not fit is truncated, and the destination is terminated. (An append requires a
 * terminated destination and does not change any other.) */
#ifndef TSH_PLATFORM_ROBUST_STRING_H
#define TSH_PLATFORM_ROBUST_STRING_H

#include "platform/tsh_api.h"

#include <stddef.h>

/** Returns the length of a string in bytes without its NUL; 0 for null. */
TSH_API size_t robust_strlen(const char *text);

/** Copies a complete string; the caller must provide enough space. Returns dest. */
TSH_API char *robust_strcpy(char *dest, const char *src);

/** Copies at most capacity - 1 bytes of src and terminates dest. Reads no more bytes of src.
 * Returns dest. */
TSH_API char *robust_strncpy(char *dest, const char *src, size_t capacity);

/** Appends src to the string in dest, truncated to capacity bytes in total. Returns dest. */
TSH_API char *robust_strncat(char *dest, const char *src, size_t capacity);

/** robust_strncpy with the capacity first. */
TSH_API char *__strcpy_to_buf(size_t capacity, char *dest, const char *src);

/** robust_strncat with the capacity first. */
TSH_API char *__strcat_to_buf(size_t capacity, char *dest, const char *src);

/** Sets count bytes of the buffer to byte, never more than capacity. Returns the buffer. */
TSH_API void *__memset_to_buf(size_t capacity, void *buffer, int byte, size_t count);

#endif
