// The check of whole trees: record by record in file order, then the shape of what the root
// reaches.
#include "parse_tree/tree_check_internal.h"

#include "parse_tree/tree_depth_internal.h"
#include "platform/robust_string.h"

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

// The smallest and the largest of some child indices, and whether each is larger than the one
// before it, which rules out that one is listed twice.
struct LinkSurvey {
    uint16_t least = UINT16_MAX;
    uint16_t greatest = 0;
    bool ascending = true;

    explicit LinkSurvey(std::span<const uint16_t> links) {
        for (const uint16_t child : links) {
            least = std::min(least, child);
            greatest = std::max(greatest, child);
        }
        for (size_t i = 1; i < links.size(); ++i)
            ascending &= links[i - 1] < links[i];
    }
};

// Judges records one after another, and their levels as long as every link leads to a later
// record: such a tree has no cycles, and each level is settled when its turn comes.
class RecordCheck {
public:
    explicit RecordCheck(size_t node_count) : node_count_(node_count) {
        std::fill_n(levels_.begin(), std::min<size_t>(node_count, TREE_MAX_NODES), kUnreached);
        levels_[0] = 1;
    }

    // What is wrong with the next record, or null.
    const char *fault_of_next(const tree_node_t &node) {
        if (node.child_count > TREE_MAX_CHILDREN)
            return "child_count is above 192";
        if (node.param_count > TREE_MAX_PARAMS)
            return "param_count is above 2";
        if (const char *fault = fault_of_links({node.children, node.child_count}))
            return fault;
        ++index_;
        return fault_of_texts(node);
    }

    // True when the records so far settle that no level lies too deep.
    [[nodiscard]] bool levels_are_settled() const { return leads_forward_ && !too_deep_; }

private:
    const char *fault_of_links(std::span<const uint16_t> links) {
        if (links.empty())
            return nullptr;
        const LinkSurvey survey{links};
        if (survey.greatest >= node_count_)
            return "a child index lies outside the tree";
        if (!survey.ascending && lists_a_child_twice(links))
            return "a child is listed twice";
        leads_forward_ &= survey.least > index_;
        if (leads_forward_ && levels_[index_] != kUnreached)
            put_below(links, static_cast<uint16_t>(levels_[index_] + 1));
        return nullptr;
    }

    void put_below(std::span<const uint16_t> links, uint16_t level) {
        too_deep_ |= level > TREE_MAX_LEVELS;
        for (const uint16_t child : links)
            levels_[child] = std::max(levels_[child], level);
    }

    // Leaves the set of listed children empty for the next record.
    bool lists_a_child_twice(std::span<const uint16_t> links) {
        bool twice = false;
        for (const uint16_t child : links) {
            twice |= listed_[child];
            listed_.set(child);
        }
        for (const uint16_t child : links)
            listed_.reset(child);
        return twice;
    }

    // A text shorter than its field ends in the field's last byte as well.
    static const char *fault_of_texts(const tree_node_t &node) {
        const auto *record = reinterpret_cast<const char *>(&node);
        for (const TextField &field : kTextFields)
            if (record[field.offset + field.size - 1] != '\0' &&
                memchr(record + field.offset, '\0', field.size) == nullptr)
                return field.unterminated;
        return nullptr;
    }

    static constexpr uint16_t kUnreached = 0;

    size_t node_count_;
    size_t index_ = 0;
    bool leads_forward_ = true;
    bool too_deep_ = false;
    std::bitset<TREE_MAX_NODES> listed_;
    std::array<uint16_t, TREE_MAX_NODES> levels_; // of the records that links lead to
};

} // namespace

std::optional<tsh::TreeFault> tsh::check_tree(std::span<const tree_node_t> nodes) {
    RecordCheck check{nodes.size()};
    for (size_t i = 0; i < nodes.size(); ++i)
        if (const char *fault = check.fault_of_next(nodes[i]))
            return TreeFault{static_cast<uint32_t>(i), fault};
    if (check.levels_are_settled())
        return std::nullopt;

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
