/* Cursors: places in a tree that remember their ancestors, since nodes have no parent links. A
 * cursor has no fixed depth and depends on no process-wide state; several may walk one tree at a
 * time, each used by one thread. */
#ifndef TSH_ATNODE_CURSOR_H
#define TSH_ATNODE_CURSOR_H

#include "parse_tree/tree.h"
/** A node and the path to it, of any depth. */
typedef struct tsh_cursor_t tsh_cursor_t;

/** A cursor at the root of a tree, which must stay open meanwhile. All memory is taken here, 4
 * bytes for each node of the tree, so that no move can fail for lack of it.
 * @return the cursor, released with tsh_cursor_free; null without memory. */
TSH_API tsh_cursor_t *tsh_cursor_new(const tsh_tree_t *tree);

/** Releases a cursor; null is ignored. */
TSH_API void tsh_cursor_free(tsh_cursor_t *cursor);

/** The node at the cursor. */
TSH_API const tree_node_t *tsh_cursor_node(const tsh_cursor_t *cursor);

/** Nodes on the path from the root to the cursor, both included: 1 at the root. */
TSH_API uint32_t tsh_cursor_depth(const tsh_cursor_t *cursor);

/** The ancestor so many levels up: 0 is the node itself, 1 its parent on the path.
 * @return null above the root. */
TSH_API const tree_node_t *tsh_cursor_ancestor(const tsh_cursor_t *cursor, uint32_t levels);

/** Position of the node in its parent's list, counted from 0; -1 at the root. */
TSH_API int32_t tsh_cursor_position(const tsh_cursor_t *cursor);

/** The moves. Each returns the node that it reached, or null when there is none: the cursor then
 * stays where it is. */
TSH_API const tree_node_t *tsh_cursor_to_child(tsh_cursor_t *cursor, uint32_t n);
TSH_API const tree_node_t *tsh_cursor_to_next_sibling(tsh_cursor_t *cursor);
TSH_API const tree_node_t *tsh_cursor_to_parent(tsh_cursor_t *cursor);

/** Moves on in preorder: to the first child, else to the next sibling of the node or of its nearest
 * ancestor that has one. A shared node is visited once per path.
 * @return the node reached; null after the last node, with the cursor back at the root. */
TSH_API const tree_node_t *tsh_cursor_next(tsh_cursor_t *cursor);

/** The same without the descendants of the node. */
TSH_API const tree_node_t *tsh_cursor_skip(tsh_cursor_t *cursor);

#endif
