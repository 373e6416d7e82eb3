// Tests of navigation: traversal stack, relations, walks and lookups, with their traces.
#include "atnode/lookup.h"
#include "atnode/walk.h"
#include "feature/tsh/src/trace.h"
#include "tests/support/harness.h"
#include "tests/support/loaded_tree.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace {

using grammar::keyword;
using harness::LoadedTree;
using harness::traced;
using Names = std::vector<std::string>;

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

Names visited; // with arguments other than the walk's

int32_t note(const tree_node_t *node, int32_t argument) {
    visited.push_back(node->name + std::string(argument == 7 ? "" : "?"));
    return -1;
}

Names noted(const std::function<void()> &walk) {
    visited.clear();
    walk();
    return visited;
}

std::string reported(const std::function<void()> &code) {
    testing::internal::CaptureStderr();
    code();
    return testing::internal::GetCapturedStderr();
}

// Fixture with the initial state of the process and a small loaded tree.
class Navigation : public testing::Test {
protected:
    Navigation() : tree_(small_tree()) {
        stack = {};
        atnode_root_depth = 0;
        r = tree_.node("R");
        a = tree_.node("A");
        o = tree_.node("O");
        s = tree_.node("S");
        // The contents of unused links must be ignored.
        for (const tree_node_t *node = r; node <= tree_.node("S1"); ++node)
            std::fill(const_cast<uint16_t *>(node->children) + node->child_count,
                      const_cast<uint16_t *>(std::end(node->children)),
                      static_cast<uint16_t>(s - r));
    }

    LoadedTree tree_;
    const tree_node_t *r, *a, *o, *s;
};

TEST_F(Navigation, TheStackBeginsWithOneNullEntryAndEmptiesOnReset) {
    EXPECT_EQ(atnode_stack_get_height(), 1);
    EXPECT_EQ(atnode_stack_peek(ATN_STACK_BOTTOM), nullptr);
    EXPECT_EQ(atnode_depth(a), 2);
    atnode_stack_reset();
    EXPECT_EQ(atnode_stack_get_height(), 0);
    EXPECT_EQ(atnode_stack_peek(ATN_STACK_TOP), nullptr);
    EXPECT_EQ(atnode_stack_peek(ATN_STACK_BOTTOM), nullptr);
    EXPECT_EQ(reported([] { EXPECT_EQ(atnode_stack_pop(), nullptr); }),
              "atn stack: pop: underflow\n");
    EXPECT_EQ(atnode_stack_get_height(), 0);

    atnode_stack_push(a);
    EXPECT_EQ(reported([&] { EXPECT_EQ(atnode_parent(a), nullptr); }),
              "atn stack: peek: no element at position -1\n");
    atnode_stack_push(o);
    EXPECT_EQ(atnode_parent(o), a);
    EXPECT_EQ(atnode_parent(s), o);
    EXPECT_EQ(atnode_stack_peek(ATN_STACK_BOTTOM), a);
    EXPECT_EQ(atnode_stack_peek(ATN_STACK_TOP), o);
    EXPECT_EQ(atnode_stack_peek(1), o);
    EXPECT_EQ(atnode_stack_peek(255), nullptr);
    EXPECT_EQ(reported([] { EXPECT_EQ(atnode_stack_peek(256), nullptr); }),
              "atn stack: peek: no element at position 256\n");
    atnode_save_top();
    atnode_stack_push(s);
    atnode_restore_top();
    EXPECT_EQ(atnode_stack_pop(), o);
    EXPECT_EQ(atnode_stack_peek(1), nullptr) << "vacated";
    EXPECT_EQ(atnode_stack_get_height(), 1);
}

TEST_F(Navigation, TheStackCountsPushesBeyondItsCapacity) {
    const std::string overflow = "atn stack: push: overflow\n";
    EXPECT_EQ(reported([&] {
                  for (int i = 0; i < 257; ++i) // the null entry is in the first slot
                      atnode_stack_push(g_atn + i % 5);
              }),
              overflow + overflow);
    EXPECT_EQ(atnode_stack_get_height(), 258);
    EXPECT_EQ(atnode_stack_peek(ATN_STACK_TOP), nullptr);
    EXPECT_EQ(atnode_parent(a), nullptr);
    EXPECT_EQ(atnode_stack_pop(), nullptr);
    EXPECT_EQ(atnode_stack_pop(), nullptr);
    EXPECT_EQ(atnode_stack_pop(), g_atn + 254 % 5);
    EXPECT_EQ(atnode_stack_get_height(), 255);
}

