/* Traversal stack. Nodes have no parent links, so a walk stores the ancestors of the current node
 * here, with the parent on top. There is one stack per process; only one walk runs at a time. */
#ifndef TSH_ATNODE_STACK_H
#define TSH_ATNODE_STACK_H

#include "parse_tree/tree_node.h"

#define ATN_STACK_SIZE TREE_MAX_LEVELS /**< Capacity of the stack in nodes. */
#define ATN_STACK_TOP (-999)           /**< Position of the top entry, for atnode_stack_peek. */
#define ATN_STACK_BOTTOM 0             /**< Position of slot 0. */
/** Path from the root of a walk to the current node. */
typedef struct atn_stack_t {
    const tree_node_t *atn_traverse_stack[ATN_STACK_SIZE]; /**< Slot 0 is the bottom. */
    int32_t atn_stack_top; /**< Index of the top entry, -1 if empty: the height minus one. It
                                counts pushes to a full stack, so it can exceed 255. */
    int32_t atn_saved_top; /**< Value stored by atnode_save_top. */
} atn_stack_t;

/** The stack. It is initially all zero and therefore has one null entry and height 1, until this
 * entry is popped or the stack is reset. Depths include it. */
TSH_API atn_stack_t stack;

/** Pushes a node. If the stack is full, reports this on standard error, counts the push and stores
 * nothing. */
TSH_API void atnode_stack_push(const tree_node_t *node);

/** Pops the top entry and clears its slot.
 * @return the entry; null for a push to a full stack, and for an empty stack, which is reported on
 *         standard error. */
TSH_API const tree_node_t *atnode_stack_pop(void);

/** Returns an entry without popping it: ATN_STACK_TOP, ATN_STACK_BOTTOM or a slot from 1 to 255,
 * whatever the height.
 * @return the entry; null for an empty stack or slot, and for any other position, which is reported
 *         on standard error. */
TSH_API const tree_node_t *atnode_stack_peek(int32_t position);

/** Returns the number of entries. */
TSH_API int32_t atnode_stack_get_height(void);

/** Empties the stack after printing it with atn_print_stack; slots are not cleared. */
TSH_API void atnode_stack_reset(void);

/** Store and restore the height. atnode_restore_top does not change any slot: entries pushed since
 * atnode_save_top are dropped, entries popped since are null. */
TSH_API void atnode_save_top(void);
TSH_API void atnode_restore_top(void);

/** Traces the stack from the top down, if TSH_TRACE_NAVIGATION is set. */
TSH_API void atn_print_stack(void);

#endif
