// Bounded string helpers; all truncation of strings to their fields is here.
#include "platform/robust_string.h"

#include <algorithm>
#include <cstring>

size_t robust_strlen(const char *text) {
    return text == nullptr ? 0 : strlen(text);
}

char *robust_strcpy(char *dest, const char *src) {
    return robust_strncpy(dest, src, robust_strlen(src) + 1);
}

char *robust_strncpy(char *dest, const char *src, size_t capacity) {
    if (capacity == 0)
        return dest;
    const size_t length = src == nullptr ? 0 : strnlen(src, capacity - 1);
    if (length > 0)
        memcpy(dest, src, length);
    dest[length] = '\0';
    return dest;
}

char *robust_strncat(char *dest, const char *src, size_t capacity) {
    const size_t used = strnlen(dest, capacity);
    robust_strncpy(dest + used, src, capacity - used);
    return dest;
}

char *__strcpy_to_buf(size_t capacity, char *dest, const char *src) {
    return robust_strncpy(dest, src, capacity);
}

char *__strcat_to_buf(size_t capacity, char *dest, const char *src) {
    return robust_strncat(dest, src, capacity);
}

void *__memset_to_buf(size_t capacity, void *buffer, int byte, size_t count) {
    return memset(buffer, byte, std::min(count, capacity));
}
