/* Command lines of a tree as plain text, for programs that sort, search and compare lines: the
 * words of the listing, separated by one space, after the words of every enclosing submode and " /
 * ", such as bay <INTERFACE> / label <LINE> Control characters of keywords are written as \xNN,
 * and a backslash that would look like that as \x5c.
 * There is no process-wide state. */
#ifndef TSH_CMD_GEN_LINE_LIST_H
#define TSH_CMD_GEN_LINE_LIST_H

#include "param_reg/values.h"
#include "parse_tree/tree.h"

/** The words of a tree, formatted once; immutable, so that several threads may write lists at the
 * same time. */
typedef struct tsh_line_list_t tsh_line_list_t;

/** Collects the words of a tree, which must outlive the list. Uses about 30 bytes for each node
 * that leads to a line.
 * @param types null for the built-in types.
 * @return null if out of memory. */
TSH_API tsh_line_list_t *tsh_line_list_new(const tsh_tree_t *tree, const tsh_types_t *types);

/** Releases a list; null is ignored. */
TSH_API void tsh_line_list_free(tsh_line_list_t *list);

/** Receives a part of the text, up to 256 KB. A non-zero result ends the list. Must return: neither
 * longjmp nor an exception may leave it. */
typedef int32_t (*tsh_write_fn)(const char *text, size_t length, void *user);

/** Writes lines in the order of the listing, each with a newline at its end.
 * @param path node indices, starting with the node of the first word: only lines that start with
 *        the words of these nodes are written. An empty path selects all lines below the root,
 *        without the word of the root. The index 0 alone selects the lines of a subtree, which
 *        start with that word.
 * @return 0; -1 if out of memory, for an index out of range, and if write stopped the list. */
TSH_API int32_t tsh_line_list_write(const tsh_line_list_t *list, const uint16_t *path,
                                    uint32_t path_length, tsh_write_fn write, void *user);

#endif
