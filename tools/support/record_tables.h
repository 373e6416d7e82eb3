// The library's tables of a record's fields and flags as spans.
#pragma once

#include "parse_tree/record_fields.h"

#include <cstddef>
#include <cstdint>
#include <span>

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

/// Bytes of a field of a record.
inline std::span<const uint8_t> bytes_of(const void *record, const tsh_field_t &field) {
    return {static_cast<const uint8_t *>(record) + field.offset, size_t{field.width} * field.count};
}

} // namespace tool
