// Values of keys.
#include "tools/ocmd_compile/values.h"

#include <array>
#include <glib.h>

namespace compiler {

namespace {

bool is_hexadecimal(std::string_view text) {
    return text.starts_with("0x") || text.starts_with("0X");
}

std::optional<Bits> read_digits(std::string_view digits, int base) {
    std::array<uint32_t, 4> words{}; // the lowest first
    if (digits.empty())
        return {};
    for (const char c : digits) {
        const int digit = g_ascii_xdigit_value(c);
        if (digit < 0 || digit >= base)
            return {};
        auto carry = static_cast<uint64_t>(digit);
        for (uint32_t &word : words) {
            carry += uint64_t{word} * static_cast<uint64_t>(base);
            word = static_cast<uint32_t>(carry);
            carry >>= 32U;
        }
        if (carry > 0)
            return {};
    }
    return Bits{words[0] | uint64_t{words[1]} << 32U, words[2] | uint64_t{words[3]} << 32U};
}

} // namespace

std::optional<Bits> read_number(std::string_view text) {
    if (is_hexadecimal(text))
        return read_digits(text.substr(2), 16);
    const bool octal_look = text.size() > 1 && text.front() == '0';
    return octal_look ? std::nullopt : read_digits(text, 10);
}

std::optional<int64_t> read_signed(std::string_view text) {
    const bool negative = text.starts_with('-');
    const std::string_view digits = text.substr(negative ? 1 : 0);
    const std::optional<Bits> number = read_number(digits);
    if (!number || !fits(*number, 63) || (negative && is_hexadecimal(digits)))
        return {};
    const auto magnitude = static_cast<int64_t>((*number)[0]);
    return negative ? -magnitude : magnitude;
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
        const int high = g_ascii_xdigit_value(text[i]);
        const int low = i + 1 == text.size() ? -1 : g_ascii_xdigit_value(text[i + 1]);
        if (high < 0 || low < 0)
            return {};
        bytes += static_cast<char>(high * 16 + low);
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
