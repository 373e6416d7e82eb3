/* Command enumeration: prints every command line that the tree of a node accepts to standard
 * output, one numbered line each. */
#ifndef TSH_CMD_GEN_ENUMERATION_H
#define TSH_CMD_GEN_ENUMERATION_H

#include "parse_tree/tree_node.h"

#define SPC_STR_SIZE 1024 /**< Size of the widest indentation, including its NUL. */

/** State of the module, all zero at start. */
TSH_API uint32_t
    cmd_count; /**< Number of lines printed so far; each line starts with its number. */
TSH_API int32_t cmd_gen_mode_single; /**< 1: single mode; set by programs only. */
TSH_API char spc_str[SPC_STR_SIZE];  /**< Indentation of the latest line: two spaces per enclosing
                                          submode, at most 1023. */
TSH_API int32_t submode_depth;       /**< Number of submodes that enclose the current node. */

/** Prints the lines of every command below a node, in the order of the child lists: "\n[%6u]." with
 * the number of the line, the indentation, the prefix, and two spaces before each word. Prints a
 * line at every terminal node and every submode. The commands of a submode follow its line,
 * indented and without the words that lead to it. The node may be any record without duplicate
 * children, except that the root must not be among them; its descendants are records of the tree at
 * g_atn.
 *
 * The traversal stack contains the ancestors. If it is full, the push reports this: the first child
 * of that level is listed with its descendants, but its siblings are omitted. Skips nodes that lead
 * to no line, unless traces are on.
 *
 * In single mode, nodes that the interface or permission filter rejects, and nodes with an
 * excluding flag, are omitted with their descendants; submodes are listed but not entered.
 *
 * Flushes standard output when the buffer is full, and at the end; buffered bytes are written
 * directly to its descriptor, if it has one. Allocates no memory per line, and none after the first
 * line unless traces are on. The memory grows with the tree and its longest line. Call stack: 20
 * KB, whatever the depth of the tree.
 * @param node null lists nothing.
 * @param prefix start of every line; may be null.
 * @return 0; -1 if memory runs out, after the message of the allocation helper, "\nMem alloc
 *         failed..." on standard error and "Mem alloc errorr.." on standard output; -1 if a write
 *         of this call to standard output fails. An error indicator that was set before has no
 *         effect. After an error, no further lines are printed. */
TSH_API int32_t generate_cmds(const tree_node_t *node, const char *prefix);

/** Appends the node's token, and "[o]" if the node is optional.
 * @param line a string from the allocation helpers; this call takes ownership.
 * @return the extended line, owned by the caller; null if memory runs out, after the message of the
 *         allocation helper and "\nMem alloc failed..." on standard error; the line is then
 *         released. */
TSH_API char *add_token_str(char *line, const tree_node_t *node);

/** Appends for each parameter of the node: its type names in angle brackets, at most 255 bytes, and
 * "[o]" if the node is optional. A type that is not registered has no name. Line and result are as
 * for add_token_str. */
TSH_API char *add_param_str(char *line, const tree_node_t *node);

#endif
