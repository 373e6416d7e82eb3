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
    memcpy(to, text.data(), kCopyChunk);
    for (size_t done = kCopyChunk; done < text.size(); done += kCopyChunk)
        memcpy(to + done, text.data() + done, kCopyChunk);
    return to + text.size();
}

} // namespace base
