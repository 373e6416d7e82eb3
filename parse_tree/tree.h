/* Trees as handles: a main tree that a program opens, asks and closes. A handle depends on no
 * process-wide state, prints nothing and never ends the process; several can be open at a time, and
 * threads may share one. The loaded tree of the process (parse_tree/tree_load.h) stays beside it.
 */
#ifndef TSH_PARSE_TREE_TREE_H
#define TSH_PARSE_TREE_TREE_H

#include "parse_tree/tree_node.h"

/** A valid tree; immutable, so that every operation on it may run in several threads at once. */
typedef struct tsh_tree_t tsh_tree_t;

/** Why a tree cannot be used. */
typedef enum tsh_error_code_t {
    TSH_ERROR_NONE = 0,
    TSH_ERROR_SYSTEM = 1,    /**< The system refused a call; system_error has its errno. */
    TSH_ERROR_FORMAT = 2,    /**< Not a main par file: its kind or size is wrong. */
    TSH_ERROR_TREE = 3,      /**< A record breaks a rule of parse_tree/tree_check.h. */
    TSH_ERROR_NO_MEMORY = 4, /**< Memory ran out. */
} tsh_error_code_t;

#define TSH_ERROR_TEXT_SIZE 768 /**< Bytes that hold every reason with its terminating zero. */

typedef struct tsh_error_t {
    tsh_error_code_t code;
    int32_t system_error;           /**< An errno with TSH_ERROR_SYSTEM, else 0. */
    char text[TSH_ERROR_TEXT_SIZE]; /**< The reason in printable ASCII, without the file's name;
                                       empty with TSH_ERROR_NONE. */
} tsh_error_t;

/** Maps a main par file and checks every record that an index can name. The file is mapped, not
 * read: it must not be truncated while the tree is open, since the system ends a process that
 * touches mapped bytes behind the end of their file (SIGBUS). Replacing the file by another one
 * under its name, as the library's own writer does, is safe.
 * @param error takes the reason of a failure, TSH_ERROR_NONE otherwise; may be null.
 * @return the tree, owned by the caller and released with tsh_tree_close; null on failure. */
TSH_API tsh_tree_t *tsh_tree_open(const char *path, tsh_error_t *error);

/** Takes nodes in host byte order that the caller keeps, unchanged, until the tree is closed, and
 * checks them likewise. Only the first 65,536 count. @return as tsh_tree_open. */
TSH_API tsh_tree_t *tsh_tree_over(const tree_node_t *nodes, uint32_t node_count,
                                  tsh_error_t *error);

/** Releases the handle and its mapping. Nodes of the tree, and cursors on it, must no longer be
 * used. Null is ignored. */
TSH_API void tsh_tree_close(tsh_tree_t *tree);

/** Number of nodes, 1 to 65,536. */
TSH_API uint32_t tsh_tree_node_count(const tsh_tree_t *tree);

/** The root, which is node 0 of the array. Node n is n records behind it. */
TSH_API const tree_node_t *tsh_tree_root(const tsh_tree_t *tree);

/** The first child of the root's child named "tsh_redirect_root", the root itself when that one has
 * no children. The root's first child is not considered. @return null when there is none. */
TSH_API const tree_node_t *tsh_tree_redirect_root(const tsh_tree_t *tree);

/** Index of a node. @return -1 for null and for a record outside the tree. */
TSH_API int32_t tsh_tree_index(const tsh_tree_t *tree, const tree_node_t *node);

/** Child n of a node of the tree, counted from 0. @return null when there is none. */
TSH_API const tree_node_t *tsh_tree_child(const tsh_tree_t *tree, const tree_node_t *node,
                                          uint32_t n);

#endif
