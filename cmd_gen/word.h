/* Text of a node in a command line. */
#ifndef TSH_CMD_GEN_WORD_H
#define TSH_CMD_GEN_WORD_H

#include "parse_tree/tree_node.h"

#define TSH_WORD_SIZE 552 /**< Size of the longest word, including its NUL. */

/** Writes the node's word in the format of a listing, without the two spaces before it: the token,
 * then each parameter as its type names in angle brackets, at most 255 bytes. If the node is
 * optional, "[o]" follows each of these parts. A type that is not registered has no name. A node
 * with neither token nor parameters, and a null node, have an empty word.
 * @param buffer receives the word, truncated to capacity - 1 bytes, and a NUL. If capacity is 0,
 *        nothing is written and buffer may be null.
 * @return the length of the complete word in bytes, without the NUL. If it is not less than
 *         capacity, the word was truncated; TSH_WORD_SIZE is always sufficient. */
TSH_API size_t tsh_word_text(const tree_node_t *node, char *buffer, size_t capacity);

#endif
