/* Lookup of a whole command line, as a user types it, word by word. The first match of each word
 * wins; resolve/resolver.h weighs all readings of a line. */
#ifndef TSH_ATNODE_COMMAND_LOOKUP_H
#define TSH_ATNODE_COMMAND_LOOKUP_H

#include "feature/tsh/src/str_list.h"
#include "parse_tree/tree.h"

/** The node that the last word of a command line names. The line is split by strsplit at white
 * space; its first word is looked for among the children of the node, each further one among the
 * children of the node before it, all by atnode_find_token and so abbreviated at will: "sh ver"
 * finds the child "version" of the child "show". A line without words, and one whose last word was
 * not reached, are traced (TSH_TRACE_NAVIGATION). All children are those of the tree at g_atn,
 * whatever tree the node is of.
 * @return null when a word matches nothing, for a null node, for a line without words, and when
 *         there is no memory to split it. */
TSH_API const tree_node_t *atnode_find_cmd_index(const tree_node_t *node, const char *cmdline);

/** The node that the last of the words names, in the tree of a handle: each word is looked up among
 * the children of the node before it by tsh_tree_find_token.
 * @param words as strsplit gives them; may be null.
 * @return null when a word matches nothing, without words and for a null node. */
TSH_API const tree_node_t *tsh_tree_find_words(const tsh_tree_t *tree, const tree_node_t *node,
                                               const str_list_t *words);

#endif
