/* Lookup of a whole command line, as a user types it, in the tree at g_atn. */
#ifndef TSH_ATNODE_COMMAND_LOOKUP_H
#define TSH_ATNODE_COMMAND_LOOKUP_H

#include "parse_tree/tree_node.h"

/** The node that the last word of a command line names. The line is split by strsplit at white
 * space; its first word is looked for among the children of the node, each further one among the
 * children of the node before it, all by atnode_find_token and so abbreviated at will: "sh ver"
 * finds the child "version" of the child "show". A line without words, and one whose last word was
 * not reached, are traced (TSH_TRACE_NAVIGATION).
 * @return null when a word matches nothing, for a null node, for a line without words, and when
 *         there is no memory to split it. */
TSH_API const tree_node_t *atnode_find_cmd_index(const tree_node_t *node, const char *cmdline);

#endif
