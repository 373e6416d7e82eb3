// The library's tables of a record's fields and flags as spans.
#pragma once

#include "parse_tree/record_fields.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

namespace tool {

inline std::span<const tsh_field_t> node_record_fields() {
    uint32_t count = 0;
    const tsh_field_t *const fields = tsh_node_fields(&count);
    return {fields, count};
}

inline std::span<const tsh_field_t> parameter_record_fields() {
    uint32_t count = 0;
    const tsh_field_t *const fields = tsh_parameter_fields(&count);
    return {fields, count};
}

inline std::span<const tsh_flag_t> node_flags() {
    uint32_t count = 0;
    const tsh_flag_t *const flags = tsh_node_flags(&count);
    return {flags, count};
}

/// The fields that are printed as values, in the order of lists.
inline std::vector<const tsh_field_t *> listed(std::span<const tsh_field_t> fields) {
    std::vector<const tsh_field_t *> some;
    for (const tsh_field_t &field : fields)
        if (field.list_order != 0)
            some.push_back(&field);
    std::ranges::sort(some, {}, &tsh_field_t::list_order);
    return some;
}

/// Names of the set bits of tree_node_t.flags that have one.
inline std::vector<std::string_view> flag_names(uint32_t flags) {
    std::vector<std::string_view> names;
    for (const tsh_flag_t &flag : node_flags())
        if ((flags >> flag.bit & 1U) != 0)
            names.emplace_back(flag.name);
    return names;
}

/// Number of elements of a field that its counter declares as used. The node is valid.
inline size_t used_elements(const void *record, const tsh_field_t &field) {
    if (field.counter == 0)
        return field.count;
    uint16_t used = 0;
    memcpy(&used, static_cast<const uint8_t *>(record) + field.counter, sizeof used);
    return used;
}

/// Bytes of a field of a record.
inline std::span<const uint8_t> bytes_of(const void *record, const tsh_field_t &field) {
    return {static_cast<const uint8_t *>(record) + field.offset, size_t{field.width} * field.count};
}

/// The string in a TEXT field, which ends at its NUL or with the field.
inline std::string_view string_in(const void *record, const tsh_field_t &field) {
    const auto *text = static_cast<const char *>(record) + field.offset;
    return {text, strnlen(text, size_t{field.width} * field.count)};
}

} // namespace tool
