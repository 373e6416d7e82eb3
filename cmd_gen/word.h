/* The look of a node's word: what stands for the node in a command line. */
#ifndef TSH_CMD_GEN_WORD_H
#define TSH_CMD_GEN_WORD_H

#include "parse_tree/tree_node.h"

#define TSH_WORD_SIZE 552 /**< Bytes of the longest word with its terminating zero. */

/** Writes the node's word as a listing spells it, without the two blanks that a listing puts before
 * it: the token, then each parameter as the names of its types in angle brackets, at most 255
 * bytes, with "[o]" after each of these pieces when the node is optional. A type that is not
 * registered has no name. A node with neither token nor parameters, and a null node, have an empty
 * word.
 * @param buffer takes the word, cut to capacity - 1 bytes and terminated; may be null when capacity
 *        is 0, and nothing is written then.
 * @return the length of the whole word in bytes, without its terminating zero; cut when it is not
 *         below capacity, which it always is for TSH_WORD_SIZE. */
TSH_API size_t tsh_word_text(const tree_node_t *node, char *buffer, size_t capacity);

#endif
