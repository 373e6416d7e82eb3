// Examples of values within the bounds of a parameter.
#include "param_reg/cut_text_internal.h"
#include "param_reg/number_values_internal.h"
#include "param_reg/types_internal.h"
#include "param_reg/values.h"

#include <algorithm>
#include <string_view>

namespace {

using tsh::CutText;
using tsh::Interval;
using tsh::NumberType;

// The parameter as if it had this type alone.
bool accepts(const tsh_types_t *types, const tsh_type_t &type, parameter_info_t parameter,
             std::string_view text) {
    parameter.type_mask = type.mask;
    return tsh_value_check(types, &parameter, text.data(), text.size(), nullptr, nullptr) ==
           TSH_CHECK_ACCEPTED;
}

// ---- Numbers ----

bool write_number_example(const tsh_type_t &type, const parameter_info_t &parameter,
                          tsh_example_t which, CutText &text) {
    const NumberType numbers{type};
    const auto [low, high] = numbers.bounds_of(parameter).value_or(numbers.all());
    if (numbers.less(high, low))
        return false;
    const bool is_single = type.form == TSH_FORM_NUMBER || low == high;
    if (is_single || which != TSH_EXAMPLE_HIGHEST) {
        numbers.write(text, which == TSH_EXAMPLE_HIGHEST ? high : low);
    } else {
        numbers.write(text, low);
        text << "-";
        numbers.write(text, high);
    }
    return true;
}

// ---- Texts ----

// What texts of a form need beside filling.
struct Filling {
    std::string_view head;
    std::string_view tail;
    size_t longest;
    size_t label; // bytes of a label with its dot; 0: no labels
};

Filling filling_of(tsh_form_t form) {
    switch (form) {
    case TSH_FORM_URI:
        return {"x:", "", INT16_MAX, 0};
    case TSH_FORM_USER_HOST:
        return {"x", "@x", INT16_MAX, 0};
    case TSH_FORM_DNS_NAME:
        return {"x", "", 253, 63}; // a last label of 63 bytes is allowed
    default:
        return {"x", "", INT16_MAX, 0};
    }
}

size_t shortest_of(const Filling &filling) {
    return filling.head.size() + filling.tail.size();
}

void write_filled(const Filling &filling, size_t length, CutText &text) {
    text << filling.head;
    for (size_t i = filling.head.size(); i < length - filling.tail.size(); ++i) {
        const bool is_dot = filling.label != 0 && i % filling.label == filling.label - 1;
        text << (is_dot && i + 1 < length ? "." : "x");
    }
    text << filling.tail;
}

bool write_text_example(const tsh_type_t &type, size_t longest, tsh_example_t which,
                        CutText &text) {
    const Filling filling = filling_of(type.form);
    const size_t shortest = shortest_of(filling);
    if (longest != 0 && longest < shortest)
        return false;
    if (which == TSH_EXAMPLE_LOWEST)
        write_filled(filling, shortest, text);
    else if (longest == 0)
        text << type.example;
    else
        write_filled(filling, std::min(longest, filling.longest), text);
    return true;
}

// Writes an example of one type. Returns whether there is one.
bool write_example(const tsh_types_t *types, const tsh_type_t &type,
                   const parameter_info_t &parameter, tsh_example_t which, CutText &text) {
    const bool example_is_valid = accepts(types, type, parameter, type.example);
    if (type.check != nullptr || type.bounds == TSH_BOUNDS_NONE ||
        (which == TSH_EXAMPLE_TYPICAL && example_is_valid)) {
        text << (example_is_valid ? type.example : "");
        return example_is_valid;
    }
    if (type.bounds == TSH_BOUNDS_NUMBERS)
        return write_number_example(type, parameter, which, text);
    int64_t low = 0;
    int64_t longest = 0;
    tsh_parameter_bounds(types, &parameter, &low, &longest);
    return write_text_example(type, static_cast<size_t>(longest), which, text);
}

} // namespace

int32_t tsh_value_example(const tsh_types_t *types, const parameter_info_t *parameter,
                          tsh_example_t which, char *text, size_t capacity) {
    CutText cut{text, capacity};
    const uint32_t mask = parameter->type_mask;
    const bool is_found = tsh::any_type_of(types, mask, [&](const tsh_type_t *type) {
        return type != nullptr && write_example(types, *type, *parameter, which, cut);
    });
    if (is_found)
        return static_cast<int32_t>(cut.length());
    if ((tsh_mask_bounds(types, mask) & TSH_BOUNDS_UNKNOWN) == 0)
        return -1;
    cut << "value";
    return static_cast<int32_t>(cut.length());
}
