// Checks of values against the types and the bounds of a parameter.
#include "param_reg/values.h"

#include "base/text_builder.h"
#include "param_reg/number_values_internal.h"
#include "param_reg/types_internal.h"
#include "param_reg/value_forms_internal.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

using tsh::Interval;
using tsh::NumberType;

using Expected = base::TextBuilder<TSH_EXPECTED_SIZE - 1>;
using Reason = base::TextBuilder<TSH_REASON_SIZE - 1>;

// The maximum length in bytes; 0: none.
int64_t longest_of(const parameter_info_t &parameter) {
    const auto stored = static_cast<int16_t>(static_cast<uint32_t>(parameter.int_min) & 0xFFFFU);
    return std::max<int64_t>(stored, 0);
}

void write_interval(Expected &expected, const NumberType &numbers, const Interval &interval) {
    numbers.write(expected, interval.low);
    expected << " to ";
    numbers.write(expected, interval.high);
}

void name_type(const tsh_type_t &type, const parameter_info_t &parameter, Expected &expected) {
    expected << type.article << (type.article[0] == '\0' ? "" : " ") << type.plain_name;
    if (type.bounds != TSH_BOUNDS_NUMBERS)
        return;
    const NumberType numbers{type};
    if (const auto bounds = numbers.bounds_of(parameter)) {
        expected << " from ";
        write_interval(expected, numbers, *bounds);
    }
}

tsh_check_t check_numbers(const tsh_type_t &type, const parameter_info_t &parameter,
                          std::string_view text, tsh_value_t &value, Expected &expected) {
    const NumberType numbers{type};
    const Interval bounds = numbers.bounds_of(parameter).value_or(numbers.all());
    size_t offset = 0;
    while (const auto element = numbers.next_element(text, offset)) {
        Interval range{};
        const tsh_check_t result = numbers.read_element(*element, range);
        if (result == TSH_CHECK_WRONG_FORM)
            return result;
        if (result == TSH_CHECK_OUT_OF_BOUNDS || !numbers.contains(bounds, range.low) ||
            !numbers.contains(bounds, range.high)) {
            write_interval(expected, numbers, bounds);
            return TSH_CHECK_OUT_OF_BOUNDS;
        }
        if (numbers.less(range.high, range.low)) {
            expected << "the lower number of a range first";
            return TSH_CHECK_OUT_OF_BOUNDS;
        }
        if (value.run_count++ == 0) {
            value.low = static_cast<int64_t>(range.low);
            value.high = static_cast<int64_t>(range.high);
        }
    }
    return TSH_CHECK_ACCEPTED;
}

tsh_check_t check_own(const tsh_type_t &type, const parameter_info_t &parameter,
                      std::string_view text, tsh_value_t &value, Expected &expected) {
    std::array<char, TSH_EXPECTED_SIZE> written{};
    const tsh_check_t result =
        type.check(&type, &parameter, text.data(), text.size(), &value, written.data());
    expected << std::string_view{written.data(), strnlen(written.data(), written.size())};
    return result;
}

tsh_check_t check_form(const tsh_type_t &type, const parameter_info_t &parameter,
                       std::string_view text, tsh_value_t &value, Expected &expected) {
    if (type.check != nullptr)
        return check_own(type, parameter, text, value, expected);
    switch (type.form) {
    case TSH_FORM_NUMBER:
    case TSH_FORM_RANGE:
    case TSH_FORM_LIST:
        return check_numbers(type, parameter, text, value, expected);
    default:
        return tsh::read_form(type.form, text, value) ? TSH_CHECK_ACCEPTED : TSH_CHECK_WRONG_FORM;
    }
}

