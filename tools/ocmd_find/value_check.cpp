// Values by the table of types that can be judged.
#include "tools/ocmd_find/value_check.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace find {

using tool::ValueForm;
using tool::ValueType;

namespace {

// A number of 64 bits and a sign.
struct Number {
    uint64_t magnitude = 0;
    bool is_negative = false;

    static Number from(int64_t value) {
        const auto bits = static_cast<uint64_t>(value);
        return value < 0 ? Number{0 - bits, true} : Number{bits};
    }
    [[nodiscard]] std::string text(int base) const {
        std::array<char, 20> digits{}; // enough in decimal
        auto *const end = std::to_chars(digits.begin(), digits.end(), magnitude, base).ptr;
        return std::string{is_negative ? "-" : ""}
            .append(base == 16 ? "0x" : "")
            .append(digits.data(), end);
    }
    friend bool operator<(const Number &a, const Number &b) {
        if (a.is_negative != b.is_negative)
            return a.is_negative;
        return a.is_negative ? b.magnitude < a.magnitude : a.magnitude < b.magnitude;
    }
};

// The lowest and the highest number of a type.
Number least_of(const ValueType &type) {
    return type.has_sign ? Number{uint64_t{1} << (type.bits - 1), true} : Number{};
}
Number greatest_of(const ValueType &type) {
    return {UINT64_MAX >> (64 - type.bits + (type.has_sign ? 1 : 0))};
}

using Fault = std::optional<std::string>;

bool is_prefixed_hex(std::string_view text) {
    return text.starts_with("0x") || text.starts_with("0X");
}

// Judges numbers against one type and the bounds of a parameter.
class NumberCheck {
public:
    NumberCheck(const ValueType &type, int32_t int_min, int32_t int_max) : type_(type) {
        if (int_min == 0 && int_max == 0)
            return;
        // Types without a sign have bounds without one.
        least_ = type.has_sign ? Number::from(int_min) : Number{static_cast<uint32_t>(int_min)};
        greatest_ = type.has_sign ? Number::from(int_max) : Number{static_cast<uint32_t>(int_max)};
    }

    [[nodiscard]] Fault fault_of(std::string_view value) const {
        if (type_.form != ValueForm::kRanges)
            return fault_of_range(value);
        for (size_t start = 0; start <= value.size();) {
            const size_t end = std::min(value.find(',', start), value.size());
            if (Fault fault = fault_of_range(value.substr(start, end - start)))
                return fault;
            start = end + 1;
        }
        return std::nullopt;
    }

private:
    [[nodiscard]] Fault fault_of_range(std::string_view value) const {
        const size_t dash = type_.form == ValueForm::kNumber ? std::string_view::npos
                                                             : value.find('-', 1); // not a sign
        if (dash == std::string_view::npos)
            return fault_of_number(value);
        Fault fault = fault_of_number(value.substr(0, dash));
        return fault ? fault : fault_of_number(value.substr(dash + 1));
    }

    [[nodiscard]] Fault fault_of_number(std::string_view text) const {
        Number number;
        number.is_negative = type_.has_sign && text.starts_with('-');
        std::string_view digits = text.substr(number.is_negative ? 1 : 0);
        if (type_.base == 16 && is_prefixed_hex(digits))
            digits.remove_prefix(2);
        const char *end = digits.data() + digits.size();
        const auto [stop, error] =
            std::from_chars(digits.data(), end, number.magnitude, type_.base);
        if (stop != end || error == std::errc::invalid_argument)
            return type_.base == 16 ? "not a hexadecimal number" : "not a number";
        if (number.magnitude == 0)
            number.is_negative = false;
        if (error != std::errc{} || number < least_ || greatest_ < number)
            return std::string{"not from "}
                .append(least_.text(type_.base))
                .append(" to ")
                .append(greatest_.text(type_.base));
        return std::nullopt;
    }

    const ValueType &type_;
    Number least_ = least_of(type_);
    Number greatest_ = greatest_of(type_);
};

} // namespace

ValueCheck::ValueCheck(const parameter_info_t &parameter)
    : int_min_(parameter.int_min), int_max_(parameter.int_max) {
    for (const ValueType *type : tool::value_types_of(parameter.type_mask)) {
        if (type == nullptr) { // takes any word, whatever the others take
            types_.clear();
            return;
        }
        takes_rest_ = takes_rest_ || type->form == ValueForm::kLine;
        types_.push_back(type);
    }
}

std::optional<std::string> ValueCheck::fault_of(std::string_view value) const {
    Fault fault;
    for (const ValueType *type : types_) {
        if (type->is_text()) {
            const auto longest = static_cast<int16_t>(static_cast<uint32_t>(int_min_) & 0xFFFFU);
            if (longest < 1 || value.size() <= static_cast<size_t>(longest))
                return std::nullopt;
            fault = std::string{"longer than "}.append(std::to_string(longest)).append(" bytes");
        } else {
            fault = NumberCheck{*type, int_min_, int_max_}.fault_of(value);
            if (!fault)
                return std::nullopt;
        }
    }
    return fault;
}

} // namespace find