TEST_F(Navigation, RelationsComeFromTheNodeAndTheStack) {
    atnode_stack_reset();
    EXPECT_EQ(atnode_first_sibling(o), nullptr) << "no parent yet";
    atnode_stack_push(r);
    EXPECT_EQ(atnode_first_child(r), a);
    EXPECT_EQ(atnode_first_child(tree_.node("D1")), nullptr);
    EXPECT_EQ(atnode_nth_child(r, 0), a);
    EXPECT_EQ(atnode_nth_child(r, 2), s);
    EXPECT_EQ(atnode_nth_child(r, 3), nullptr);
    EXPECT_EQ(atnode_nth_child(r, -1), nullptr);
    EXPECT_EQ(atnode_first_sibling(o), a);
    EXPECT_EQ(atnode_first_sibling(r), r);
    EXPECT_EQ(atnode_next_sibling(o), s);
    EXPECT_EQ(atnode_next_sibling(s), nullptr);
    EXPECT_EQ(atnode_next_sibling(r), nullptr);
    EXPECT_EQ(atnode_child_position(a), 0);
    EXPECT_EQ(atnode_child_position(s), 2);
    EXPECT_EQ(atnode_child_position(r), -1);
    EXPECT_EQ(atnode_child_position(tree_.node("D")), -1);
    const std::string stray = "problem:sibling traversal: parent not on top of stack\n";
    EXPECT_EQ(reported([&] { EXPECT_EQ(atnode_next_sibling(tree_.node("D")), nullptr); }), stray);

    atnode_root_depth = 10;
    EXPECT_EQ(atnode_depth(r), 1);
    EXPECT_EQ(atnode_depth(o), 12);
    atnode_stack_push(o);
    EXPECT_EQ(atnode_depth(o), 12) << "on top itself";
    EXPECT_EQ(atnode_next_sibling(o), s);
    EXPECT_EQ(atnode_child_position(o), 1);
    EXPECT_EQ(atnode_child_position(s), -1);
    EXPECT_EQ(atnode_parent(r), nullptr);
    atnode_stack_push(tree_.node("D1"));
    EXPECT_EQ(atnode_first_sibling(o), nullptr) << "below a node without children";
    EXPECT_EQ(reported([&] { EXPECT_EQ(atnode_next_sibling(o), nullptr); }), stray);
}

TEST_F(Navigation, NullNodesHaveNoRelations) {
    atnode_stack_push(o);
    EXPECT_EQ(atnode_first_child(nullptr), nullptr);
    EXPECT_EQ(atnode_nth_child(nullptr, 0), nullptr);
    EXPECT_EQ(atnode_parent(nullptr), nullptr);
    EXPECT_EQ(atnode_first_sibling(nullptr), nullptr);
    EXPECT_EQ(atnode_next_sibling(nullptr), nullptr);
    EXPECT_EQ(atnode_child_position(nullptr), -1);
    EXPECT_EQ(atnode_depth(nullptr), 0);
    EXPECT_EQ(atnode_find_token(nullptr, 1, "show"), nullptr);
    EXPECT_EQ(node_token_cmp(nullptr, "show"), -1);
    EXPECT_EQ(noted([] { atnode_traverse(nullptr, 1, 3, -1, note, 7); }), Names());
    EXPECT_EQ(noted([] { atnode_sibling_foreach(nullptr, note, 7); }), Names());
    EXPECT_EQ(noted([] { atnode_look_ahead_foreach(nullptr, note, -1, 7); }), Names());
}

