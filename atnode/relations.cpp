// Parents, children, siblings and depth, with traces in the order of their lookups.
#include "atnode/relations.h"

#include "atnode/navigation_internal.h"

#include <cstdio>

using tsh::child_at;
using tsh::label;
using tsh::trace;
using tsh::traces_navigation;

int32_t atnode_root_depth;

namespace {

constexpr int32_t kNotListed = -1;

int32_t position_in(const tree_node_t *parent, const tree_node_t *node) {
    for (int32_t i = 0; i < parent->child_count; ++i)
        if (child_at(parent, i) == node)
            return i;
    return kNotListed;
}

const tree_node_t *end_of_siblings() {
    if (traces_navigation())
        trace("end of siblings\n");
    return nullptr;
}

} // namespace

const tree_node_t *atnode_first_child(const tree_node_t *node) {
    if (node == nullptr)
        return nullptr;
    if (node->child_count == 0) {
        if (traces_navigation())
            trace("atn node %s has no children\n", label(node));
        return nullptr;
    }
    const tree_node_t *child = child_at(node, 0);
    if (traces_navigation())
        trace("atn node %s's first child is %s\n", label(node), label(child));
    return child;
}

const tree_node_t *atnode_nth_child(const tree_node_t *node, int32_t n) {
    if (node == nullptr)
        return nullptr;
    if (n < 0 || n >= node->child_count) {
        if (traces_navigation())
            trace("atn child #%d for node %s does not exist\n", n, label(node));
        return nullptr;
    }
    const tree_node_t *child = child_at(node, n);
    if (traces_navigation())
        trace("atn child #%d for node %s is %s\n", n, label(node), label(child));
    return child;
}

const tree_node_t *atnode_parent(const tree_node_t *node) {
    if (node == nullptr || node == g_atn)
        return nullptr;
    const tree_node_t *top = atnode_stack_peek(ATN_STACK_TOP);
    return node == top ? atnode_stack_peek(stack.atn_stack_top - 1) : top;
}

const tree_node_t *atnode_first_sibling(const tree_node_t *node) {
    if (node == nullptr || node == g_atn)
        return node;
    const tree_node_t *parent = atnode_parent(node);
    if (parent == nullptr)
        return nullptr;
    if (parent->child_count == 0) {
        if (traces_navigation())
            trace("atn node %s has no children\n", label(node));
        return nullptr;
    }
    const tree_node_t *sibling = child_at(parent, 0);
    if (traces_navigation())
        trace("atn node %s's first sibling is %s\n", label(node), label(sibling));
    return sibling;
}

const tree_node_t *atnode_next_sibling(const tree_node_t *node) {
    const tree_node_t *parent = atnode_parent(node);
    tsh::trace_function("atnode_next_sibling");
    if (parent == nullptr)
        return end_of_siblings();
    const int32_t position = position_in(parent, node);
    if (position == kNotListed) {
        fputs("problem:sibling traversal: parent not on top of stack\n", stderr);
        return nullptr;
    }
    if (position + 1 >= parent->child_count)
        return end_of_siblings();
    const tree_node_t *sibling = child_at(parent, position + 1);
    if (traces_navigation())
        trace("atn_next_sibling %s\n", label(sibling));
    return sibling;
}

int32_t atnode_child_position(const tree_node_t *node) {
    const tree_node_t *parent = atnode_parent(node);
    if (parent == nullptr)
        return kNotListed;
    const int32_t position = position_in(parent, node);
    if (traces_navigation()) {
        if (position == kNotListed)
            trace("atn no such child\n");
        else
            trace("atn child %s position is %d\n", label(node), position);
    }
    return position;
}

int32_t atnode_depth(const tree_node_t *node) {
    if (node == g_atn)
        return 1;
    if (node == nullptr)
        return 0;
    const int32_t below_top = node == atnode_stack_peek(ATN_STACK_TOP) ? 0 : 1;
    if (traces_navigation()) {
        tsh::trace_time();
        const int32_t depth = atnode_stack_get_height() + below_top;
        tsh::trace_text("atn node %s depth %d\n", label(node), depth);
    }
    return atnode_stack_get_height() + below_top + atnode_root_depth;
}
