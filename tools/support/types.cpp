// Parameter types by name, over the process-wide registry.
#include "tools/support/types.h"

#include "feature/tsh/src/bits.h"
#include "param_reg/builtin_types.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <new>
#include <span>

namespace tool {

namespace {

struct MaskLayout {
    uint32_t class_field;
    uint32_t types;
};

MaskLayout layout_of(uint32_t mask) {
    return (mask & PARAM_TYPE_FAMILY) == 0
               ? MaskLayout{PARAM_TYPE_CLASS_0, PARAM_TYPE_BITS_0}
               : MaskLayout{PARAM_TYPE_CLASS_1_TO_3, PARAM_TYPE_BITS_1_TO_3};
}

uint32_t type_bits(uint32_t mask) {
    return mask & layout_of(mask).types;
}

std::span<param_reg_info_t *const> registered() {
    return {pinfo_reg_tbl.entries, pinfo_reg_tbl.count};
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::ranges::equal(
        a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

} // namespace

void register_types() {
    if (pinfo_reg_tbl.count == 0 && tsh_builtin_types_register() > 0)
        throw std::bad_alloc{};
}

uint32_t class_bits(uint32_t mask) {
    return mask & (PARAM_TYPE_FAMILY | layout_of(mask).class_field);
}

const param_reg_info_t *find_type(std::string_view name) {
    const auto found = std::ranges::find_if(registered(), [&](const param_reg_info_t *type) {
        return equal_ignoring_case(type->name, name);
    });
    return found == registered().end() ? nullptr : *found;
}

std::vector<const param_reg_info_t *> types_of(uint32_t mask) {
    std::vector<const param_reg_info_t *> types;
    const uint32_t bits = type_bits(mask);
    for (int32_t bit = bit_pos_get32(bits, -1); bit >= 0; bit = bit_pos_get32(bits, bit))
        types.push_back(param_reg_info_get(1U << static_cast<uint32_t>(bit) | class_bits(mask)));
    return types;
}

std::vector<std::string_view> type_names() {
    std::vector<std::string_view> names;
    for (const param_reg_info_t *type : registered())
        names.emplace_back(type->name);
    return names;
}

std::string types_text(uint32_t mask) {
    const auto types = types_of(mask);
    const bool is_whole = (type_bits(mask) | class_bits(mask)) == mask;
    if (types.empty() || !is_whole || std::ranges::find(types, nullptr) != types.end()) {
        char number[16];
        snprintf(number, sizeof number, "0x%08X", mask);
        return number;
    }
    std::string text;
    for (const param_reg_info_t *type : types)
        (text += text.empty() ? "" : " | ") += type->name;
    return text;
}

} // namespace tool
