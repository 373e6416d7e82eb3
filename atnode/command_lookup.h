/* Lookup of a complete command line, word by word. The first match of each word wins;
 * resolve/resolver.h considers all readings of a line. */
#ifndef TSH_ATNODE_COMMAND_LOOKUP_H
#define TSH_ATNODE_COMMAND_LOOKUP_H

#include "feature/tsh/src/str_list.h"
#include "parse_tree/tree.h"

/** Returns the node of the last word of a command line. Splits the line with strsplit at white
 * space. Looks up the first word among the children of the node, and each further word among the
 * children of the node before it, with atnode_find_token. Words may therefore be abbreviated: "sh
 * ver" finds the child "version" of the child "show". A line without words, and a line whose last
 * word is not reached, are traced (TSH_TRACE_NAVIGATION). All children are those of the tree at
 * g_atn, whatever tree the node belongs to.
 * @return null if a word matches nothing, for a null node, for a line without words, and if out of
 *         memory. */
TSH_API const tree_node_t *atnode_find_cmd_index(const tree_node_t *node, const char *cmdline);

/** Returns the node of the last word in the tree of a handle: looks up each word among the children
 * of the node before it with tsh_tree_find_token.
 * @param words as returned by strsplit; may be null.
 * @return null if a word matches nothing, without words, and for a null node. */
TSH_API const tree_node_t *tsh_tree_find_words(const tsh_tree_t *tree, const tree_node_t *node,
                                               const str_list_t *words);

#endif