TEST_F(Navigation, WalksVisitInOrderAndDoNotChangeTheStack) {
    const auto below = [&](const char *parent, const std::function<void()> &walk) {
        atnode_stack_push(tree_.node(parent));
        Names names = noted(walk);
        EXPECT_EQ(atnode_stack_pop(), tree_.node(parent));
        return names;
    };
    EXPECT_EQ(noted([&] { atnode_traverse(r, 1, 3, -1, note, 7); }),
              Names({"R", "A", "A1", "A2", "A2x", "O", "C1", "C2", "D", "D1", "S", "S1"}));
    EXPECT_EQ(noted([&] { atnode_children_foreach(r, note, 7); }), Names({"A", "O", "S"}));
    EXPECT_EQ(noted([&] { atnode_children_foreach(tree_.node("D1"), note, 7); }), Names());
    EXPECT_EQ(noted([&] { atnode_sibling_foreach(r, note, 7); }), Names({"R"}));
    EXPECT_EQ(below("O", [&] { atnode_sibling_foreach(tree_.node("C2"), note, 7); }),
              Names({"C1", "C2", "D"}));

    const auto look_ahead = [&](int32_t depth) {
        return below("R", [&] { atnode_look_ahead_foreach(a, note, depth, 7); });
    };
    EXPECT_EQ(look_ahead(-1), Names({"C1", "C2"}));
    const_cast<tree_node_t *>(s)->optional = TREE_OPTIONAL_SUBMODE_ENTERED;
    EXPECT_EQ(look_ahead(-1), Names({"C1", "C2", "S1"}));
    EXPECT_EQ(look_ahead(0), Names({"O", "C1", "C2", "S", "S1"})) << "nothing lies at depth 0";
    EXPECT_EQ(look_ahead(4), Names({"O", "S"}));
    EXPECT_EQ(atnode_stack_get_height(), 1);
}

TEST_F(Navigation, TokensCompareIgnoringCase) {
    EXPECT_EQ(node_token_cmp(a, "ALP"), 0);
    EXPECT_LT(node_token_cmp(a, "alphabet"), 0);
    EXPECT_GT(node_token_cmp(a, "Aa"), 0);
    EXPECT_EQ(node_token_cmp(a, nullptr), -1);
    EXPECT_EQ(atnode_find_token(r, 1, ""), nullptr);
}

class NavigationTraces : public Navigation {
protected:
    // Every operation with every result.
    void every_step() {
        const tree_node_t *d = tree_.node("D");
        const tree_node_t *d1 = tree_.node("D1");
        atnode_stack_peek(ATN_STACK_BOTTOM);
        atnode_depth(a);
        atnode_stack_pop();
        atnode_stack_peek(ATN_STACK_TOP);
        atnode_stack_peek(ATN_STACK_BOTTOM);
        atnode_stack_push(r);
        atnode_stack_peek(1);
        atnode_first_child(d1);
        atnode_nth_child(r, 0);
        atnode_nth_child(r, 3);
        atnode_child_position(o);
        atnode_child_position(d);
        atnode_children_foreach(a, note, 7);
        atnode_sibling_foreach(s, note, 7);
        atnode_stack_push(s);
        atnode_look_ahead_foreach(tree_.node("S1"), note, 1, 7);
        atnode_stack_push(tree_.node("A2"));
        atnode_look_ahead_foreach(tree_.node("A2x"), note, -1, 7);
        atnode_traverse(d, 1, 3, -1, note, 7);
        atnode_find_token(s, 0, "x");
        atnode_find_token(s, 0, "S");
        node_token_cmp(a, "x");
        atnode_stack_push(d1);
        atnode_first_sibling(a);
        atnode_child_position(a);
        atnode_stack_reset();
        stack.atn_stack_top = ATN_STACK_SIZE - 1;
        atnode_stack_push(r);
    }

    // Replaces addresses by the names of their nodes.
    std::string with_names(std::string text) {
        for (const tree_node_t *node : {s, tree_.node("S1")}) {
            char address[40];
            snprintf(address, sizeof address, "%p", static_cast<const void *>(node));
            for (size_t at = 0; (at = text.find(address, at)) != std::string::npos;)
                text.replace(at, strlen(address), node->name);
        }
        return text;
    }
};

TEST_F(NavigationTraces, ShowEveryStepInOrder) {
    const harness::Outcome outcome =
        traced(TSH_TRACE_NAVIGATION | TSH_TRACE_FUNCTIONS, [&] { every_step(); });
    EXPECT_EQ(with_names(outcome.out), harness::read_file(TEST_FILES "/traces/navigation.txt"));
    EXPECT_EQ(outcome.err, "atn stack: push: overflow\n");
}

TEST_F(NavigationTraces, AreDisabledByClearBits) {
    const harness::Outcome outcome =
        traced(~(TSH_TRACE_NAVIGATION | TSH_TRACE_FUNCTIONS), [&] { every_step(); });
    EXPECT_EQ(outcome.out, "");
}

} // namespace
