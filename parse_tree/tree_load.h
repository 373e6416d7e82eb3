/* Main trees: finding, mapping and reading main par files, and the two well-known nodes of the
 * tree that the process works on. A main par file is a bare array of tree_node_t in host byte
 * order; its size is a multiple of 1000.
 *
 * While a file is mapped, it must not become shorter and should not change: reading a record that
 * it has no more raises SIGBUS, which ends the process unless it handles the signal. Write a new
 * file beside the old one and rename it over that, as ocmd_link does: a mapping keeps the old file.
 */
#ifndef TSH_PARSE_TREE_TREE_LOAD_H
#define TSH_PARSE_TREE_TREE_LOAD_H

#include "parse_tree/tree_node.h"

#define TSH_PARSE_FILE_SIZE 128 /**< Bytes of a main par file's name with its terminating zero. */

/** State of the module, all zero at start; written by init_parse_tree and
 * tsh_init_redirect_root (main_tree_map_size: by mmap_main_parse_tree) and read everywhere. */
TSH_API char tsh_parse_file[TSH_PARSE_FILE_SIZE]; /**< Name of the main par file; a program
                                                       may set it before it is loaded. */
TSH_API const tree_node_t *g_atn;                 /**< Node 0 of the tree: child i is g_atn + i. */
TSH_API const tree_node_t *atnode_root;           /**< The root, equal to g_atn once loaded. */
TSH_API const tree_node_t *atnode_redirect_root;  /**< First child of "tsh_redirect_root". */
TSH_API size_t main_tree_map_size;                /**< Bytes of the last file whose size
                                                       mmap_main_parse_tree learned, also of one
                                                       that it then refused. */

/** Loads the main tree of the process: names the file (tsh_parse_file when not empty, else the
 * environment's TSH_PARSE_TREE, else the default), maps it, checks every record and link of it,
 * and finds the root and the redirect root. The mapping lives as long as the process.
 * A file that cannot be mapped, a tree that breaks the record's rules or that has no redirect root
 * ends the process with status 1 after a message on standard output. Standard error has, after
 * what the operation that failed says there, one line that names the file and the reason: the
 * system's, the file's size or kind, or the first broken rule; and it says what the file looks like
 * if it looks like a gzip file, a subtree file or a tree in network order, and that names are cut
 * if this one may have been. @return 0. */
TSH_API int32_t init_parse_tree(void);

/** Writes the default main par file name, "/wysk/etc/par/default/main_tree.par", cut to capacity
 * bytes. @return 0. */
TSH_API int32_t tsh_parse_tree_filename_get(char *buffer, uint32_t capacity);

/** Maps a main par file read-only after a look at its size. The tree's records and links are the
 * caller's to judge (parse_tree/tree_check.h). Of a file of more than 65,536 records the pages come
 * as they are touched.
 * @return the node count with *out set; -1 silently for a file that cannot be opened, else with a
 *         message on standard error. Released with munmap_main_parse_tree. */
TSH_API int32_t verify_and_mmap_parse_tree(const char *path, const tree_node_t **out);

/** The same, with a message on standard error for every failure. */
TSH_API int32_t mmap_main_parse_tree(const char *path, const tree_node_t **out);

/** Unmaps main_tree_map_size bytes at the address, so only the last mapping made, and none after
 * mmap_main_parse_tree refused a file for its size or could not map it.
 * @return 0, or -1 with a message on standard error. */
TSH_API int32_t munmap_main_parse_tree(const void *address);

/** Reads a main par file into an allocated copy that the caller releases with
 * free_main_parse_tree; no byte order is changed.
 * @return the node count (0 for an empty file) with *out set; -1 with a message on standard
 *         error. */
TSH_API int32_t verify_and_read_parse_tree(const char *path, tree_node_t **out);

/** Releases a tree that was read; null is ignored. @return 0. */
TSH_API int32_t free_main_parse_tree(tree_node_t *tree);

/** Sets atnode_redirect_root to the first child of the root's child named "tsh_redirect_root"; to
 * the root when that node has no children. The root's first child is not looked at.
 * @return 0, or -1 with atnode_redirect_root null, also where no tree is loaded. */
TSH_API int32_t tsh_init_redirect_root(void);

/** A node of the shell's generic tree, as far as tsh_parse_tree_release looks at it. */
typedef struct tsh_generic_node_t {
    uint32_t word0;    /**< Not looked at. */
    uint32_t links[3]; /**< All zero when the node hangs in no tree. */
} tsh_generic_node_t;

/** Refuses to release a node that hangs in a tree: with any link set, "Parse tree not
 * released\n" goes to standard output. Releases nothing itself.
 * @param node not null. */
TSH_API void tsh_parse_tree_release(const tsh_generic_node_t *node);

/** Interface filter of single-mode enumeration; accepts every mask. @return 1. */
TSH_API int32_t intf_subtree_mask_equal(uint64_t intf_mask);

/** Permission filter of single-mode enumeration; accepts every mask. @return 1. */
TSH_API int32_t perms_mask_valid(const uint8_t *perms_mask);

#endif
