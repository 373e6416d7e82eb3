/* Command lines of a tree as plain text, for programs that sort, search and compare lines: words as
 * the listing spells them with one space between them, after the words of every submode that the
 * line lies in, each submode followed by " / ": bay <INTERFACE> / label <LINE> Control characters
 * of keywords appear as \xNN. There is no process-wide state. */
#ifndef TSH_CMD_GEN_LINE_LIST_H
#define TSH_CMD_GEN_LINE_LIST_H

#include "param_reg/values.h"
#include "parse_tree/tree.h"

/** The words of a tree, spelled once; immutable, so that several threads may write lists at once.
 */
typedef struct tsh_line_list_t tsh_line_list_t;

/** Gathers the words of a tree, which must outlive the list: some 30 bytes for each node that leads
 * to a line. @param types null for the built-in types. @return null without memory. */
TSH_API tsh_line_list_t *tsh_line_list_new(const tsh_tree_t *tree, const tsh_types_t *types);

/** Releases a list; null is ignored. */
TSH_API void tsh_line_list_free(tsh_line_list_t *list);

/** Receives a part of the text, up to 256 KB. A non-zero result ends the list. */
typedef int32_t (*tsh_write_fn)(const char *text, size_t length, void *user);

/** Writes lines, each with a newline at its end, in the order of the listing.
 * @param path node indices, from the first word of the lines on: only lines that begin with their
 *        words are written. Without any, all lines below the root, whose own word is not part of
 *        them; the index 0 alone gives the lines of a subtree, which begin with that word.
 * @return 0; -1 without memory, for an index outside the tree, and if write ended the list. */
TSH_API int32_t tsh_line_list_write(const tsh_line_list_t *list, const uint16_t *path,
                                    uint32_t path_length, tsh_write_fn write, void *user);

#endif
