// Traversal stack. Positions after the last slot are counted but not stored.
#include "atnode/stack.h"

#include "atnode/navigation_internal.h"

#include <cstdio>

using tsh::label;
using tsh::trace;
using tsh::traces_navigation;

atn_stack_t stack;

namespace {

bool has_slot(int32_t position) {
    return position >= 0 && position < ATN_STACK_SIZE;
}

const tree_node_t *entry(int32_t position) {
    return has_slot(position) ? stack.atn_traverse_stack[position] : nullptr;
}

const tree_node_t *peek_top() {
    if (stack.atn_stack_top < 0) {
        if (traces_navigation())
            trace("atn stack peek TOP: STACK EMPTY\n");
        return nullptr;
    }
    const tree_node_t *top = entry(stack.atn_stack_top);
    if (traces_navigation())
        trace("atn stack peek TOP: loc %d: value: %s\n", stack.atn_stack_top, label(top));
    return top;
}

const tree_node_t *peek_bottom() {
    if (stack.atn_stack_top < 0) {
        if (traces_navigation())
            trace("atn stack peek BOTTOM: STACK EMPTY\n");
        return nullptr;
    }
    const tree_node_t *bottom = entry(ATN_STACK_BOTTOM);
    if (traces_navigation())
        trace("atn stack peek BOTTOM: %s\n", label(bottom));
    return bottom;
}

} // namespace

void atnode_stack_push(const tree_node_t *node) {
    if (stack.atn_stack_top >= ATN_STACK_SIZE - 1)
        fputs("atn stack: push: overflow\n", stderr);
    if (traces_navigation())
        trace("atn stack push parent: %s\n", label(node));
    ++stack.atn_stack_top;
    if (has_slot(stack.atn_stack_top))
        stack.atn_traverse_stack[stack.atn_stack_top] = node;
    else if (traces_navigation())
        trace("atn stack: push:overflow \n");
}

const tree_node_t *atnode_stack_pop(void) {
    if (stack.atn_stack_top < 0) {
        fputs("atn stack: pop: underflow\n", stderr);
        return nullptr;
    }
    const tree_node_t *top = entry(stack.atn_stack_top);
    if (has_slot(stack.atn_stack_top))
        stack.atn_traverse_stack[stack.atn_stack_top] = nullptr;
    if (traces_navigation())
        trace("atn stack pop parent: %s\n", label(top));
    --stack.atn_stack_top;
    return top;
}

const tree_node_t *atnode_stack_peek(int32_t position) {
    if (position == ATN_STACK_TOP)
        return peek_top();
    if (position == ATN_STACK_BOTTOM)
        return peek_bottom();
    if (!has_slot(position)) {
        fprintf(stderr, "atn stack: peek: no element at position %d\n", position);
        return nullptr;
    }
    const tree_node_t *found = entry(position);
    if (traces_navigation())
        trace("atn stack peek loc: %d value: %s\n", position, label(found));
    return found;
}

int32_t atnode_stack_get_height(void) {
    const int32_t height = stack.atn_stack_top + 1;
    if (traces_navigation())
        trace("atn stack height: %d\n", height);
    return height;
}

void atnode_stack_reset(void) {
    atn_print_stack();
    stack.atn_stack_top = -1;
}

void atnode_save_top(void) {
    stack.atn_saved_top = stack.atn_stack_top;
}

void atnode_restore_top(void) {
    stack.atn_stack_top = stack.atn_saved_top;
}

void atn_print_stack(void) {
    if (!traces_navigation())
        return;
    trace("\nprint atn stack\n----------------\n");
    for (int32_t slot = stack.atn_stack_top; slot >= 0; --slot)
        trace("stack.atn_traverse_stack[%d] = %s\n", slot, label(entry(slot)));
    trace("-x- end atn stack -x-\n\n");
}
