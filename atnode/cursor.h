/* Cursors: positions in a tree that store the path from the root, since nodes have no parent links.
 * A cursor has no fixed depth and does not depend on process-wide state. Several cursors may walk
 * one tree at the same time, each used by one thread. */
#ifndef TSH_ATNODE_CURSOR_H
#define TSH_ATNODE_CURSOR_H

#include "parse_tree/tree.h"
/** A node and the path to it, of any depth. */
typedef struct tsh_cursor_t tsh_cursor_t;

/** Creates a cursor at the root of a tree. The tree must stay open as long as the cursor is used.
 * Allocates all memory at once, 4 bytes per node of the tree, so that no move can run out of
 * memory.
 * @return the cursor, released with tsh_cursor_free; null if out of memory. */
TSH_API tsh_cursor_t *tsh_cursor_new(const tsh_tree_t *tree);

/** Releases a cursor; null is ignored. */
TSH_API void tsh_cursor_free(tsh_cursor_t *cursor);

/** Returns the node at the cursor. */
TSH_API const tree_node_t *tsh_cursor_node(const tsh_cursor_t *cursor);

/** Returns the number of nodes on the path from the root to the cursor, including both: 1 at the
 * root. */
TSH_API uint32_t tsh_cursor_depth(const tsh_cursor_t *cursor);

/** Returns the ancestor at the given number of levels up: 0 is the node itself, 1 its parent on the
 * path.
 * @return null above the root. */
TSH_API const tree_node_t *tsh_cursor_ancestor(const tsh_cursor_t *cursor, uint32_t levels);

/** Returns the position of the node in its parent's list, counted from 0; -1 at the root. */
TSH_API int32_t tsh_cursor_position(const tsh_cursor_t *cursor);

/** Move the cursor, and return the node reached. If there is no such node, return null and do not
 * move the cursor. */
TSH_API const tree_node_t *tsh_cursor_to_child(tsh_cursor_t *cursor, uint32_t n);
TSH_API const tree_node_t *tsh_cursor_to_next_sibling(tsh_cursor_t *cursor);
TSH_API const tree_node_t *tsh_cursor_to_parent(tsh_cursor_t *cursor);

/** Moves the cursor in preorder: to the first child, else to the next sibling of the node or of its
 * nearest ancestor that has one. A shared node is visited once per path.
 * @return the node reached; null after the last node, with the cursor back at the root. */
TSH_API const tree_node_t *tsh_cursor_next(tsh_cursor_t *cursor);

/** Moves the cursor in the same way, but skips the descendants of the node. */
TSH_API const tree_node_t *tsh_cursor_skip(tsh_cursor_t *cursor);

#endif
