// Finding bytes that mean nothing.
#include "tools/ocmd_show/strays.h"

#include <algorithm>
#include <array>
#include <span>

namespace show {

namespace {

using Bytes = std::span<const uint8_t>;

struct TextField {
    const char *name;
    size_t offset;
    size_t size;
};

#define TEXT_FIELD(field)                                                                          \
    TextField {                                                                                    \
#field, offsetof(tree_node_t, field), sizeof(tree_node_t::field)                           \
    }

constexpr std::array kTextFields{
    TEXT_FIELD(name),     TEXT_FIELD(token),   TEXT_FIELD(help),    TEXT_FIELD(submode_help),
    TEXT_FIELD(aux_text), TEXT_FIELD(func_id), TEXT_FIELD(mode_id), TEXT_FIELD(aux_label),
};

#undef TEXT_FIELD

bool holds_something(Bytes bytes) {
    return std::ranges::any_of(bytes, [](uint8_t byte) { return byte != 0; });
}

bool has_mark_past_links(const tree_node_t &node) {
    constexpr unsigned kPositions = 8 * sizeof node.child_link_bits;
    for (unsigned position = node.child_count; position < kPositions; ++position)
        if ((node.child_link_bits[position / 8] >> position % 8 & 1U) != 0)
            return true;
    return false;
}

} // namespace

std::vector<std::string> strays_of(const tree_node_t &node) {
    const Bytes record{reinterpret_cast<const uint8_t *>(&node), sizeof node};
    std::vector<std::string> strays;
    for (const TextField &field : kTextFields) {
        const Bytes text = record.subspan(field.offset, field.size);
        if (holds_something({std::ranges::find(text, 0), text.end()}))
            strays.push_back(std::string{"bytes behind the end of "} + field.name);
    }
    const size_t parameters = offsetof(tree_node_t, params);
    const size_t used = node.param_count * sizeof(parameter_info_t);
    if (holds_something(record.subspan(parameters + used, sizeof node.params - used)))
        strays.emplace_back("a parameter past param_count");
    const size_t links = offsetof(tree_node_t, children);
    const size_t in_use = node.child_count * sizeof node.children[0];
    if (holds_something(record.subspan(links + in_use, sizeof node.children - in_use)))
        strays.emplace_back("child indices past child_count");
    if (has_mark_past_links(node))
        strays.emplace_back("marks of links past child_count");
    if (holds_something(node.reserved))
        strays.emplace_back("reserved bytes");
    return strays;
}

} // namespace show
