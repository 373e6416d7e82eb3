// Byte order of tree files.
#include "parse_tree/byte_order.h"

#include "parse_tree/byte_order_internal.h"
#include "parse_tree/record_fields_internal.h"
#include "parse_tree/tree_node_internal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <cstring>
#include <iterator>

namespace {

constexpr bool kHostIsNetworkOrder = std::endian::native == std::endian::big;

struct IntegerRun {
    size_t offset = 0; // from the start of the node record
    size_t width = 0;  // bytes of one integer
    size_t count = 0;
};

// Calls visit for each run of integers of equal width in a node.
constexpr void for_each_run(auto visit) {
    IntegerRun run;
    const auto add = [&](const tsh::Field &field, size_t record) {
        const size_t offset = record + field.offset;
        if (!field.has_integers())
            return;
        if (run.width != field.width || run.offset + run.width * run.count != offset) {
            if (run.count > 0)
                visit(run);
            run = {offset, field.width, 0};
        }
        run.count += field.count;
    };
    for (const tsh::Field &field : tsh::kNodeFields) {
        add(field, 0);
        if (field.kind == TSH_FIELD_PARAMETERS)
            for (size_t i = 0; i < field.count; ++i)
                for (const tsh::Field &own : tsh::kParameterFields)
                    add(own, field.offset + i * field.width);
    }
    visit(run);
}

consteval size_t count_runs() {
    size_t count = 0;
    for_each_run([&](const IntegerRun &) { ++count; });
    return count;
}

constexpr auto kIntegerRuns = [] {
    std::array<IntegerRun, count_runs()> runs;
    size_t count = 0;
    for_each_run([&](const IntegerRun &run) { runs[count++] = run; });
    return runs;
}();

template <typename Integer> void reverse_bytes(unsigned char *bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        Integer value;
        unsigned char *place = bytes + i * sizeof value;
        memcpy(&value, place, sizeof value);
        if constexpr (sizeof value == 2)
            value = __builtin_bswap16(value);
        else if constexpr (sizeof value == 4)
            value = __builtin_bswap32(value);
        else
            value = __builtin_bswap64(value);
        memcpy(place, &value, sizeof value);
    }
}

void reverse_node_order(tree_node_t &node) {
    auto *record = reinterpret_cast<unsigned char *>(&node);
    for (const IntegerRun &run : kIntegerRuns) {
        switch (run.width) {
        case 2:
            reverse_bytes<uint16_t>(record + run.offset, run.count);
            break;
        case 4:
            reverse_bytes<uint32_t>(record + run.offset, run.count);
            break;
        default:
            reverse_bytes<uint64_t>(record + run.offset, run.count);
            break;
        }
    }
}

void swap_node_order(tree_node_t &node) {
    if constexpr (!kHostIsNetworkOrder)
        reverse_node_order(node);
}

void swap_header_order(subtree_header_t *header) {
    if constexpr (!kHostIsNetworkOrder)
        reverse_bytes<uint32_t>(reinterpret_cast<unsigned char *>(header),
                                sizeof *header / sizeof(uint32_t));
}

enum class Direction { kToNetwork, kToHost };

// Size of the array if the caller is in this library; the exported operations do not receive it.
thread_local std::span<tree_node_t> array_in_hand;

// Every reachable node is appended to the list once, at the first link to it, and converted when it
// is taken from the list; its links are read in host order. The list has at most 65,536 indices,
// whatever the links contain.
void convert_reachable(tree_node_t *nodes, Direction direction) {
    std::bitset<TREE_MAX_NODES> listed;
    std::array<uint16_t, TREE_MAX_NODES> list;
    size_t end = 0;
    const auto add = [&](uint16_t index) {
        if (!listed[index]) {
            listed.set(index);
            list[end++] = index;
        }
    };
    add(0);
    for (size_t next = 0; next < end; ++next) {
        tree_node_t &node = nodes[list[next]];
        if (direction == Direction::kToHost)
            swap_node_order(node);
        std::ranges::for_each(tsh::children_of(node), add);
        if (direction == Direction::kToNetwork)
            swap_node_order(node);
    }
}

void convert(tree_node_t *nodes, Direction direction) {
    if (!array_in_hand.empty() && nodes == array_in_hand.data())
        std::ranges::for_each(array_in_hand, swap_node_order);
    else
        convert_reachable(nodes, direction);
}

} // namespace

void tsh::array_to_network(std::span<tree_node_t> nodes) {
    array_in_hand = nodes;
    if (!nodes.empty())
        hton_array_tree(nodes.data(), 0, 0);
    array_in_hand = {};
}

void tsh::array_to_host(std::span<tree_node_t> nodes) {
    array_in_hand = nodes;
    if (!nodes.empty())
        ntoh_array_tree(nodes.data(), 0, 0);
    array_in_hand = {};
}

void hton_subtree_header(subtree_header_t *header) {
    swap_header_order(header);
}

void ntoh_subtree_header(subtree_header_t *header) {
    swap_header_order(header);
}

void hton_array_tree(tree_node_t *nodes, uint32_t /*unused1*/, uint32_t /*unused2*/) {
    convert(nodes, Direction::kToNetwork);
}

void ntoh_array_tree(tree_node_t *nodes, uint32_t /*unused1*/, uint32_t /*unused2*/) {
    convert(nodes, Direction::kToHost);
}

void tsh_swap_array_order(tree_node_t *nodes, uint32_t count) {
    std::for_each_n(nodes, count, reverse_node_order);
}
