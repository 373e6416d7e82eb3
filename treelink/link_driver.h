/* The linker's entry points: a root file and a list of subtree files become one array tree, or a
 * main par file. */
#ifndef TSH_TREELINK_LINK_DRIVER_H
#define TSH_TREELINK_LINK_DRIVER_H

#include "treelink/attach.h"

#define PAR_FILE_LIST_SIZE 512 /**< Files of a list at most. */
#define PAR_FILE_NAME_SIZE 64  /**< Bytes of a file name with its terminating zero. */

/** One file of a list. */
typedef struct par_file_entry_t {
    uint8_t caller_data[24];            /**< Not read by the linker. */
    char file_name[PAR_FILE_NAME_SIZE]; /**< Path, at most 63 characters; longer ones are cut. A
                                             name with ".par" nowhere in it gets that suffix. */
} par_file_entry_t;

/** A caller's list of files; only read. */
typedef struct par_file_list_t {
    par_file_entry_t entries[PAR_FILE_LIST_SIZE]; /**< The files, from index 0. */
    int32_t last_index; /**< Of the last used entry; negative when the list is empty. */
} par_file_list_t;

/** Links a root file and the files of a list, in list order.
 * When entry 0 ends in "tsh_root.par" or "tsh_root.pars", 13 characters or more, it is the root
 * file in place of the argument. An entry that names the root file again ("tsh_root.par" when the
 * argument names it), or "main_tree.par", is skipped. One that cannot be opened is reported on
 * standard error and left out. What else can go wrong is told in treelink/subtree_read.h and
 * treelink/attach.h.
 * @param out the linked array, released by the caller with free; null when there is none.
 * @param list null for no files.
 * @param root path of the root file, of any length.
 * @return the nodes of the array; -1 after a message: entry 0 is longer than 63 characters
 *         (on standard output), the last index is over 511, the root file cannot be opened or
 *         holds no subtree, or the tree would be too large. */
TSH_API int32_t get_linked_parse_tree(tree_node_t **out, const par_file_list_t *list,
                                      const char *root);

/** Links the same way and writes the tree as tsh_main_tree_write does.
 * @return 0; -1 when linking or writing failed, the old file then being as it was. */
TSH_API int32_t update_main_parse_tree_file(const par_file_list_t *list, const char *root,
                                            const char *output, int32_t network_order);

/** Shows an array tree on standard output below a heading, as the driver does while verbose is
 * set. */
TSH_API void tsh_main_tree_show(const tree_node_t *tree);

/** Writes an array tree as a main par file, which replaces the old one as a whole or not at all
 * (treelink/file_replacement.h). While verbose is set, the tree is shown first.
 * @param tree in host order; converted in place when network_order is set.
 * @param network_order non-zero: most significant byte first; else the host's order, as a file to
 *        be mapped must have.
 * @return 0; -1 with errno set, after a message on standard output, when the target could not be
 *         opened or written. */
TSH_API int32_t tsh_main_tree_write(tree_node_t *tree, uint32_t node_count, const char *output,
                                    int32_t network_order);

#endif
