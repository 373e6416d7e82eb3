/* The traversal stack: nodes have no parent links, so a walk keeps the ancestors of the node in
 * hand here, the parent on top. There is one stack in the process; one walk runs at a time. */
#ifndef TSH_ATNODE_STACK_H
#define TSH_ATNODE_STACK_H

#include "parse_tree/tree_node.h"

#define ATN_STACK_SIZE TREE_MAX_LEVELS /**< Nodes on the stack at most. */
#define ATN_STACK_TOP (-999)           /**< Position of the top entry, for atnode_stack_peek. */
#define ATN_STACK_BOTTOM 0             /**< Position of slot 0. */
/** Nodes from the root of a walk to the node it is at. */
typedef struct atn_stack_t {
    const tree_node_t *atn_traverse_stack[ATN_STACK_SIZE]; /**< Slot 0 is the bottom. */
    int32_t atn_stack_top; /**< Index of the top entry, -1 when empty; the height less one. It
                                counts pushes that found no room, so it can exceed 255. */
    int32_t atn_saved_top; /**< What atnode_save_top kept. */
} atn_stack_t;

/** The stack. It starts all zero and so holds one null entry, height 1, until that is popped or
 * the stack reset; depths count it. */
TSH_API atn_stack_t stack;

/** Puts a node on top. A full stack is reported on standard error; the push is then counted but
 * nothing stored. */
TSH_API void atnode_stack_push(const tree_node_t *node);

/** Takes the top entry off and clears its slot. @return the entry; null for a push that found no
 * room, and for an empty stack, which is reported on standard error. */
TSH_API const tree_node_t *atnode_stack_pop(void);

/** Looks at an entry: ATN_STACK_TOP, ATN_STACK_BOTTOM or a slot 1 to 255, whatever the height.
 * @return the entry; null for an empty stack or slot, and for any other position, which is reported
 *         on standard error. */
TSH_API const tree_node_t *atnode_stack_peek(int32_t position);

/** Number of entries. */
TSH_API int32_t atnode_stack_get_height(void);

/** Empties the stack after printing it with atn_print_stack; slots are not cleared. */
TSH_API void atnode_stack_reset(void);

/** Keeps the height for atnode_restore_top, which sets it again and touches no slot: what was
 * pushed since is dropped in one step, what was popped since comes back as null. */
TSH_API void atnode_save_top(void);
TSH_API void atnode_restore_top(void);

/** Traces the stack from the top down, under TSH_TRACE_NAVIGATION only. */
TSH_API void atn_print_stack(void);

#endif
