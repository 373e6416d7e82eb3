// Tree check: first each record in file order, then cycles among the nodes that the root reaches.
// One table lists the checks.
#include "parse_tree/tree_check_internal.h"

#include "parse_tree/record_fields_internal.h"
#include "parse_tree/tree_walk_internal.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace {

using Nodes = std::span<const tree_node_t>;

// Text of an error, built at compile time.
using FaultName = std::array<char, 64>;

consteval FaultName fault_name(std::string_view field, std::string_view fault, size_t limit = 0) {
    FaultName text{};
    char *end = std::ranges::copy(field, text.data()).out;
    end = std::ranges::copy(fault, end).out;
    size_t unit = 1;
    while (limit / unit >= 10)
        unit *= 10;
    for (; limit > 0 && unit > 0; unit /= 10)
        *end++ = static_cast<char>('0' + limit / unit % 10);
    return text;
}

struct TextField {
    size_t offset;
    size_t size;
    FaultName unterminated;
};

consteval TextField text_field(const tsh::Field &field) {
    return {field.offset, field.size(), fault_name(field.name, " is not terminated")};
}

struct CountField {
    size_t offset;
    size_t limit;
    FaultName above_limit;
};

// The limit of a counter is the number of elements of the smallest field that it counts.
consteval CountField count_field(const tsh::Field &counter) {
    size_t limit = SIZE_MAX;
    for (const tsh::Field &field : tsh::kNodeFields)
        if (field.counter == counter.offset)
            limit = std::min(limit, field.kind == TSH_FIELD_SET ? 8 * field.size() : field.count);
    return {counter.offset, limit, fault_name(counter.name, " exceeds ", limit)};
}

// Returns the fields of one kind, converted for a check.
template <tsh_field_kind_t Kind> consteval auto checked(auto row_of) {
    constexpr size_t kCount = std::ranges::count(tsh::kNodeFields, Kind, &tsh::Field::kind);
    std::array<decltype(row_of(tsh::kNodeFields[0])), kCount> rows{};
    size_t next = 0;
    for (const tsh::Field &field : tsh::kNodeFields)
        if (field.kind == Kind)
            rows[next++] = row_of(field);
    return rows;
}

constexpr auto kTextFields = checked<TSH_FIELD_TEXT>(text_field);
constexpr auto kCountFields = checked<TSH_FIELD_COUNT>(count_field);

// One run of the checks over a tree: the current record and check, and the results so far.
class Checkup {
public:
    Checkup(Nodes nodes, tsh_tree_fault_fn function, void *context)
        : nodes_(nodes.first(std::min<size_t>(nodes.size(), TREE_MAX_NODES))),
          report_function_(function), context_(context) {}

    // Runs every check until a report stops it. Throws std::bad_alloc.
    void run();
    void report_no_memory();
    [[nodiscard]] uint32_t faults() const { return faults_; }

    // The checks of the table, each for the current record.
    template <size_t Counter> void count(const tree_node_t &node);
    void child_index(const tree_node_t &node);
    void child_twice(const tree_node_t &node);
    void unterminated_text(const tree_node_t &node);
    void cycle(const tree_node_t &node);

private:
    void prefetch(size_t index) const;
    void check_record();
    void find_cycles();
    [[gnu::cold, gnu::noinline]] void report(const char *what, int32_t position = -1);

    Nodes nodes_;
    tsh_tree_fault_fn report_function_;
    void *context_;
    uint32_t index_ = 0;
    uint32_t check_ = 0;
    uint32_t failed_ = 0; // checks that the record failed, one bit each
    uint32_t faults_ = 0;
    bool ended_ = false;
    bool leads_forward_ = true;
    std::bitset<TREE_MAX_NODES> listed_; // empty between two records
};

struct Check {
    const char *name;
    uint32_t needs; // precondition: checks that the record must have passed, one bit each
    void (Checkup::*run)(const tree_node_t &node);
};

constexpr uint32_t kNothing = 0;
constexpr uint32_t kChildCount = 1U << 0;

constexpr std::array kChecks{
    Check{.name = "child-count",
          .needs = kNothing,
          .run = &Checkup::count<offsetof(tree_node_t, child_count)>},
    Check{.name = "param-count",
          .needs = kNothing,
          .run = &Checkup::count<offsetof(tree_node_t, param_count)>},
    Check{.name = "child-index", .needs = kChildCount, .run = &Checkup::child_index},
    Check{.name = "child-twice", .needs = kChildCount, .run = &Checkup::child_twice},
    Check{.name = "unterminated-text", .needs = kNothing, .run = &Checkup::unterminated_text},
    Check{.name = "cycle", .needs = kChildCount, .run = &Checkup::cycle},
};
constexpr uint32_t kCycleCheck = kChecks.size() - 1;

