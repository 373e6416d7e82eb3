// Values of keys.
#include "tools/ocmd_compile/values.h"

#include "tools/ocmd_compile/word_key.h"

#include <charconv>
#include <system_error>

namespace compiler {

namespace {

template <typename Number> std::optional<Number> read_decimal(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
    const bool octal_look = digits.size() > 1 && digits.front() == '0';
    if (error != std::errc{} || end != text.data() + text.size() || octal_look)
        return {};
    return number;
}

std::optional<Bits> read_hexadecimal(std::string_view digits) {
    constexpr size_t kMostDigits = 32;
    Bits number{};
    if (digits.empty() || digits.size() > kMostDigits)
        return {};
    for (const char c : digits) {
        if (digit_of(c) < 0)
            return {};
        number[1] = number[1] << 4U | number[0] >> 60U;
        number[0] = number[0] << 4U | static_cast<uint64_t>(digit_of(c));
    }
    return number;
}

} // namespace

std::optional<Bits> read_number(std::string_view text) {
    if (text.starts_with("0x") || text.starts_with("0X"))
        return read_hexadecimal(text.substr(2));
    const std::optional<uint64_t> number = read_decimal<uint64_t>(text);
    return number ? std::optional{Bits{*number, 0}} : std::nullopt;
}

std::optional<int32_t> read_signed(std::string_view text) {
    if (!text.starts_with("0x") && !text.starts_with("0X"))
        return read_decimal<int32_t>(text);
    const std::optional<Bits> number = read_hexadecimal(text.substr(2));
    if (!number || !fits(*number, 31))
        return {};
    return static_cast<int32_t>((*number)[0]);
}

std::optional<bool> read_yes_no(std::string_view text) {
    if (text == "yes" || text == "true")
        return true;
    if (text == "no" || text == "false")
        return false;
    return {};
}

std::optional<std::string> read_hex_bytes(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size();) {
        if (text[i] == ' ') {
            ++i;
            continue;
        }
        if (i + 1 == text.size() || digit_of(text[i]) < 0 || digit_of(text[i + 1]) < 0)
            return {};
        bytes += static_cast<char>(digit_of(text[i]) * 16 + digit_of(text[i + 1]));
        i += 2;
    }
    return bytes;
}

bool fits(const Bits &number, unsigned bits) {
    if (bits >= 128)
        return true;
    if (bits >= 64)
        return bits == 64 ? number[1] == 0 : number[1] >> (bits - 64) == 0;
    return number[1] == 0 && number[0] >> bits == 0;
}

} // namespace compiler
