/* The check of a tree: every rule that a tree's records and links must keep before anything may
 * follow an index from it, each under a name of its own. */
#ifndef TSH_PARSE_TREE_TREE_CHECK_H
#define TSH_PARSE_TREE_TREE_CHECK_H

#include "parse_tree/tree_node.h"

/** One broken rule. */
typedef struct tsh_tree_fault_t {
    const char *check; /**< Name of the check, see tsh_tree_check_name. */
    const char *what;  /**< The fault in words, such as "child_count is above 192". */
    uint32_t node;     /**< Index of the node that breaks the rule. */
    int32_t position;  /**< Place of the faulty link in the node's child list; -1: no link's. */
    uint16_t child;    /**< Index that this link holds, inside the tree or not; else 0. */
} tsh_tree_fault_t;

/** Takes one fault, which lives until the function returns; non-zero ends the check. */
typedef int32_t (*tsh_tree_fault_fn)(const tsh_tree_fault_t *fault, void *context);

/** Reports every fault of a tree in host byte order: first those of each record in the order of
 * the array, reachable or not, then the cycles that node 0 reaches. Records past the 65,536th lie
 * beyond the reach of every index and are not looked at. A broken record hides only what cannot be
 * judged without it: the links of a node with too many are not followed, nor is one that leads
 * outside the tree. Of each cycle the node is reported whose link closes it in a walk
 * in the order of the child lists. Any depth is sound.
 * Linear in nodes and links, without recursion. Only a tree with a link that leads to no later
 * record takes memory, 4 bytes a node; where there is none, check "cycle" reports that of node 0.
 * @param report may be null where the number is all that is asked for.
 * @return the number of faults reported, one that ended the check included; 0 for a sound tree. */
TSH_API uint32_t tsh_tree_check(const tree_node_t *nodes, uint32_t node_count,
                                tsh_tree_fault_fn report, void *context);

/** Name of a check, from index 0 in the order in which they are made of a record; null past the
 * last. The names: "child-count", "param-count", "child-index", "child-twice",
 * "unterminated-text" and "cycle". */
TSH_API const char *tsh_tree_check_name(uint32_t index);

/** Bytes that hold the text of any fault with its terminating zero. */
#define TSH_TREE_FAULT_TEXT_SIZE 640

/** Writes a fault of the tree as text: the node's index and name, the fault, and the link in
 * question if there is one, as in
 *     node 5 "label": a link leads back to an ancestor (child 0: node 1 "show")
 * Names appear as printable ASCII, a quote, a backslash and every other byte as \xNN. The text is
 * cut to capacity bytes with its terminating zero; a capacity of 0 writes nothing.
 * @return the length of the whole text, without the terminating zero. */
TSH_API size_t tsh_tree_fault_text(const tree_node_t *nodes, uint32_t node_count,
                                   const tsh_tree_fault_t *fault, char *buffer, size_t capacity);

#endif
