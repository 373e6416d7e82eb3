// Tree walks: preorder by index, the others by the sibling relations of the traversal stack.
#include "atnode/walk.h"

#include "atnode/navigation_internal.h"

using tsh::child_at;
using tsh::label;
using tsh::trace;
using tsh::trace_function;
using tsh::traces_navigation;

namespace {

bool may_look_ahead(const tree_node_t *node) {
    return (node->flags & TREE_FLAG_SUBMODE) == 0 ||
           node->optional == TREE_OPTIONAL_SUBMODE_ENTERED;
}

constexpr int32_t kFetchedAhead = 6; // children

// Prefetches the fields of a child that the walk will read, while other children are visited:
// records are far apart, and a visit takes less time than a memory access.
void fetch_child(const tree_node_t *node, int32_t position) {
    if (position < node->child_count)
        __builtin_prefetch(&child_at(node, position)->child_count);
}

void visit_node(const tree_node_t *node, atnode_visit_t visit, int32_t argument) {
    if (traces_navigation())
        trace("atn visiting node %s #children %d\n", label(node), node->child_count);
    for (int32_t i = 0; i < kFetchedAhead; ++i)
        fetch_child(node, i);
    visit(node, argument);
}

const tree_node_t *child_in_turn(const tree_node_t *node, int32_t position) {
    fetch_child(node, position + kFetchedAhead);
    if (traces_navigation())
        trace("atn child #%d for node %s\n", position, label(node));
    return child_at(node, position);
}

// A step of a preorder walk: to a child, by its position in the parent's list.
struct WalkStep {
    uint16_t index;
    uint16_t position;
};

// A walk must neither allocate nor recurse at every level. Each call handles this many levels
// before it recurses: in total, 300 KB of call stack for 65,536 levels.
constexpr size_t kLevelsPerCall = 512;

} // namespace

void atnode_traverse(const tree_node_t *node, int32_t carried1, int32_t carried2, int32_t carried3,
                     atnode_visit_t visit, int32_t argument) {
    if (node == nullptr)
        return;
    if (traces_navigation())
        trace("atn preorder traverse subtree under node %s\n", label(node));
    atn_preorder_traverse(node, visit, carried1, carried2, carried3, argument);
}

void atn_preorder_traverse(const tree_node_t *node, atnode_visit_t visit, int32_t carried1,
                           int32_t carried2, int32_t carried3, int32_t argument) {
    const tree_node_t *const first = node;
    WalkStep path[kLevelsPerCall]; // from the first node to the current node
    size_t depth = 0;
    visit_node(node, visit, argument);
    for (int32_t position = 0;;) {
        if (position < node->child_count) {
            const tree_node_t *child = child_in_turn(node, position);
            if (depth == kLevelsPerCall) {
                atn_preorder_traverse(child, visit, carried1, carried2, carried3, argument);
                ++position;
                continue;
            }
            path[depth++] = {node->children[position], static_cast<uint16_t>(position)};
            node = child;
            position = 0;
            visit_node(node, visit, argument);
        } else if (depth > 0) {
            position = path[--depth].position + 1;
            node = depth == 0 ? first : g_atn + path[depth - 1].index;
        } else {
            return;
        }
    }
}

void atnode_children_foreach(const tree_node_t *node, atnode_visit_t visit, int32_t argument) {
    trace_function("atnode_children_foreach");
    atnode_stack_push(node);
    for (const tree_node_t *child = atnode_first_child(node); child != nullptr;
         child = atnode_next_sibling(child)) {
        if (traces_navigation())
            trace("   processing child %s\n", label(child));
        visit(child, argument);
    }
    atnode_stack_pop();
}

void atnode_sibling_foreach(const tree_node_t *node, atnode_visit_t visit, int32_t argument) {
    const tree_node_t *sibling = atnode_first_sibling(node);
    trace_function("atnode_sibling_foreach");
    for (; sibling != nullptr; sibling = atnode_next_sibling(sibling)) {
        if (traces_navigation())
            trace("atn sibling %s foreach\n", label(sibling));
        visit(sibling, argument);
    }
}

void atnode_look_ahead_foreach(const tree_node_t *node, atnode_visit_t visit, int32_t depth,
                               int32_t argument) {
    trace_function("atnode_look_ahead_foreach");
    if (depth < 0)
        depth = atnode_depth(node);
    if (node == nullptr)
        return;
    if (traces_navigation())
        trace("atn look ahead foreach node %s\n", label(node));
    for (const tree_node_t *sibling = atnode_first_sibling(node); sibling != nullptr;
         sibling = atnode_next_sibling(sibling)) {
        if (sibling->optional == 0)
            continue;
        if (atnode_depth(sibling) != depth) {
            if (traces_navigation())
                trace("atn look ahead foreach processing node %s\n", label(sibling));
            visit(sibling, argument);
        }
        if (!may_look_ahead(sibling))
            continue;
        atnode_stack_push(sibling);
        if (const tree_node_t *child = atnode_first_child(sibling))
            atnode_look_ahead_foreach(child, visit, depth, argument);
        atnode_stack_pop();
    }
}
