// Nonzero bytes in unused parts of a record, by the record's table.
#include "tools/ocmd_show/strays.h"

#include "base/bit_array.h"
#include "tools/ocmd_show/record_bytes.h"
#include "tools/support/record_tables.h"

#include <algorithm>
#include <span>

namespace show {

namespace {

using Bytes = std::span<const uint8_t>;

bool holds_something(Bytes bytes) {
    return !without_zeros_at_end(bytes).empty();
}

bool has_number_from(Bytes bit_array, size_t first) {
    for (size_t number = first; number < 8 * bit_array.size(); ++number)
        if (base::is_in_set(bit_array.data(), number))
            return true;
    return false;
}

bool has_strays(const tree_node_t &node, const tsh_field_t &field) {
    const Bytes bytes = tool::bytes_of(&node, field);
    const size_t used = tool::used_elements(&node, field);
    if (field.kind == TSH_FIELD_TEXT)
        return holds_something({std::ranges::find(bytes, 0), bytes.end()});
    if ((field.traits & TSH_FIELD_RESERVED) != 0)
        return holds_something(bytes);
    if (field.counter == 0)
        return false;
    return field.kind == TSH_FIELD_SET ? has_number_from(bytes, used)
                                       : holds_something(bytes.subspan(used * field.width));
}

std::string stray_text(const tsh_field_t &field) {
    const std::string name = field.name;
    if (field.kind == TSH_FIELD_TEXT)
        return "bytes after the end of " + name;
    if ((field.traits & TSH_FIELD_RESERVED) != 0)
        return "reserved bytes";
    const auto counter =
        std::ranges::find(tool::node_record_fields(), field.counter, &tsh_field_t::offset);
    return "entries of " + name + " beyond " + counter->name;
}

} // namespace

std::vector<std::string> strays_of(const tree_node_t &node) {
    std::vector<std::string> strays;
    for (const tsh_field_t &field : tool::node_record_fields())
        if (has_strays(node, field))
            strays.push_back(stray_text(field));
    return strays;
}

} // namespace show
