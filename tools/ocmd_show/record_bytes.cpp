// Bytes without what fills their field.
#include "tools/ocmd_show/record_bytes.h"

#include "tools/support/wording.h"

namespace show {

tool::TextOutput &put_quoted(std::string_view text, tool::TextOutput &output) {
    return output << tool::double_quoted(text);
}

std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes) {
    while (!bytes.empty() && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    return bytes;
}

} // namespace show
