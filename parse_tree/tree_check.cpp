// The check of whole trees: record by record in file order, then the shape of what the root
// reaches. A table names the checks; nothing else lists them.
#include "parse_tree/tree_check_internal.h"

#include "parse_tree/tree_walk_internal.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>
#include <new>
#include <utility>

namespace {

using Nodes = std::span<const tree_node_t>;

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

// One run over a tree: the record and the check in hand, and what has been found so far.
class Checkup {
public:
    Checkup(Nodes nodes, tsh_tree_fault_fn report, void *context)
        : nodes_(nodes.first(std::min<size_t>(nodes.size(), TREE_MAX_NODES))), report_(report),
          context_(context) {}

    // Makes every check, until a report ends it. Throws std::bad_alloc.
    void run();
    void tell_no_memory();
    [[nodiscard]] uint32_t faults() const { return faults_; }

    // The checks of the table, each on the record in hand.
    void child_count(const tree_node_t &node);
    void param_count(const tree_node_t &node);
    void child_index(const tree_node_t &node);
    void child_twice(const tree_node_t &node);
    void unterminated_text(const tree_node_t &node);
    void cycle(const tree_node_t &node);

private:
    void prefetch(size_t index) const;
    void check_record();
    void find_cycles();
    [[gnu::cold, gnu::noinline]] void tell(const char *what, int32_t position = -1);

    Nodes nodes_;
    tsh_tree_fault_fn report_;
    void *context_;
    uint32_t index_ = 0;
    uint32_t check_ = 0;
    uint32_t broken_ = 0; // checks that the record failed, a bit each
    uint32_t faults_ = 0;
    bool ended_ = false;
    bool leads_forward_ = true;
    std::bitset<TREE_MAX_NODES> listed_; // empty between two records
};

struct Check {
    const char *name;
    uint32_t needs; // checks that must hold of the record first, a bit each
    void (Checkup::*judge)(const tree_node_t &node);
};

constexpr uint32_t kNothing = 0;
constexpr uint32_t kChildCount = 1U << 0;

constexpr std::array kChecks{
    Check{.name = "child-count", .needs = kNothing, .judge = &Checkup::child_count},
    Check{.name = "param-count", .needs = kNothing, .judge = &Checkup::param_count},
    Check{.name = "child-index", .needs = kChildCount, .judge = &Checkup::child_index},
    Check{.name = "child-twice", .needs = kChildCount, .judge = &Checkup::child_twice},
    Check{.name = "unterminated-text", .needs = kNothing, .judge = &Checkup::unterminated_text},
    Check{.name = "cycle", .needs = kChildCount, .judge = &Checkup::cycle},
};
constexpr uint32_t kCycleCheck = kChecks.size() - 1;

void Checkup::run() {
    constexpr size_t kAhead = 4; // records that take as long as memory takes to answer
    for (index_ = 0; index_ < nodes_.size() && !ended_; ++index_) {
        prefetch(index_ + kAhead);
        check_record();
    }
    if (!leads_forward_ && !ended_)
        find_cycles();
}

// Texts, counts and the first links; no processor foresees steps of a thousand bytes.
void Checkup::prefetch(size_t index) const {
    constexpr size_t kCacheLine = 64;
    if (index >= nodes_.size())
        return;
    const auto *record = reinterpret_cast<const char *>(&nodes_[index]);
    for (size_t offset = 0; offset < offsetof(tree_node_t, params); offset += kCacheLine)
        __builtin_prefetch(record + offset);
    __builtin_prefetch(&nodes_[index].child_count);
}

// The loop over the table is unrolled, so that the compiler sees which check is made: called
// through the table, the checks of 65,536 sound records take three times as long.
void Checkup::check_record() {
    broken_ = 0;
    const auto make = [this]<uint32_t Index>() {
        check_ = Index;
        if ((broken_ & kChecks[Index].needs) == 0)
            (this->*kChecks[Index].judge)(nodes_[index_]);
    };
    [&]<uint32_t... Index>(std::integer_sequence<uint32_t, Index...>) {
        (make.template operator()<Index>(), ...);
    }
    (std::make_integer_sequence<uint32_t, kChecks.size()>{});
}

void Checkup::child_count(const tree_node_t &node) {
    if (node.child_count > TREE_MAX_CHILDREN)
        tell("child_count is above 192");
}

void Checkup::param_count(const tree_node_t &node) {
    if (node.param_count > TREE_MAX_PARAMS)
        tell("param_count is above 2");
}

void Checkup::child_index(const tree_node_t &node) {
    const auto links = tsh::links_of(node);
    uint16_t greatest = 0;
    for (const uint16_t child : links)
        greatest = std::max(greatest, child);
    if (greatest < nodes_.size())
        return;
    for (size_t i = 0; i < links.size(); ++i)
        if (links[i] >= nodes_.size())
            tell("a child index lies outside the tree", static_cast<int32_t>(i));
}

// A list in ascending order, the usual one, names no child twice.
void Checkup::child_twice(const tree_node_t &node) {
    const auto links = tsh::links_of(node);
    bool ascending = true;
    for (size_t i = 1; i < links.size(); ++i)
        ascending &= links[i - 1] < links[i];
    if (ascending)
        return;
    for (size_t i = 0; i < links.size(); ++i)
        if (listed_.test(links[i]))
            tell("a child is listed twice", static_cast<int32_t>(i));
        else
            listed_.set(links[i]);
    for (const uint16_t child : links)
        listed_.reset(child);
}

// A text shorter than its field ends in the field's last byte as well.
void Checkup::unterminated_text(const tree_node_t &node) {
    const auto *record = reinterpret_cast<const char *>(&node);
    for (const TextField &field : kTextFields)
        if (record[field.offset + field.size - 1] != '\0' &&
            memchr(record + field.offset, '\0', field.size) == nullptr)
            tell(field.unterminated);
}

// Links that all lead to later records close no cycle, so that most trees need no walk.
void Checkup::cycle(const tree_node_t &node) {
    uint16_t least = UINT16_MAX;
    for (const uint16_t child : tsh::links_of(node))
        least = std::min(least, child);
    leads_forward_ &= least > index_ || node.child_count == 0;
}

void Checkup::find_cycles() {
    using Event = tsh::TreeWalk::Event;
    tsh::TreeWalk walk{nodes_};
    check_ = kCycleCheck;
    for (Event event = walk.next(); event != Event::kEnd && !ended_; event = walk.next()) {
        index_ = walk.node();
        if (event == Event::kBackLink)
            tell("a link leads back to an ancestor", walk.position());
    }
}

void Checkup::tell_no_memory() {
    check_ = kCycleCheck;
    index_ = 0;
    tell("no memory to look for cycles");
}

void Checkup::tell(const char *what, int32_t position) {
    if (ended_)
        return;
    broken_ |= 1U << check_;
    ++faults_;
    const uint16_t child = position < 0 ? uint16_t{0} : nodes_[index_].children[position];
    const tsh_tree_fault_t fault{kChecks[check_].name, what, index_, position, child};
    ended_ = report_ != nullptr && report_(&fault, context_) != 0;
}

// A name as printable ASCII in quotes, every other byte of it as \xNN.
class QuotedName {
public:
    explicit QuotedName(const tree_node_t &node) {
        char *end = text_.data();
        *end++ = '"';
        for (const char c : std::span{node.name, strnlen(node.name, sizeof node.name)})
            if (c >= ' ' && c <= '~' && c != '"' && c != '\\')
                *end++ = c;
            else
                end += snprintf(end, 5, "\\x%02x", static_cast<unsigned char>(c));
        *end++ = '"';
        *end = '\0';
    }
    [[nodiscard]] const char *text() const { return text_.data(); }

private:
    std::array<char, 1 + 4 * TREE_NAME_SIZE + 1 + 1> text_;
};

} // namespace

