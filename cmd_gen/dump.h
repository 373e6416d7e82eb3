/* Tree dump: one text record per node on tsh_logfp. If tsh_logfp is null, nothing is printed. */
#ifndef TSH_CMD_GEN_DUMP_H
#define TSH_CMD_GEN_DUMP_H

#include "parse_tree/tree_node.h"

#define TREE_DUMP_VERBOSE 400 /**< Level at which print_at_node prints all fields. */
#define TREE_DUMP_SHORT                                                                            \
    401 /**< Level of the dump of ocmd_gen; all levels except 400 are equal.                       \
         */

/** Prints the record of a node: a newline, the indentation for its depth, token or parameter type,
 * depth, child count, flags, interface mask, parameter count and markers; at level 400 also its
 * identifiers, strings, parameters and child indices. Usable as a visit function. @return 0. */
TSH_API int32_t print_at_node(const tree_node_t *node, int32_t level);

/** Prints the records of a node and its descendants in preorder, and flushes the stream. The output
 * is that of atnode_traverse with print_at_node at TREE_DUMP_SHORT, but each record is formatted
 * only once. Does nothing for a null node. Stops after a write error of tsh_logfp, unless traces
 * are on or there is too little memory.
 * @return 0; -1 if the output could not be written completely. */
TSH_API int32_t tsh_dump_tree(const tree_node_t *node);

/** Prints the verbose fields of one parameter. */
TSH_API void print_at_node_pinfo(const parameter_info_t *param);

/** Prints the registered name of the parameter's complete type mask in braces; empty if the mask is
 * not registered. */
TSH_API void print_node_param_type(const parameter_info_t *param);

/** Do nothing. */
TSH_API void print_node(const tree_node_t *node);
TSH_API void tsh_parse_tree_print(void);

#endif
