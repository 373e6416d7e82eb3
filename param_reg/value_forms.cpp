// Notations of addresses, identifiers and names.
#include "param_reg/value_forms_internal.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <initializer_list>
#include <optional>

namespace tsh {

namespace {

// Characters by their ASCII values, whatever the locale.
bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool is_letter_or_digit(char c) {
    return is_letter(c) || (c >= '0' && c <= '9');
}
bool is_space_or_control(char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
}

bool is_among(std::string_view characters, char c) {
    return characters.find(c) != std::string_view::npos;
}

std::optional<uint8_t> hex_digit(char c) {
    uint8_t digit = 0;
    return std::from_chars(&c, &c + 1, digit, 16).ec == std::errc{} ? std::optional{digit}
                                                                    : std::nullopt;
}

// ---- Bytes in hexadecimal ----

// Reads a text that has a digit for every '#' of the pattern, an even number, and is equal to it
// elsewhere.
bool read_pattern(std::string_view text, std::string_view pattern, tsh_value_t &value) {
    if (text.size() != pattern.size())
        return false;
    uint32_t digits = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (pattern[i] != '#' && text[i] != pattern[i])
            return false;
        if (pattern[i] != '#')
            continue;
        const std::optional<uint8_t> digit = hex_digit(text[i]);
        if (!digit)
            return false;
        uint8_t &byte = value.bytes[digits++ / 2];
        byte = static_cast<uint8_t>(byte << 4 | *digit);
    }
    value.byte_count = digits / 2;
    return true;
}

bool read_any_pattern(std::string_view text, std::initializer_list<std::string_view> patterns,
                      tsh_value_t &value) {
    return std::ranges::any_of(patterns, [&](std::string_view pattern) {
        tsh_value_t read{};
        if (!read_pattern(text, pattern, read))
            return false;
        std::ranges::copy(read.bytes, value.bytes);
        value.byte_count = read.byte_count;
        return true;
    });
}

bool read_fc_id(std::string_view text, tsh_value_t &value) {
    constexpr size_t kDigits = 6;
    if (!text.starts_with("0x") && !text.starts_with("0X"))
        return read_any_pattern(text, {"##:##:##"}, value);
    const std::string_view digits = text.substr(2);
    if (digits.empty() || digits.size() > kDigits)
        return false;
    std::array<char, kDigits> padded;
    padded.fill('0');
    std::ranges::copy_backward(digits, padded.end());
    return read_any_pattern({padded.data(), padded.size()}, {"######"}, value);
}

// ---- IP addresses ----

bool read_ip(int family, std::string_view text, tsh_value_t &value) {
    std::array<char, INET6_ADDRSTRLEN> terminated{};
    if (text.size() >= terminated.size() || is_among(text, '\0'))
        return false;
    std::ranges::copy(text, terminated.begin());
    if (inet_pton(family, terminated.data(), value.bytes) != 1)
        return false;
    value.byte_count = family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr);
    return true;
}

bool read_any_ip(std::string_view text, tsh_value_t &value) {
    return read_ip(AF_INET, text, value) || read_ip(AF_INET6, text, value);
}

// ---- Names ----

bool is_dns_label(std::string_view label) {
    constexpr size_t kLongestLabel = 63;
    return !label.empty() && label.size() <= kLongestLabel && label.front() != '-' &&
           label.back() != '-' &&
           std::ranges::all_of(label, [](char c) { return c == '-' || is_letter_or_digit(c); });
}

bool is_dns_name(std::string_view text) {
    constexpr size_t kLongestName = 253;
    if (text.size() > kLongestName)
        return false;
    for (;;) {
        const size_t dot = std::min(text.find('.'), text.size());
        if (!is_dns_label(text.substr(0, dot)))
            return false;
        if (dot == text.size())
            return true;
        text.remove_prefix(dot + 1);
    }
}

bool is_user_at_host(std::string_view text) {
    const size_t at = text.find('@');
    if (at == 0 || at == std::string_view::npos ||
        std::ranges::any_of(text.substr(0, at), is_space_or_control))
        return false;
    tsh_value_t address{};
    return is_dns_name(text.substr(at + 1)) || read_any_ip(text.substr(at + 1), address);
}

bool is_uri(std::string_view text) {
    constexpr std::string_view kSchemeMarks = "+-.";
    constexpr std::string_view kMarks = "-._~:/?#[]@!$&'()*+,;=";
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !is_letter(text.front()) ||
        !std::ranges::all_of(text.substr(0, colon), [&](char c) {
            return is_letter_or_digit(c) || is_among(kSchemeMarks, c);
        }))
        return false;
    for (size_t i = colon + 1; i < text.size(); ++i) {
        if (is_letter_or_digit(text[i]) || is_among(kMarks, text[i]))
            continue;
        if (text[i] != '%' || i + 2 >= text.size() || !hex_digit(text[i + 1]) ||
            !hex_digit(text[i + 2]))
            return false;
        i += 2;
    }
    return true;
}

// ---- Numbers in a notation of their own ----

template <typename Number> bool read_decimal(std::string_view text, Number &number) {
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return stop == end && error == std::errc{};
}

bool read_community(std::string_view text, tsh_value_t &value) {
    uint32_t number = 0;
    const size_t colon = text.find(':');
    if (colon != std::string_view::npos) {
        uint16_t high = 0;
        uint16_t low = 0;
        if (!read_decimal(text.substr(0, colon), high) ||
            !read_decimal(text.substr(colon + 1), low))
            return false;
        number = uint32_t{high} << 16 | low;
    } else if (!read_decimal(text, number)) {
        return false;
    }
    value.low = value.high = number;
    return true;
}

} // namespace

bool read_form(tsh_form_t form, std::string_view text, tsh_value_t &value) {
    switch (form) {
    case TSH_FORM_WORD:
    case TSH_FORM_LINE:
        return true;
    case TSH_FORM_IPV4:
        return read_ip(AF_INET, text, value);
    case TSH_FORM_IPV6:
        return read_ip(AF_INET6, text, value);
    case TSH_FORM_IP:
        return read_any_ip(text, value);
    case TSH_FORM_MAC:
        return read_any_pattern(text, {"##:##:##:##:##:##", "##-##-##-##-##-##", "####.####.####"},
                                value);
    case TSH_FORM_WWN:
        return read_any_pattern(text, {"##:##:##:##:##:##:##:##", "################"}, value);
    case TSH_FORM_GUID:
        return read_any_pattern(text, {"########-####-####-####-############"}, value);
    case TSH_FORM_FC_ID:
        return read_fc_id(text, value);
    case TSH_FORM_DNS_NAME:
        return is_dns_name(text);
    case TSH_FORM_USER_HOST:
        return is_user_at_host(text);
    case TSH_FORM_URI:
        return is_uri(text);
    case TSH_FORM_COMMUNITY:
        return read_community(text, value);
    case TSH_FORM_NUMBER:
    case TSH_FORM_RANGE:
    case TSH_FORM_LIST:
        break;
    }
    return false;
}

} // namespace tsh
