// The check of whole trees: record by record in file order, then the shape of what the root
// reaches.
#include "parse_tree/tree_check_internal.h"

#include "platform/robust_string.h"
#include "platform/tree_depth_internal.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cctype>
#include <cstring>

namespace {

struct TextField {
    size_t offset;
    size_t size;
    const char *unterminated;
};

#define TEXT_FIELD(field)                                                                          \
    TextField {                                                                                    \
        offsetof(tree_node_t, field), sizeof(tree_node_t::field), #field " is not terminated"      \
    }

constexpr std::array kTextFields{
    TEXT_FIELD(name),     TEXT_FIELD(token),   TEXT_FIELD(help),    TEXT_FIELD(submode_help),
    TEXT_FIELD(aux_text), TEXT_FIELD(func_id), TEXT_FIELD(mode_id), TEXT_FIELD(aux_label),
};

#undef TEXT_FIELD

// Judges records one after another; keeps a set of children that is empty between two records.
class RecordCheck {
public:
    explicit RecordCheck(size_t node_count) : node_count_(node_count) {}

    // What is wrong with the record, or null.
    const char *fault_of(const tree_node_t &node) {
        if (node.child_count > TREE_MAX_CHILDREN)
            return "child_count is above 192";
        if (node.param_count > TREE_MAX_PARAMS)
            return "param_count is above 2";
        if (const char *fault = fault_of_links({node.children, node.child_count}))
            return fault;
        return fault_of_texts(node);
    }

private:
    const char *fault_of_links(std::span<const uint16_t> links) {
        const char *fault = nullptr;
        for (const uint16_t child : links) {
            if (child >= node_count_)
                fault = "a child index lies outside the tree";
            else if (seen_[child])
                fault = "a child is listed twice";
            seen_.set(child);
        }
        for (const uint16_t child : links)
            seen_.reset(child);
        return fault;
    }

    static const char *fault_of_texts(const tree_node_t &node) {
        const auto *record = reinterpret_cast<const char *>(&node);
        for (const TextField &field : kTextFields)
            if (memchr(record + field.offset, '\0', field.size) == nullptr)
                return field.unterminated;
        return nullptr;
    }

    size_t node_count_;
    std::bitset<TREE_MAX_NODES> seen_;
};

} // namespace

std::optional<tsh::TreeFault> tsh::check_tree(std::span<const tree_node_t> nodes) {
    RecordCheck check{nodes.size()};
    for (size_t i = 0; i < nodes.size(); ++i)
        if (const char *fault = check.fault_of(nodes[i]))
            return TreeFault{static_cast<uint32_t>(i), fault};

    // Records past the 65,536th exist in no index, so they cannot be reached.
    const auto reachable = nodes.first(std::min<size_t>(nodes.size(), TREE_MAX_NODES));
    const DepthVerdict depth = judge_depth(reachable);
    switch (depth.fault) {
    case DepthFault::kCycle:
        return TreeFault{depth.node, "a link leads back to an ancestor"};
    case DepthFault::kTooDeep:
        return TreeFault{depth.node, "the node lies deeper than 256 levels"};
    case DepthFault::kNone:
        break;
    }
    return std::nullopt;
}

void tsh::report_tree_fault(FILE *stream, const char *file, std::span<const tree_node_t> nodes,
                            const TreeFault &fault) {
    char name[TREE_NAME_SIZE + 1];
    robust_strncpy(name, nodes[fault.node].name, sizeof name);
    for (char *c = name; *c != '\0'; ++c)
        if (isprint(static_cast<unsigned char>(*c)) == 0)
            *c = '?';
    fprintf(stream, "%s: node %u \"%s\": %s\n", file, fault.node, name, fault.what);
}