// Checks a text against one type; of a text that is refused, expected takes what is expected.
tsh_check_t check_type(const tsh_type_t &type, const parameter_info_t &parameter,
                       std::string_view text, tsh_value_t &value, Expected &expected) {
    value.type = type.mask;
    const tsh_check_t result = check_form(type, parameter, text, value, expected);
    const int64_t longest = type.bounds == TSH_BOUNDS_LENGTH ? longest_of(parameter) : 0;
    if (result == TSH_CHECK_ACCEPTED && longest > 0 && text.size() > static_cast<size_t>(longest)) {
        expected.clear();
        expected << "at most ";
        expected.number(longest) << (longest == 1 ? " byte" : " bytes");
        return TSH_CHECK_OUT_OF_BOUNDS;
    }
    if (result != TSH_CHECK_ACCEPTED && expected.text().empty())
        name_type(type, parameter, expected);
    return result;
}

// Why all types of a parameter refuse a value. Bounds say most: a type that fails by its bounds
// alone hides those that fail by their form.
class Refusal {
public:
    void add(tsh_check_t result, std::string_view expected) {
        if (result_ == TSH_CHECK_OUT_OF_BOUNDS)
            return;
        if (result == TSH_CHECK_OUT_OF_BOUNDS)
            reason_.clear();
        result_ = result;
        const std::string_view lead = reason_.text().empty() ? "expected " : " or ";
        if (reason_.text().size() + lead.size() + expected.size() < TSH_REASON_SIZE)
            reason_ << lead << expected;
    }
    [[nodiscard]] tsh_check_t result() const { return result_; }
    [[nodiscard]] std::string_view reason() const { return reason_.text(); }

private:
    tsh_check_t result_ = TSH_CHECK_ACCEPTED;
    Reason reason_;
};

} // namespace

tsh_bounds_t tsh_parameter_bounds(const tsh_types_t *types, const parameter_info_t *parameter,
                                  int64_t *low, int64_t *high) {
    const uint32_t mask = parameter->type_mask;
    const uint32_t bounds = tsh_mask_bounds(types, mask);
    *low = *high = 0;
    if ((bounds & TSH_BOUNDS_NUMBERS) != 0 &&
        (parameter->int_min != 0 || parameter->int_max != 0)) {
        *low = tsh_mask_bound(types, mask, parameter->int_min);
        *high = tsh_mask_bound(types, mask, parameter->int_max);
        return TSH_BOUNDS_NUMBERS;
    }
    if ((bounds & TSH_BOUNDS_LENGTH) != 0 && longest_of(*parameter) > 0) {
        *high = longest_of(*parameter);
        return TSH_BOUNDS_LENGTH;
    }
    return TSH_BOUNDS_NONE;
}

tsh_check_t tsh_value_check(const tsh_types_t *types, const parameter_info_t *parameter,
                            const char *text, size_t length, tsh_value_t *value, char *reason) {
    const uint32_t mask = parameter->type_mask;
    Refusal refusal;
    tsh_value_t read{};
    const bool is_known = tsh::any_type_of(types, mask, [&](const tsh_type_t *type) {
        read = {};
        if (type == nullptr)
            return false;
        Expected expected;
        const tsh_check_t result = check_type(*type, *parameter, {text, length}, read, expected);
        if (result != TSH_CHECK_ACCEPTED)
            refusal.add(result, expected.text());
        return result == TSH_CHECK_ACCEPTED;
    });
    const bool takes_any = (tsh_mask_bounds(types, mask) & TSH_BOUNDS_UNKNOWN) != 0;
    if (!is_known)
        read = {};
    if (value != nullptr)
        *value = read;
    const bool is_refused = !is_known && !takes_any;
    if (reason != nullptr)
        *std::ranges::copy(is_refused ? refusal.reason() : "", reason).out = '\0';
    return is_refused ? refusal.result() : TSH_CHECK_ACCEPTED;
}

int32_t tsh_value_next_run(const tsh_type_t *type, const char *text, size_t length, size_t *offset,
                           int64_t *low, int64_t *high) {
    if (type->bounds != TSH_BOUNDS_NUMBERS)
        return 0;
    const NumberType numbers{*type};
    const auto element = numbers.next_element({text, length}, *offset);
    Interval range{};
    if (!element || numbers.read_element(*element, range) != TSH_CHECK_ACCEPTED)
        return 0;
    *low = static_cast<int64_t>(range.low);
    *high = static_cast<int64_t>(range.high);
    return 1;
}
