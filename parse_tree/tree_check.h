/* Validation of array trees: named checks that a tree must pass before its child indices are used.
 */
#ifndef TSH_PARSE_TREE_TREE_CHECK_H
#define TSH_PARSE_TREE_TREE_CHECK_H

#include "parse_tree/tree_node.h"

/** One error of a tree. */
typedef struct tsh_tree_fault_t {
    const char *check; /**< Name of the check, see tsh_tree_check_name. */
    const char *what;  /**< The error in words, such as "child_count exceeds 192". */
    uint32_t node;     /**< Index of the invalid node. */
    int32_t position;  /**< Position of the invalid link in the child list, or -1 if the error
                            concerns no link. */
    uint16_t child;    /**< Child index of this link, possibly out of range; 0 without a link. */
} tsh_tree_fault_t;

/** Receives one error, valid until the function returns. A nonzero result stops the check. */
typedef int32_t (*tsh_tree_fault_fn)(const tsh_tree_fault_t *fault, void *context);

/** Reports every error of a tree in host byte order: first the errors of each record in the order
 * of the array, reachable or not, then the cycles that node 0 reaches. For each cycle, the reported
 * node is the one whose link closes it in a walk in the order of the child lists. Depth is not
 * limited. Records after the 65,536th cannot be addressed by child indices and are not checked.
 * Skips only the checks that depend on an invalid record: links out of range, and links of a node
 * with too many children, are not followed. Runs in linear time in nodes and links, without
 * recursion. If all links lead to later records, no memory is needed; otherwise 4 bytes per node.
 * If there is none, check "cycle" reports this for node 0.
 * @param report may be null if only the number is of interest.
 * @return the number of errors reported, including one that stopped the check; 0 for a valid tree.
 */
TSH_API uint32_t tsh_tree_check(const tree_node_t *nodes, uint32_t node_count,
                                tsh_tree_fault_fn report, void *context);

/** Returns the name of a check, from index 0 in the order in which a record is checked; null after
 * the last. The names: "child-count", "param-count", "child-index", "child-twice",
 * "unterminated-text" and "cycle". */
TSH_API const char *tsh_tree_check_name(uint32_t index);

/** Size of a buffer for the text of any error, including its NUL. */
#define TSH_TREE_FAULT_TEXT_SIZE 640

/** Writes an error of the tree as text: the node's index and name, the error, and the link if the
 * error concerns one, as in
 *     node 5 "label": cycle: link to an ancestor (child 0: node 1 "show")
 * Names are written in printable ASCII; a quote, a backslash and every other byte as \xNN. The text
 * is truncated to capacity bytes, including its NUL; with a capacity of 0, nothing is written.
 * @return the length of the complete text, without the NUL. */
TSH_API size_t tsh_tree_fault_text(const tree_node_t *nodes, uint32_t node_count,
                                   const tsh_tree_fault_t *fault, char *buffer, size_t capacity);

#endif