uint32_t tsh_tree_check(const tree_node_t *nodes, uint32_t node_count, tsh_tree_fault_fn report,
                        void *context) {
    Checkup checkup{{nodes, node_count}, report, context};
    try {
        checkup.run();
    } catch (const std::bad_alloc &) {
        checkup.tell_no_memory();
    }
    return checkup.faults();
}

const char *tsh_tree_check_name(uint32_t index) {
    return index < kChecks.size() ? kChecks[index].name : nullptr;
}

size_t tsh_tree_fault_text(const tree_node_t *nodes, uint32_t node_count,
                           const tsh_tree_fault_t *fault, char *buffer, size_t capacity) {
    const QuotedName name{nodes[fault->node]};
    int length;
    if (fault->position < 0)
        length =
            snprintf(buffer, capacity, "node %u %s: %s", fault->node, name.text(), fault->what);
    else if (fault->child >= node_count)
        length = snprintf(buffer, capacity, "node %u %s: %s (child %d: node %u)", fault->node,
                          name.text(), fault->what, fault->position, fault->child);
    else
        length = snprintf(buffer, capacity, "node %u %s: %s (child %d: node %u %s)", fault->node,
                          name.text(), fault->what, fault->position, fault->child,
                          QuotedName{nodes[fault->child]}.text());
    return static_cast<size_t>(length);
}

std::optional<tsh_tree_fault_t> tsh::check_tree(std::span<const tree_node_t> nodes) {
    std::optional<tsh_tree_fault_t> first;
    const auto keep = [](const tsh_tree_fault_t *fault, void *place) -> int32_t {
        *static_cast<std::optional<tsh_tree_fault_t> *>(place) = *fault;
        return 1;
    };
    Checkup{nodes, keep, &first}.run();
    return first;
}
