// Copying of short texts in whole chunks, which the compiler makes one or two moves.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace base {

/// Texts are copied in whole chunks, at least one: this many bytes after the text must be readable,
/// and as many after its copy writable.
constexpr size_t kCopyChunk = 32;

/// Copies a text. Returns the end of the copy.
inline char *copy_in_chunks(char *to, std::string_view text) {
    const char *from = text.data();
    char *const end = to + text.size();
    memcpy(to, from, kCopyChunk);
    while ((to += kCopyChunk) < end)
        memcpy(to, from += kCopyChunk, kCopyChunk);
    return end;
}

} // namespace base
