// Names of parameter types in the tools.
#include "tools/support/types.h"

#include "param_reg/builtin_types.h"
#include "param_reg/param_registry.h"

#include <new>
#include <span>

namespace tool {

void register_types() {
    if (pinfo_reg_tbl.count == 0 && tsh_builtin_types_register() > 0)
        throw std::bad_alloc{};
}

std::vector<std::string_view> type_names() {
    uint32_t count = 0;
    const tsh_type_t *types = tsh_types_list(nullptr, &count);
    std::vector<std::string_view> names;
    for (const tsh_type_t &type : std::span{types, count})
        names.emplace_back(type.name);
    return names;
}

std::vector<std::string_view> names_of_types(uint32_t mask) {
    std::vector<std::string_view> names;
    for (uint32_t key = tsh_mask_next_type(mask, 0); key != 0; key = tsh_mask_next_type(mask, key))
        if (const tsh_type_t *type = tsh_type_by_mask(nullptr, key))
            names.emplace_back(type->name);
    return names;
}

std::string types_text(uint32_t mask) {
    std::string text(tsh_mask_text(nullptr, mask, nullptr, 0), '\0');
    tsh_mask_text(nullptr, mask, text.data(), text.size() + 1);
    return text;
}

bool may_have_length(uint32_t mask) {
    return (tsh_mask_bounds(nullptr, mask) & (TSH_BOUNDS_LENGTH | TSH_BOUNDS_UNKNOWN)) != 0;
}

bool has_length(const parameter_info_t &parameter) {
    return may_have_length(parameter.type_mask) && parameter.int_max == 0 &&
           parameter.int_min >= 0 && parameter.int_min <= INT16_MAX;
}

} // namespace tool
