// Numbers of a parameter type.
#include "param_reg/number_values_internal.h"

#include <algorithm>
#include <charconv>

namespace tsh {

Interval NumberType::all() const {
    const uint64_t greatest = UINT64_MAX >> (64 - type_.bits + type_.is_signed);
    return {type_.is_signed != 0 ? ~greatest : 0, greatest};
}

std::optional<Interval> NumberType::bounds_of(const parameter_info_t &parameter) const {
    if (parameter.int_min == 0 && parameter.int_max == 0)
        return {};
    const auto bits = [&](int32_t bound) {
        return type_.is_signed != 0 ? static_cast<uint64_t>(bound)
                                    : uint64_t{static_cast<uint32_t>(bound)};
    };
    const auto order = [&](uint64_t a, uint64_t b) { return less(a, b); };
    return Interval{std::max(bits(parameter.int_min), all().low, order),
                    std::min(bits(parameter.int_max), all().high, order)};
}

bool NumberType::less(uint64_t a, uint64_t b) const {
    return type_.is_signed != 0 ? static_cast<int64_t>(a) < static_cast<int64_t>(b) : a < b;
}

std::optional<std::string_view> NumberType::next_element(std::string_view text,
                                                         size_t &offset) const {
    if (offset > text.size())
        return {};
    const size_t comma =
        type_.form == TSH_FORM_LIST ? text.find(',', offset) : std::string_view::npos;
    const size_t start = offset;
    const size_t end = std::min(comma, text.size());
    offset = end + 1;
    return text.substr(start, end - start);
}

tsh_check_t NumberType::read_element(std::string_view text, Interval &range) const {
    const size_t dash =
        type_.form == TSH_FORM_NUMBER ? std::string_view::npos : text.find('-', 1); // not a sign
    const tsh_check_t low = read(text.substr(0, dash), range.low);
    range.high = range.low;
    if (dash == std::string_view::npos || low == TSH_CHECK_WRONG_FORM)
        return low;
    const tsh_check_t high = read(text.substr(dash + 1), range.high);
    return high == TSH_CHECK_ACCEPTED ? low : high;
}

tsh_check_t NumberType::read(std::string_view text, uint64_t &number) const {
    const bool is_negative = type_.is_signed != 0 && text.starts_with('-');
    std::string_view digits = text.substr(is_negative ? 1 : 0);
    if (type_.base == 16 && (digits.starts_with("0x") || digits.starts_with("0X")))
        digits.remove_prefix(2);
    const char *const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, type_.base);
    if (stop != end || error == std::errc::invalid_argument)
        return TSH_CHECK_WRONG_FORM;
    const uint64_t greatest =
        type_.is_signed == 0 ? UINT64_MAX : uint64_t{INT64_MAX} + (is_negative ? 1 : 0);
    if (error != std::errc{} || number > greatest)
        return TSH_CHECK_OUT_OF_BOUNDS;
    if (is_negative)
        number = 0 - number;
    return TSH_CHECK_ACCEPTED;
}

} // namespace tsh
