/* The tree dump: one text record per node, on tsh_logfp. With tsh_logfp null nothing is printed. */
#ifndef TSH_CMD_GEN_DUMP_H
#define TSH_CMD_GEN_DUMP_H

#include "parse_tree/tree_node.h"

#define TREE_DUMP_VERBOSE 400 /**< Level of print_at_node that shows everything. */
#define TREE_DUMP_SHORT 401   /**< The level that the utility dumps at; any but 400 does. */

/** Prints the node's record: a newline, the indentation by its depth, token or parameter type,
 * depth, child count, flags, interface mask, parameter count and markers; at level 400 also its
 * identifiers, texts, parameters and child indices. Serves as a visit function. @return 0. */
TSH_API int32_t print_at_node(const tree_node_t *node, int32_t level);

/** Prints the records of a node and of everything below it in preorder, and flushes the stream:
 * what atnode_traverse prints with print_at_node at TREE_DUMP_SHORT, but each record is put
 * together once. Nothing for a null node. Ends early when tsh_logfp takes no more, unless traces
 * are on or memory is short.
 * @return 0; -1 when something could not be written. */
TSH_API int32_t tsh_dump_tree(const tree_node_t *node);

/** Prints the verbose fields of one parameter. */
TSH_API void print_at_node_pinfo(const parameter_info_t *param);

/** Prints the registered name of the parameter's whole type mask in braces; a mask that is not
 * registered has an empty name. */
TSH_API void print_node_param_type(const parameter_info_t *param);

/** Do nothing. */
TSH_API void print_node(const tree_node_t *node);
TSH_API void tsh_parse_tree_print(void);

#endif
