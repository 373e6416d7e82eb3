// Numbers of a parameter type: reading, comparing and writing them, and the bounds of a parameter.
#pragma once

#include "param_reg/values.h"

#include <optional>
#include <string_view>

namespace tsh {

/// Two numbers of 64 bits, signed if their type is.
struct Interval {
    uint64_t low;
    uint64_t high;
};

/// Numbers of one type.
class NumberType {
public:
    explicit NumberType(const tsh_type_t &type) : type_(type) {}

    /// All numbers of the type.
    [[nodiscard]] Interval all() const;

    /// The bounds of a parameter; nothing if both are 0.
    [[nodiscard]] std::optional<Interval> bounds_of(const parameter_info_t &parameter) const;

    [[nodiscard]] bool less(uint64_t a, uint64_t b) const;

    [[nodiscard]] bool contains(const Interval &bounds, uint64_t number) const {
        return !less(number, bounds.low) && !less(bounds.high, number);
    }

    /// The next element of a list, or the whole text of other forms; nothing after the last one.
    /// offset is 0 at first.
    std::optional<std::string_view> next_element(std::string_view text, size_t &offset) const;

    /// Reads an element: a number, or, except for TSH_FORM_NUMBER, two with '-' between them.
    /// Numbers that exceed 64 bits are out of bounds.
    tsh_check_t read_element(std::string_view text, Interval &range) const;

    /// Appends a number as reasons and examples spell it.
    template <typename Text> void write(Text &text, uint64_t number) const {
        const bool is_negative = type_.is_signed != 0 && static_cast<int64_t>(number) < 0;
        text << (is_negative ? "-" : "") << (type_.base == 16 ? "0x" : "");
        text.number(is_negative ? 0 - number : number, type_.base);
    }

private:
    tsh_check_t read(std::string_view text, uint64_t &number) const;

    const tsh_type_t &type_;
};

} // namespace tsh
