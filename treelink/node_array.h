/* A growable node array for programs that build their own trees, and adjustment of child indices.
 */
#ifndef TSH_TREELINK_NODE_ARRAY_H
#define TSH_TREELINK_NODE_ARRAY_H

#include "parse_tree/tree_node.h"

/** The growable array. A growing call sets the capacity; after an exact call, the program must set
 * it before the array may grow. */
TSH_API tree_node_t *tsh_main_tree;
TSH_API uint32_t tsh_main_tree_node_count; /**< Nodes in use, set by the program. */
TSH_API uint32_t tsh_main_tree_max_nodes;  /**< Capacity in nodes. */

#define ASSIGN_SPACE_EXACT 20 /**< A mode of assign_space. */

/** Allocates memory for tsh_main_tree; new nodes are all zero.
 * - ASSIGN_SPACE_EXACT: allocates a new array of node_count nodes. Count and capacity do not
 * change, and the program must release the previous array.
 * - Any other mode: allocates an array of 5 nodes if there is none, then doubles the capacity until
 *   node_count more nodes fit (sum in 32 bits). If the capacity is 0, the array is assumed to
 *   contain only the nodes in use. If the array cannot grow, exits with status 255 after a message
 *   on standard output.
 * @return 0. */
TSH_API int32_t assign_space(int8_t mode, uint32_t node_count);

/** Adds first to every child index of nodes first .. first + count - 1, in 16 bits. */
TSH_API void adjust_indices(tree_node_t *nodes, uint32_t first, uint32_t count);

#endif
