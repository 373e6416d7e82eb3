// Tests of the tree check: all errors, and walks of any depth.
#include "parse_tree/tree_check.h"
#include "parse_tree/tree_library.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/grammar.h"
#include "tests/support/harness.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

using grammar::keyword;
using Nodes = std::vector<tree_node_t>;
using Faults = std::vector<tsh_tree_fault_t>;

int32_t collect(const tsh_tree_fault_t *fault, void *faults) {
    static_cast<Faults *>(faults)->push_back(*fault);
    return 0;
}

Faults faults_of(const Nodes &nodes) {
    Faults faults;
    const auto count = static_cast<uint32_t>(nodes.size());
    const uint32_t told = tsh_tree_check(nodes.data(), count, collect, &faults);
    EXPECT_EQ(told, faults.size());
    EXPECT_EQ(tsh_tree_check(nodes.data(), count, nullptr, nullptr), faults.size());
    return faults;
}

std::string text_of(const Nodes &nodes, const tsh_tree_fault_t &fault) {
    char text[TSH_TREE_FAULT_TEXT_SIZE] = "";
    const size_t length = tsh_tree_fault_text(nodes.data(), static_cast<uint32_t>(nodes.size()),
                                              &fault, text, sizeof text);
    EXPECT_EQ(length, strlen(text));
    return std::string(fault.check) + ": " + text + "\n";
}

void link(Nodes &nodes, size_t parent, uint16_t child) {
    nodes[parent].children[nodes[parent].child_count++] = child;
}

TEST(TreeCheck, ReportsEveryErrorInTheOrderOfTheRecords) {
    Nodes nodes = grammar::lay_out(grammar::structural("root")
                                       .child(keyword("a").child(keyword("b").child(keyword("c"))))
                                       .child(keyword("d").child(keyword("e")))
                                       .child(keyword("f")));
    nodes.resize(8);
    nodes[1].param_count = 3;
    memset(nodes[2].help, 'x', sizeof nodes[2].help);
    memset(nodes[2].aux_label, 'x', sizeof nodes[2].aux_label);
    link(nodes, 3, 3);
    link(nodes, 3, 1);
    nodes[4].child_count = 193;
    nodes[4].children[0] = 0;
    strcpy(nodes[6].name, "f\"\\\n\x80");
    for (const int child : {8, 0, 5, 0, 65535})
        link(nodes, 6, static_cast<uint16_t>(child));
    link(nodes, 7, 7); // an unreachable cycle
    std::string told;
    for (const tsh_tree_fault_t &fault : faults_of(nodes))
        told += text_of(nodes, fault);
    EXPECT_EQ(told, R"(param-count: node 1 "a": param_count exceeds 2
unterminated-text: node 2 "b": help is not terminated
unterminated-text: node 2 "b": aux_label is not terminated
child-count: node 4 "d": child_count exceeds 192
child-index: node 6 "f\x22\x5c\x0a\x80": child index out of range (child 0: node 8)
child-index: node 6 "f\x22\x5c\x0a\x80": child index out of range (child 4: node 65535)
child-twice: node 6 "f\x22\x5c\x0a\x80": duplicate child (child 3: node 0 "root")
cycle: node 3 "c": cycle: link to an ancestor (child 0: node 3 "c")
cycle: node 3 "c": cycle: link to an ancestor (child 1: node 1 "a")
cycle: node 6 "f\x22\x5c\x0a\x80": cycle: link to an ancestor (child 1: node 0 "root")
cycle: node 6 "f\x22\x5c\x0a\x80": cycle: link to an ancestor (child 3: node 0 "root")
)");

    std::string names;
    for (uint32_t i = 0; tsh_tree_check_name(i) != nullptr; ++i)
        names += tsh_tree_check_name(i) + std::string(" ");
    EXPECT_EQ(names, "child-count param-count child-index child-twice unterminated-text cycle ");
    int told_before_end = 0;
    const auto end_at_second = [](const tsh_tree_fault_t *, void *count) -> int32_t {
        return ++*static_cast<int *>(count) == 2 ? 1 : 0;
    };
    EXPECT_EQ(tsh_tree_check(nodes.data(), 8, end_at_second, &told_before_end), 2U);
    EXPECT_EQ(told_before_end, 2);
    char cut[12] = "untouched";
    const tsh_tree_fault_t fault{"param-count", "wrong", 1, -1, 0};
    EXPECT_EQ(tsh_tree_fault_text(nodes.data(), 8, &fault, cut, 0), strlen(R"(node 1 "a": wrong)"));
    EXPECT_STREQ(cut, "untouched");
    tsh_tree_fault_text(nodes.data(), 8, &fault, cut, sizeof cut);
    EXPECT_STREQ(cut, R"(node 1 "a":)");
}

// A chain from node 0 to the last node and from there back to node 1.
Nodes backward_chain(uint32_t levels) {
    Nodes nodes(levels);
    size_t parent = 0;
    for (size_t child = levels - 1; child > 0; parent = child--)
        link(nodes, parent, static_cast<uint16_t>(child));
    return nodes;
}

TEST(TreeCheck, NeedsNoCallStackHoweverDeepTheTree) {
    const Nodes deepest = backward_chain(TREE_MAX_NODES);
    Nodes circle = deepest;
    link(circle, 1, 0);
    const harness::Outcome outcome = harness::in_child([&] {
        const rlimit small_stack{256 << 10, 256 << 10};
        setrlimit(RLIMIT_STACK, &small_stack);
        EXPECT_EQ(faults_of(deepest).size(), 0U);
        EXPECT_EQ(faults_of(circle).size(), 1U);
        EXPECT_EQ(cycle_check(circle.data(), 0, 0), 1);
        EXPECT_EQ(cycle_check(deepest.data(), 0, 0), 1);
        EXPECT_EQ(cycle_check(backward_chain(257).data(), 0, 0), 1);
        EXPECT_EQ(cycle_check(backward_chain(256).data(), 0, 0), 0);
        display_array_tree(backward_chain(3).data(), 0, 0);
        return 0;
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_EQ(outcome.out, "0:  \"\" 2\n  2:  \"\" 1\n    1:  \"\"\n");
}

TEST(TreeCheck, ReportsAnErrorWithoutMemory) {
    if (!failing_malloc::available())
        GTEST_SKIP() << "a sanitizer owns malloc";
    const Nodes nodes = backward_chain(3);
    for (const long failing : {1, 2}) {
        failing_malloc::arm(failing);
        const int32_t cyclic = cycle_check(nodes.data(), 0, 0);
        failing_malloc::disarm();
        EXPECT_EQ(cyclic, 1) << failing;
    }
    tsh_tree_fault_t told{};
    const auto keep = [](const tsh_tree_fault_t *fault, void *kept) -> int32_t {
        *static_cast<tsh_tree_fault_t *>(kept) = *fault;
        return 0;
    };
    failing_malloc::arm(1);
    const uint32_t faults = tsh_tree_check(nodes.data(), 3, keep, &told);
    failing_malloc::disarm();
    EXPECT_EQ(faults, 1U);
    EXPECT_EQ(text_of(nodes, told), "cycle: node 0 \"\": out of memory in the cycle check\n");
}

} // namespace
