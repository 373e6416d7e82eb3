// Escapes for bytes that are no UTF-8.
#include "tools/support/utf8.h"

namespace tool {

std::string with_invalid_bytes_escaped(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string escaped;
    while (!text.empty()) {
        const char *end = nullptr;
        g_utf8_validate_len(text.data(), text.size(), &end);
        const auto valid = static_cast<size_t>(end - text.data());
        escaped += text.substr(0, valid);
        text.remove_prefix(valid);
        if (text.empty())
            break;
        const auto byte = static_cast<unsigned char>(text.front());
        escaped.append("\\x").append(1, kDigits[byte / 16]).append(1, kDigits[byte % 16]);
        text.remove_prefix(1);
    }
    return escaped;
}

} // namespace tool
