// Navigation: the traversal stack, relations, walks and lookups, with what they trace.
#include "atnode/lookup.h"
#include "atnode/walk.h"
#include "feature/tsh/src/trace.h"
#include "tests/support/harness.h"
#include "tests/support/loaded_tree.h"

#include <gtest/gtest.h>

namespace {

using grammar::keyword;
using grammar::parameter;
using harness::in_child;
using harness::LoadedTree;
using harness::traced;

// root: A (A1, A2 optional with A2x), O optional (C1, C2 optional; D), S optional submode (S1
// optional)
grammar::Word small_tree() {
    return grammar::structural("R")
        .child(
            keyword("alpha")
                .named("A")
                .child(keyword("one").named("A1"))
                .child(keyword("two").named("A2").optional().child(keyword("deep").named("A2x"))))
        .child(keyword("other")
                   .named("O")
                   .optional()
                   .child(keyword("c1").named("C1").optional())
                   .child(keyword("c2").named("C2").optional())
                   .child(keyword("d").named("D").child(keyword("d1").named("D1").optional())))
        .child(keyword("show").named("S").optional().submode().child(
            keyword("s1").named("S1").optional()));
}

std::string visited; // names and arguments, by note

int32_t note(const tree_node_t *node, int32_t argument) {
    visited += node->name + std::string(argument == 7 ? " " : "? ");
    return -1;
}

std::string noted(const std::function<void()> &walk) {
    visited.clear();
    walk();
    return visited;
}

// The names of some nodes, "-" for none.
std::string names(const std::vector<const tree_node_t *> &nodes) {
    std::string text;
    for (const tree_node_t *node : nodes)
        text += (node == nullptr ? "-" : node->name) + std::string(" ");
    return text;
}

TEST(TraversalStack, BeginsWithOneNullEntryAndEmptiesOnReset) {
    const LoadedTree tree(small_tree());
    const tree_node_t *a = tree.node("A");
    const harness::Outcome outcome = in_child([&] {
        printf("%d %d ", atnode_stack_get_height(), atnode_depth(a));
        atnode_stack_reset();
        printf("%d ", atnode_stack_get_height());
        const tree_node_t *underflow = atnode_stack_pop();
        atnode_stack_push(g_atn);
        atnode_stack_push(a);
        puts(names({underflow, atnode_parent(a), atnode_parent(tree.node("O")),
                    atnode_stack_peek(ATN_STACK_BOTTOM), atnode_stack_peek(ATN_STACK_TOP),
                    atnode_stack_peek(5), atnode_stack_peek(256)})
                 .c_str());
        atnode_save_top();
        atnode_stack_push(tree.node("O"));
        atnode_restore_top();
        const tree_node_t *popped = atnode_stack_pop();
        const tree_node_t *vacated = atnode_stack_peek(1);
        atnode_stack_reset();
        atnode_stack_push(a);
        puts(names({popped, vacated, atnode_parent(a)}).c_str());
        return 0;
    });
    EXPECT_EQ(outcome.out, "1 2 0 - R A R A - - \nA - - \n");
    EXPECT_EQ(outcome.err, "atn stack: pop: underflow\n"
                           "atn stack: peek: no element at position 256\n"
                           "atn stack: peek: no element at position -1\n");
}

TEST(TraversalStack, CountsWhatItCannotHold) {
    const LoadedTree tree(small_tree());
    const harness::Outcome outcome = in_child([&] {
        for (int i = 0; i < 258; ++i) // the null entry takes the first slot
            atnode_stack_push(g_atn + i % 5);
        printf("%d ", atnode_stack_get_height());
        puts(names({atnode_stack_peek(ATN_STACK_TOP), atnode_parent(tree.node("A")),
                    atnode_stack_pop(), atnode_stack_pop(), atnode_stack_pop()})
                 .c_str());
        return atnode_stack_pop() == g_atn + 254 % 5 ? 0 : 1;
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "259 - - - - - \n");
    EXPECT_EQ(outcome.err, "atn stack: push: overflow\natn stack: push: overflow\n"
                           "atn stack: push: overflow\n");
}

TEST(Relations, ComeFromTheNodeAndTheStack) {
    const LoadedTree tree(small_tree());
    const harness::Outcome outcome = in_child([&] {
        atnode_stack_reset();
        atnode_stack_push(g_atn);
        const tree_node_t *o = tree.node("O");
        const tree_node_t *s = tree.node("S");
        puts(names({atnode_first_child(g_atn), atnode_nth_child(g_atn, 2),
                    atnode_nth_child(g_atn, 3), atnode_nth_child(g_atn, -1),
                    atnode_first_child(tree.node("D1")), atnode_next_sibling(o),
                    atnode_next_sibling(s), atnode_next_sibling(g_atn),
                    atnode_next_sibling(tree.node("D")), atnode_first_sibling(o),
                    atnode_first_sibling(g_atn), atnode_parent(nullptr),
                    atnode_first_sibling(nullptr), atnode_next_sibling(nullptr)})
                 .c_str());
        atnode_root_depth = 10;
        for (const tree_node_t *node : {o, tree.node("D"), g_atn})
            printf("%d %d ", atnode_child_position(node), atnode_depth(node));
        printf("%d %d", atnode_child_position(nullptr), atnode_depth(nullptr));
        return 0;
    });
    EXPECT_EQ(outcome.out, "A S - - - S - - - A R - - - \n1 12 -1 12 -1 1 -1 0");
    EXPECT_EQ(outcome.err, "problem:sibling traversal: parent not on top of stack\n");
}

TEST(Walks, VisitInTheirOrderAndLeaveTheStack) {
    const LoadedTree tree(small_tree());
    const auto around = [&](const char *parent, const std::function<void()> &walk) {
        atnode_stack_push(tree.node(parent));
        std::string names = noted(walk);
        EXPECT_EQ(atnode_stack_pop(), tree.node(parent));
        return names;
    };
    EXPECT_EQ(noted([] { atnode_traverse(g_atn, 1, 3, -1, note, 7); }),
              "R A A1 A2 A2x O C1 C2 D D1 S S1 ");
    EXPECT_EQ(noted([] { atnode_traverse(nullptr, 1, 3, -1, note, 7); }), "");
    EXPECT_EQ(noted([] { atnode_children_foreach(g_atn, note, 7); }), "A O S ");
    EXPECT_EQ(noted([&] { atnode_children_foreach(tree.node("D1"), note, 7); }), "");
    EXPECT_EQ(noted([] { atnode_sibling_foreach(g_atn, note, 7); }), "R ");
    EXPECT_EQ(around("O", [&] { atnode_sibling_foreach(tree.node("C2"), note, 7); }), "C1 C2 D ");

    const auto look_ahead = [&] { atnode_look_ahead_foreach(tree.node("A"), note, -1, 7); };
    EXPECT_EQ(around("R", look_ahead), "C1 C2 ");
    auto *submode = const_cast<tree_node_t *>(tree.node("S"));
    submode->optional = TREE_OPTIONAL_SUBMODE_ENTERED;
    EXPECT_EQ(around("R", look_ahead), "C1 C2 S1 ");
    EXPECT_EQ(around("R", [&] { atnode_look_ahead_foreach(tree.node("A"), note, 9, 7); }),
              "O C1 C2 S S1 ");
}

TEST(Lookups, TakeTheNearestPrefixIgnoringCase) {
    const LoadedTree tree(small_tree());
    const auto find = [&](const char *from, int32_t depth, const char *token) {
        const tree_node_t *found = atnode_find_token(tree.node(from), depth, token);
        return std::string(found == nullptr ? "none" : found->name);
    };
    EXPECT_EQ(find("R", 0, "SH") + find("R", -1, "o") + find("O", 0, "c"), "SOC1");
    EXPECT_EQ(find("R", 1, "TW") + find("R", 1, "d") + find("R", 2, "d"), "A2DA2x");
    for (const char *missing : {"two", "", "shows", static_cast<const char *>(nullptr)})
        EXPECT_EQ(find("R", 0, missing) + find("D1", 9, missing), "nonenone");
    EXPECT_EQ(atnode_find_token(nullptr, 1, "show"), nullptr);
    EXPECT_EQ(node_token_cmp(tree.node("A"), "ALP"), 0);
    EXPECT_NE(node_token_cmp(tree.node("A"), "alphabet"), 0);
    EXPECT_EQ(node_token_cmp(tree.node("A"), nullptr), -1);
}

TEST(NavigationTraces, ShowEveryStepInOrder) {
    const LoadedTree tree(small_tree());
    const harness::Outcome children = traced(TSH_TRACE_NAVIGATION | TSH_TRACE_FUNCTIONS, [&] {
        atnode_children_foreach(tree.node("A"), note, 7);
    });
    EXPECT_EQ(children.out, "@ Func Trace: <<< atnode_children_foreach >>>\n"
                            "@atn stack push parent: A\n"
                            "@atn node A's first child is A1\n"
                            "@   processing child A1\n"
                            "@atn stack peek TOP: loc 1: value: A\n"
                            "@ Func Trace: <<< atnode_next_sibling >>>\n"
                            "@atn_next_sibling A2\n"
                            "@   processing child A2\n"
                            "@atn stack peek TOP: loc 1: value: A\n"
                            "@ Func Trace: <<< atnode_next_sibling >>>\n"
                            "@end of siblings\n"
                            "@atn stack pop parent: A\n");

    const harness::Outcome others = traced(TSH_TRACE_NAVIGATION, [&] {
        atnode_depth(tree.node("A"));
        atnode_stack_pop();
        atnode_stack_peek(ATN_STACK_TOP);
        atnode_stack_push(g_atn);
        atnode_child_position(tree.node("O"));
        atnode_traverse(tree.node("D"), 1, 3, -1, note, 7);
        atnode_find_token(tree.node("S"), 0, "x");
        atnode_stack_reset();
    });
    char addresses[100];
    snprintf(addresses, sizeof addresses, "@\nRoot index: %p\n@atn child #0, index #%p, token s1\n",
             static_cast<const void *>(tree.node("S")), static_cast<const void *>(tree.node("S1")));
    EXPECT_EQ(others.out, "@atn stack peek TOP: loc 0: value: (null)\n"
                          "@@atn stack height: 1\n"
                          "atn node A depth 2\n"
                          "@atn stack height: 1\n"
                          "@atn stack pop parent: (null)\n"
                          "@atn stack peek TOP: STACK EMPTY\n"
                          "@atn stack push parent: R\n"
                          "@atn stack peek TOP: loc 0: value: R\n"
                          "@atn child O position is 1\n"
                          "@atn preorder traverse subtree under node D\n"
                          "@atn visiting node D #children 1\n"
                          "@atn child #0 for node D\n"
                          "@atn visiting node D1 #children 0\n" +
                              std::string(addresses) +
                              "@atn Depth expired, aborting"
                              "@\nprint atn stack\n----------------\n"
                              "@stack.atn_traverse_stack[0] = R\n"
                              "@-x- end atn stack -x-\n\n");
}

} // namespace
