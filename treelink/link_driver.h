/* Entry points of the linker: link a root file and a list of subtree files into an array tree or a
 * main par file. */
#ifndef TSH_TREELINK_LINK_DRIVER_H
#define TSH_TREELINK_LINK_DRIVER_H

#include "treelink/attach.h"

#define PAR_FILE_LIST_SIZE 512 /**< Maximum number of files of a list. */
#define PAR_FILE_NAME_SIZE 64  /**< Bytes of a file name, including its NUL. */

/** One file of a list. */
typedef struct par_file_entry_t {
    uint8_t caller_data[24];            /**< Not read by the linker. */
    char file_name[PAR_FILE_NAME_SIZE]; /**< Path, truncated to 63 characters. A name that does
                                             not contain ".par" gets this suffix. */
} par_file_entry_t;

/** List of files; read only. */
typedef struct par_file_list_t {
    par_file_entry_t entries[PAR_FILE_LIST_SIZE]; /**< The files, from index 0. */
    int32_t last_index; /**< Index of the last used entry; negative if the list is empty. */
} par_file_list_t;

/** Links a root file and the files of a list, in list order. If entry 0 ends in "tsh_root.par" or
 * "tsh_root.pars" and has 13 characters or more, it is the root file instead of the argument. Skips
 * an entry that names the root file again ("tsh_root.par" if the argument names it) or
 * "main_tree.par". Reports an entry that cannot be opened on standard error and skips it.
 * treelink/subtree_read.h and treelink/attach.h describe the other errors.
 * @param out the linked array, released by the caller with free; null if there is none.
 * @param list null for no files.
 * @param root path of the root file, of any length.
 * @return the number of nodes of the array; -1 after a message: entry 0 is longer than 63
 *         characters (on standard output), the last index is over 511, the root file cannot be
 *         opened or contains no subtree, or the tree would be too large. */
TSH_API int32_t get_linked_parse_tree(tree_node_t **out, const par_file_list_t *list,
                                      const char *root);

/** Links in the same way and writes the tree with tsh_main_tree_write.
 * @return 0; -1 if linking or writing failed; the old file is then unchanged. */
TSH_API int32_t update_main_parse_tree_file(const par_file_list_t *list, const char *root,
                                            const char *output, int32_t network_order);

/** Prints an array tree with a heading to standard output, as the driver does if verbose is set. */
TSH_API void tsh_main_tree_show(const tree_node_t *tree);

/** Writes an array tree as a main par file, which replaces the old file completely or not at all
 * (treelink/file_replacement.h). If verbose is set, prints the tree first.
 * @param tree in host order; converted in place if network_order is nonzero.
 * @param network_order nonzero: big-endian; else the host's order, which is required to map the
 *        file.
 * @return 0; -1 with errno set, after a message on standard output, if the target could not be
 *         opened or written. */
TSH_API int32_t tsh_main_tree_write(tree_node_t *tree, uint32_t node_count, const char *output,
                                    int32_t network_order);

#endif
