/* Handles of main trees. A handle does not depend on process-wide state, prints nothing and never
 * ends the process. Several can be open at the same time, and threads may share one. The loaded
 * tree of the process (parse_tree/tree_load.h) is independent of them. */
#ifndef TSH_PARSE_TREE_TREE_H
#define TSH_PARSE_TREE_TREE_H

#include "parse_tree/tree_node.h"

/** A valid, immutable tree. Every operation on it may run in several threads at once. */
typedef struct tsh_tree_t tsh_tree_t;

/** Reason why a tree cannot be used. */
typedef enum tsh_error_code_t {
    TSH_ERROR_NONE = 0,
    TSH_ERROR_SYSTEM = 1,    /**< A system call failed; system_error is its errno. */
    TSH_ERROR_FORMAT = 2,    /**< Not a main par file: its kind or size is wrong. */
    TSH_ERROR_TREE = 3,      /**< A record fails a check of parse_tree/tree_check.h. */
    TSH_ERROR_NO_MEMORY = 4, /**< Out of memory. */
} tsh_error_code_t;

#define TSH_ERROR_TEXT_SIZE 768 /**< Size of any reason, including its NUL. */

typedef struct tsh_error_t {
    tsh_error_code_t code;
    int32_t system_error;           /**< errno for TSH_ERROR_SYSTEM, else 0. */
    char text[TSH_ERROR_TEXT_SIZE]; /**< The reason in printable ASCII, without the file name;
                                       empty for TSH_ERROR_NONE. */
} tsh_error_t;

/** Maps a main par file and checks every record that child indices can address. The file is
 * mapped, not read. It must not be truncated while the tree is open: the system ends a process that
 * accesses mapped bytes after the end of the file (SIGBUS). Replacing the file by another one of
 * the same name, as the library's own writer does, is safe.
 * @param error receives the reason of an error, else TSH_ERROR_NONE; may be null.
 * @return the tree, owned by the caller and released with tsh_tree_close; null on failure. */
TSH_API tsh_tree_t *tsh_tree_open(const char *path, tsh_error_t *error);

/** Checks nodes in host byte order in the same way and makes a tree of them, without a copy. The
 * caller must keep them unchanged until the tree is closed. Only the first 65,536 nodes are used.
 * @param error as for tsh_tree_open.
 * @return as tsh_tree_open. */
TSH_API tsh_tree_t *tsh_tree_over(const tree_node_t *nodes, uint32_t node_count,
                                  tsh_error_t *error);

/** Releases the handle and its mapping. Nodes and cursors of the tree must not be used afterwards.
 * Null is ignored. */
TSH_API void tsh_tree_close(tsh_tree_t *tree);

/** Returns the number of nodes, 1 to 65,536. */
TSH_API uint32_t tsh_tree_node_count(const tsh_tree_t *tree);

/** Returns the root, which is node 0 of the array: node n is root + n. */
TSH_API const tree_node_t *tsh_tree_root(const tsh_tree_t *tree);

/** Returns the redirect root: the first child of the root's child named "tsh_redirect_root", or the
 * root itself if that child has no children. The root's first child is not examined.
 * @return null if there is none. */
TSH_API const tree_node_t *tsh_tree_redirect_root(const tsh_tree_t *tree);

/** Returns the index of a node; -1 for null and for a record outside the tree. */
TSH_API int32_t tsh_tree_index(const tsh_tree_t *tree, const tree_node_t *node);

/** Returns child n of a node of the tree, counted from 0; null if there is none. */
TSH_API const tree_node_t *tsh_tree_child(const tsh_tree_t *tree, const tree_node_t *node,
                                          uint32_t n);

#endif
