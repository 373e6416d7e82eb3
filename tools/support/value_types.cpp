// The table of types with values that can be judged.
#include "tools/support/value_types.h"

#include "tools/support/types.h"

#include <algorithm>
#include <array>

namespace tool {

namespace {

constexpr std::array kTypes{
    ValueType{"STRING", ValueForm::kText},
    ValueType{"LINE", ValueForm::kLine},
    ValueType{"URI", ValueForm::kText},
    ValueType{"DNS Name", ValueForm::kText},
    ValueType{"user@host", ValueForm::kText},
    ValueType{"INTEGER", ValueForm::kNumber, 10, 32, true},
    ValueType{"INTEGER RANGE", ValueForm::kRange, 10, 32, true},
    ValueType{"INT MULTI RANGE", ValueForm::kRanges, 10, 32, true},
    ValueType{"HEX", ValueForm::kNumber, 16, 32},
    ValueType{"HEX RANGE", ValueForm::kRange, 16, 32},
    ValueType{"Hex Multi Range", ValueForm::kRanges, 16, 32},
    ValueType{"Unsigned Int", ValueForm::kNumber, 10, 32},
    ValueType{"Uint Range", ValueForm::kRange, 10, 32},
    ValueType{"INT64", ValueForm::kNumber, 10, 64, true},
    ValueType{"UINT64", ValueForm::kNumber, 10, 64},
    ValueType{"HEX64", ValueForm::kNumber, 16, 64},
};

const ValueType *value_type(const param_reg_info_t &registered) {
    const auto *found =
        std::ranges::find(kTypes, std::string_view{registered.name}, &ValueType::name);
    return found == kTypes.end() ? nullptr : found;
}

bool has_unsigned_bounds(uint32_t mask) {
    const auto types = value_types_of(mask);
    return !types.empty() && std::ranges::all_of(types, [](const ValueType *type) {
        return type != nullptr && !type->is_text() && !type->has_sign;
    });
}

} // namespace

std::vector<const ValueType *> value_types_of(uint32_t mask) {
    std::vector<const ValueType *> types;
    for (const param_reg_info_t *registered : types_of(mask))
        types.push_back(registered == nullptr ? nullptr : value_type(*registered));
    return types;
}

bool may_take_text(uint32_t mask) {
    const auto types = types_of(mask);
    return types.empty() || std::ranges::any_of(types, [](const param_reg_info_t *registered) {
               const ValueType *type = registered == nullptr ? nullptr : value_type(*registered);
               return registered == nullptr || (type != nullptr && type->is_text());
           });
}

bool has_length(const parameter_info_t &parameter) {
    const bool may_be_text = (parameter.type_mask & PARAM_TYPE_FAMILY) == 0; // as all texts are
    return may_be_text && parameter.int_max == 0 && parameter.int_min >= 0 &&
           parameter.int_min <= INT16_MAX;
}

int64_t bound_of(uint32_t type_mask, int32_t stored) {
    return has_unsigned_bounds(type_mask) ? int64_t{static_cast<uint32_t>(stored)}
                                          : int64_t{stored};
}

int64_t greatest_bound(uint32_t type_mask) {
    return has_unsigned_bounds(type_mask) ? int64_t{UINT32_MAX} : int64_t{INT32_MAX};
}

} // namespace tool
