// Cursors: the path from the root, one step per level.
#include "atnode/cursor.h"

#include "base/owners.h"

#include <new>
#include <utility>

namespace {

struct Step {
    uint16_t index;
    uint16_t position; // in the child list of the previous step
};

} // namespace

struct tsh_cursor_t {
    const tsh_tree_t *tree;
    base::Block<Step> path; // no path of a valid tree has more steps than the tree has nodes
    uint32_t depth;
};

namespace {

const tree_node_t *node_at(const tsh_cursor_t &cursor, uint32_t level) {
    return tsh_tree_root(cursor.tree) + cursor.path.get()[level].index;
}

} // namespace

tsh_cursor_t *tsh_cursor_new(const tsh_tree_t *tree) {
    base::Block<Step> path{static_cast<Step *>(calloc(tsh_tree_node_count(tree), sizeof(Step)))};
    if (path == nullptr)
        return nullptr;
    return new (std::nothrow) tsh_cursor_t{tree, std::move(path), 1};
}

void tsh_cursor_free(tsh_cursor_t *cursor) {
    delete cursor;
}

const tree_node_t *tsh_cursor_node(const tsh_cursor_t *cursor) {
    return node_at(*cursor, cursor->depth - 1);
}

uint32_t tsh_cursor_depth(const tsh_cursor_t *cursor) {
    return cursor->depth;
}

const tree_node_t *tsh_cursor_ancestor(const tsh_cursor_t *cursor, uint32_t levels) {
    return levels < cursor->depth ? node_at(*cursor, cursor->depth - 1 - levels) : nullptr;
}

int32_t tsh_cursor_position(const tsh_cursor_t *cursor) {
    return cursor->depth == 1 ? -1 : cursor->path.get()[cursor->depth - 1].position;
}

const tree_node_t *tsh_cursor_to_child(tsh_cursor_t *cursor, uint32_t n) {
    const tree_node_t *child = tsh_tree_child(cursor->tree, tsh_cursor_node(cursor), n);
    if (child != nullptr)
        cursor->path.get()[cursor->depth++] = {
            static_cast<uint16_t>(tsh_tree_index(cursor->tree, child)), static_cast<uint16_t>(n)};
    return child;
}

const tree_node_t *tsh_cursor_to_next_sibling(tsh_cursor_t *cursor) {
    if (cursor->depth == 1)
        return nullptr;
    Step &step = cursor->path.get()[cursor->depth - 1];
    const auto position = static_cast<uint16_t>(step.position + 1);
    const tree_node_t *sibling =
        tsh_tree_child(cursor->tree, node_at(*cursor, cursor->depth - 2), position);
    if (sibling != nullptr)
        step = {static_cast<uint16_t>(tsh_tree_index(cursor->tree, sibling)), position};
    return sibling;
}

const tree_node_t *tsh_cursor_to_parent(tsh_cursor_t *cursor) {
    if (cursor->depth == 1)
        return nullptr;
    --cursor->depth;
    return tsh_cursor_node(cursor);
}

const tree_node_t *tsh_cursor_next(tsh_cursor_t *cursor) {
    const tree_node_t *child = tsh_cursor_to_child(cursor, 0);
    return child != nullptr ? child : tsh_cursor_skip(cursor);
}

const tree_node_t *tsh_cursor_skip(tsh_cursor_t *cursor) {
    do {
        if (const tree_node_t *sibling = tsh_cursor_to_next_sibling(cursor))
            return sibling;
    } while (tsh_cursor_to_parent(cursor) != nullptr);
    return nullptr;
}
