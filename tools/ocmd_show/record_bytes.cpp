// Texts between quotes, and bytes without what fills their field.
#include "tools/ocmd_show/record_bytes.h"

#include "tools/support/utf8.h"

namespace show {

tool::TextOutput &put_quoted(std::string_view text, tool::TextOutput &output) {
    const bool utf8 = tool::is_utf8(text);
    output << '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (tool::is_control(c) || (byte > 0x7F && !utf8)) {
            output << "\\x";
            output.hexadecimal(byte, 2);
        } else {
            if (c == '"' || c == '\\')
                output << '\\';
            output << c;
        }
    }
    return output << '"';
}

std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes) {
    while (!bytes.empty() && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    return bytes;
}

} // namespace show
