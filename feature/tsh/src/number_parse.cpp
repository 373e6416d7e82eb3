// Hexadecimal identifiers and dashed ranges.
#include "feature/tsh/src/number_parse.h"

#include "feature/tsh/src/trace_internal.h"

#include <charconv>
#include <optional>
#include <string_view>

using tsh::trace;
using tsh::traces;

namespace {

std::optional<uint32_t> parse_hex(std::string_view digits) {
    uint32_t value = 0;
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

std::optional<uint32_t> parse_identifier(const char *text) {
    if (text == nullptr) {
        if (traces(TSH_TRACE_PARAMS))
            trace("Error in ID format.\n");
        return std::nullopt;
    }
    const std::string_view digits(text);
    const std::optional<uint32_t> value = digits.empty() ? 0 : parse_hex(digits);
    if (!value && traces(TSH_TRACE_PARAMS))
        trace("Invalid Number detected.\n");
    return value;
}

bool is_digit(char c) {
    return '0' <= c && c <= '9';
}

} // namespace

int32_t get_uint16_from_str(const char *text) {
    return static_cast<int32_t>(parse_identifier(text).value_or(UINT32_MAX));
}

int32_t get_uint8_from_str(const char *text) {
    const uint32_t value = parse_identifier(text).value_or(UINT32_MAX);
    return value > UINT8_MAX ? -1 : static_cast<int32_t>(value);
}

uint32_t strxtoi(const char *text) {
    std::string_view digits(text == nullptr ? "" : text);
    if (digits.starts_with("0x") || digits.starts_with("0X"))
        digits.remove_prefix(2);
    return parse_hex(digits).value_or(0);
}

void range_preparse_str(char *text) {
    if (text == nullptr)
        return;
    for (; *text != '\0'; ++text) {
        if (is_digit(text[0]) && text[1] == '-')
            text[1] = ',';
        else if (text[0] == '-' && text[1] == '-')
            text[0] = ',';
    }
}
