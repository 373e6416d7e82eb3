/* Command enumeration: every command line that the tree below a node accepts, one numbered line
 * each on standard output. */
#ifndef TSH_CMD_GEN_ENUMERATION_H
#define TSH_CMD_GEN_ENUMERATION_H

#include "parse_tree/tree_node.h"

#define SPC_STR_SIZE 1024 /**< Bytes of the widest indentation with its terminating zero. */

/** State of the module, all zero at start. */
TSH_API uint32_t cmd_count;          /**< Lines printed so far; each line shows its number. */
TSH_API int32_t cmd_gen_mode_single; /**< 1: single mode; set by programs only. */
TSH_API char spc_str[SPC_STR_SIZE];  /**< Indentation of the latest line: two blanks per submode
                                          that it lies in, at most 1023. */
TSH_API int32_t submode_depth;       /**< Submodes that the enumeration is inside of. */

/** Prints the lines of every command below a node, in the order of the child lists: "\n[%6u]." with
 * the line's number, the indentation, the prefix, and two blanks before each word. A line is
 * printed at every terminal node and every submode; the commands of a submode follow its line,
 * indented, without the words that lead into it. The node may be any record that lists no child
 * twice and not the root; its children, and theirs, are records of the tree at g_atn.
 *
 * The traversal stack holds the ancestors meanwhile. A level for which it has no room is reported
 * by the push; its first child is listed with what is below it, but the siblings of that child are
 * not found. Nodes below which nothing is ever printed are passed by, unless traces are on.
 *
 * In single mode, nodes that the interface or permission filter refuses and nodes with an excluding
 * flag are left out with everything below them, and submodes are listed but not entered.
 *
 * Standard output is flushed whenever much has gathered, and at the end; what has gathered is then
 * written to its descriptor, if it has one. No memory is taken per line, and none after the first
 * line unless traces are on; what is taken grows with the tree and its longest line. Call stack: 20
 * KB, however deep the tree.
 * @param node nothing is listed below null.
 * @param prefix what every line begins with; may be null.
 * @return 0; -1 when memory runs out, after the message of the allocation helper, "\nMem alloc
 *         failed..." on standard error and "Mem alloc errorr.." on standard output, and when a
 *         write of this call to standard output fails; an error indicator that was set before has
 *         no effect. No further lines are printed then. */
TSH_API int32_t generate_cmds(const tree_node_t *node, const char *prefix);

/** Appends the node's token, and "[o]" when the node is optional.
 * @param line a text from the allocation helpers, which this call takes over.
 * @return the grown line, owned by the caller; null when memory runs out, after the message of the
 *         allocation helper and "\nMem alloc failed..." on standard error, the line then being
 *         released. */
TSH_API char *add_token_str(char *line, const tree_node_t *node);

/** Appends one piece per parameter of the node: the names of its types in angle brackets, at most
 * 255 bytes, and "[o]" when the node is optional. A type that is not registered has no name. The
 * line and the result are as with add_token_str. */
TSH_API char *add_param_str(char *line, const tree_node_t *node);

#endif