// Each counter has a check of the same name, with '-' for '_'.
static_assert(std::ranges::all_of(tsh::kNodeFields, [](const tsh::Field &field) {
    const auto has_its_name = [&](const Check &check) {
        return std::ranges::equal(
            std::string_view{field.name}, std::string_view{check.name},
            [](char of_field, char of_check) { return of_field == of_check || of_check == '-'; });
    };
    return field.kind != TSH_FIELD_COUNT || std::ranges::any_of(kChecks, has_its_name);
}));

void Checkup::run() {
    constexpr size_t kAhead = 4; // records whose checks take as long as a memory access
    for (index_ = 0; index_ < nodes_.size() && !ended_; ++index_) {
        prefetch(index_ + kAhead);
        check_record();
    }
    if (!leads_forward_ && !ended_)
        find_cycles();
}

// Prefetches strings, counts and the first links: no hardware prefetcher predicts strides of 1000
// bytes.
void Checkup::prefetch(size_t index) const {
    constexpr size_t kCacheLine = 64;
    if (index >= nodes_.size())
        return;
    const auto *record = reinterpret_cast<const char *>(&nodes_[index]);
    for (size_t offset = 0; offset < offsetof(tree_node_t, params); offset += kCacheLine)
        __builtin_prefetch(record + offset);
    __builtin_prefetch(&nodes_[index].child_count);
}

// The loop over the table is unrolled, so that the compiler knows which check is called: with calls
// through the table, the checks of 65,536 valid records take three times as long.
void Checkup::check_record() {
    failed_ = 0;
    const auto make = [this]<uint32_t Index>() {
        check_ = Index;
        if ((failed_ & kChecks[Index].needs) == 0)
            (this->*kChecks[Index].run)(nodes_[index_]);
    };
    [&]<uint32_t... Index>(std::integer_sequence<uint32_t, Index...>) {
        (make.template operator()<Index>(), ...);
    }
    (std::make_integer_sequence<uint32_t, kChecks.size()>{});
}

template <size_t Counter> void Checkup::count(const tree_node_t &node) {
    constexpr const CountField &kField =
        *std::ranges::find(kCountFields, Counter, &CountField::offset);
    uint16_t number;
    memcpy(&number, reinterpret_cast<const char *>(&node) + kField.offset, sizeof number);
    if (number > kField.limit)
        report(kField.above_limit.data());
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
            report("child index out of range", static_cast<int32_t>(i));
}

// A list in ascending order, the usual case, has no duplicate child.
void Checkup::child_twice(const tree_node_t &node) {
    const auto links = tsh::links_of(node);
    bool ascending = true;
    for (size_t i = 1; i < links.size(); ++i)
        ascending &= links[i - 1] < links[i];
    if (ascending)
        return;
    for (size_t i = 0; i < links.size(); ++i)
        if (listed_.test(links[i]))
            report("duplicate child", static_cast<int32_t>(i));
        else
            listed_.set(links[i]);
    for (const uint16_t child : links)
        listed_.reset(child);
}

// If a string is shorter than its field, the last byte of the field is NUL as well.
void Checkup::unterminated_text(const tree_node_t &node) {
    const auto *record = reinterpret_cast<const char *>(&node);
    for (const TextField &field : kTextFields)
        if (record[field.offset + field.size - 1] != '\0' &&
            memchr(record + field.offset, '\0', field.size) == nullptr)
            report(field.unterminated.data());
}

// If all links lead to later records, there is no cycle. Most trees therefore need no walk.
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
            report("cycle: link to an ancestor", walk.position());
    }
}

void Checkup::report_no_memory() {
    check_ = kCycleCheck;
    index_ = 0;
    report("out of memory in the cycle check");
}

void Checkup::report(const char *what, int32_t position) {
    if (ended_)
        return;
    failed_ |= 1U << check_;
    ++faults_;
    const uint16_t child = position < 0 ? uint16_t{0} : nodes_[index_].children[position];
    const tsh_tree_fault_t fault{kChecks[check_].name, what, index_, position, child};
    ended_ = report_function_ != nullptr && report_function_(&fault, context_) != 0;
}

// A name in printable ASCII and quotes; every other byte as \xNN.
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
        checkup.report_no_memory();
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
