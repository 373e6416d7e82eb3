/* Loading of main par files, and the root and redirect root of the loaded tree. A main par file is
 * an array of tree_node_t in host byte order, without a header; its size is a multiple of 1000.
 *
 * While a file is mapped, it must not be truncated and should not be changed: reading a record
 * after the new end raises SIGBUS, which ends the process unless it handles the signal. Write a new
 * file in the same directory and rename it over the old one, as ocmd_link does: a mapping keeps the
 * old file. */
#ifndef TSH_PARSE_TREE_TREE_LOAD_H
#define TSH_PARSE_TREE_TREE_LOAD_H

#include "parse_tree/tree_node.h"

#define TSH_PARSE_FILE_SIZE 128 /**< Bytes of a main par file's name, including its NUL. */

/** State of the module, all zero at start; written by init_parse_tree and
 * tsh_init_redirect_root (main_tree_map_size: by mmap_main_parse_tree) and read everywhere. */
TSH_API char tsh_parse_file[TSH_PARSE_FILE_SIZE]; /**< Name of the main par file; a program
                                                       may set it before it is loaded. */
TSH_API const tree_node_t *g_atn;                 /**< Node 0 of the tree: child i is g_atn + i. */
TSH_API const tree_node_t *atnode_root;           /**< The root, equal to g_atn once loaded. */
TSH_API const tree_node_t *atnode_redirect_root;  /**< First child of "tsh_redirect_root". */
TSH_API size_t main_tree_map_size;                /**< Size of the last file that
                                                       mmap_main_parse_tree examined, even
                                                       if it then rejected the file. */

/** Loads the main tree of the process: selects the file (tsh_parse_file when not empty, else the
 * environment's TSH_PARSE_TREE, else the default), maps it, checks every record and link of it,
 * and finds the root and the redirect root. The mapping lives as long as the process.
 * If the file cannot be mapped, or the tree is invalid or has no redirect root, prints a message to
 * standard output and exits with status 1. Standard error then has the messages of the failed
 * operation and one line with the file and the reason: a system error, the file's size or kind, or
 * the first error of the tree. The line also reports if the file looks like a gzip file, a subtree
 * file or a tree in network order, and if the name may have been truncated. @return 0. */
TSH_API int32_t init_parse_tree(void);

/** Writes the default main par file name, "/wysk/etc/par/default/main_tree.par", truncated to
 * capacity bytes. @return 0. */
TSH_API int32_t tsh_parse_tree_filename_get(char *buffer, uint32_t capacity);

/** Maps a main par file read-only after checking its size. The caller must validate records and
 * links (parse_tree/tree_check.h). The pages of a file with more than 65,536 records are read on
 * demand.
 * @return the node count with *out set, released with munmap_main_parse_tree; -1 on error: silently
 *         if the file cannot be opened, otherwise with a message on standard error. */
TSH_API int32_t verify_and_mmap_parse_tree(const char *path, const tree_node_t **out);

/** Maps a main par file in the same way, with a message on standard error for every error. */
TSH_API int32_t mmap_main_parse_tree(const char *path, const tree_node_t **out);

/** Unmaps main_tree_map_size bytes at the address. Works only for the latest mapping, and only if
 * no later mmap_main_parse_tree failed on its size or mapping.
 * @return 0, or -1 with a message on standard error. */
TSH_API int32_t munmap_main_parse_tree(const void *address);

/** Reads a main par file into an allocated copy that the caller releases with
 * free_main_parse_tree; the byte order is not changed.
 * @return the node count (0 for an empty file) with *out set; -1 with a message on standard
 *         error. */
TSH_API int32_t verify_and_read_parse_tree(const char *path, tree_node_t **out);

/** Releases a tree that was read; null is ignored. @return 0. */
TSH_API int32_t free_main_parse_tree(tree_node_t *tree);

/** Sets atnode_redirect_root to the first child of the root's child named "tsh_redirect_root"; to
 * the root if that node has no children. The root's first child is not examined.
 * @return 0, or -1 with atnode_redirect_root null, also if no tree is loaded. */
TSH_API int32_t tsh_init_redirect_root(void);

/** The part of a node of the shell's generic tree that tsh_parse_tree_release reads. */
typedef struct tsh_generic_node_t {
    uint32_t word0;    /**< Not read. */
    uint32_t links[3]; /**< All zero if the node is in no tree. */
} tsh_generic_node_t;

/** Reports whether a node is still linked: if any link is set, prints "Parse tree not released\n"
 * to standard output. Releases nothing.
 * @param node not null. */
TSH_API void tsh_parse_tree_release(const tsh_generic_node_t *node);

/** Interface filter of single-mode enumeration; accepts every mask. @return 1. */
TSH_API int32_t intf_subtree_mask_equal(uint64_t intf_mask);

/** Permission filter of single-mode enumeration; accepts every mask. @return 1. */
TSH_API int32_t perms_mask_valid(const uint8_t *perms_mask);

#endif
