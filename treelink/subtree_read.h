/* Input of the linker: reads subtree files, plain or gzip-compressed. Every subtree becomes a
 * record in one of two lists; its node names are inserted into the link table.
 *
 * A link consists of read_parser_file for the root file, then for each other file, then
 * get_parse_tree (treelink/attach.h); treelink/link_driver.h does all of it. The state of a link is
 * process-wide, so only one link runs at a time. If memory runs out, the process exits with
 * TREELINK_OUT_OF_MEMORY; if GLib cannot grow a table, GLib ends the process.
 *
 * Messages of a link on standard error are also counted (treelink/link_report.h). */
#ifndef TSH_TREELINK_SUBTREE_READ_H
#define TSH_TREELINK_SUBTREE_READ_H

#include "parse_tree/tree_node.h"

#include <stdio.h>

typedef struct _GHashTable GHashTable; /**< Type of GLib, whose header is not needed here. */

#define SUBTREE_ATTACH_PATHS 32   /**< Maximum number of attach paths of a record. */
#define SUBTREE_FILE_NAME_SIZE 64 /**< Bytes of a file name, including its NUL. */

/** Limits of one link; they bound its memory use to about 1.5 GB, whatever sizes its files claim.
 */
#define TREELINK_MAX_NODES 1048576u
#define TREELINK_MAX_SUBTREES 131072u

/** Exit status if the linker runs out of memory. */
#define TREELINK_OUT_OF_MEMORY 100

/** Values of subtree_entry_t.status. */
#define SUBTREE_PENDING 10
#define SUBTREE_UNRESOLVABLE 20
#define SUBTREE_RESOLVABLE 30

/** Values of the reader's kind argument. */
#define SUBTREE_FILE_ROOT 1
#define SUBTREE_FILE_ORDINARY 2

/** One subtree read from a file. */
typedef struct subtree_entry_t {
    uint32_t position; /**< Index of its root in the linked array; 0 until it is copied there. */
    uint8_t status;    /**< SUBTREE_PENDING at first; set by mark_resolvable_subtrees. */
    char attach_paths[SUBTREE_ATTACH_PATHS][TREE_NAME_SIZE]; /**< Names of the nodes to attach
                                                                  to. */
    int32_t path_count;                                      /**< Used entries of attach_paths. */
    uint32_t node_count;                                     /**< Nodes of the subtree. */
    tree_node_t *nodes;                     /**< Array tree in host order with root 0. Allocated
                                                 with malloc and owned by the record. */
    char file_name[SUBTREE_FILE_NAME_SIZE]; /**< Source file; "main_tree.par" for a node
                                                 borrowed from a prebuilt tree. */
    struct subtree_entry_t *next;           /**< Next record of the list; null at the end. */
} subtree_entry_t;

/** The two lists of a link, in reverse order of reading. */
TSH_API subtree_entry_t *tsh_root_tree_table;      /**< Root file; its head becomes the root. */
TSH_API subtree_entry_t *unresolved_subtree_table; /**< All other files. */

/** Nonzero: the next file that can be opened starts a new link. Initially 1, and 1 after every
 * link. */
TSH_API int32_t fresh_tree_linking;

/** For use by the program; the linker prints its messages to standard output and standard error. */
TSH_API FILE *output_stream;

/** Stores the stream in output_stream. */
TSH_API void treelink_output_stream_set(FILE *stream);

/** Starts a link: two empty lists, a new link table, counters of 0. Releases nothing, because the
 * end of the previous link has released it. @return 0. */
TSH_API int32_t treelink_init(void);

/** Reads every subtree of a file and adds it to a list: tsh_root_tree_table for SUBTREE_FILE_ROOT,
 * else unresolved_subtree_table. The first file that can be opened starts the link. Stops reading
 * the file at a subtree that read_par_tree rejects, and at a subtree that exceeds
 * TREELINK_MAX_NODES or TREELINK_MAX_SUBTREES, which is reported on standard error; the subtrees
 * before it stay in the list. Data that is ignored because it follows a subtree without nodes or
 * the compressed data of a regular file, is also reported there.
 * @return 0 if the file was opened; -1 with errno set and a message on standard error if it cannot
 *         be opened or is a directory; nothing else is changed then. */
TSH_API int32_t read_parser_file(const char *file_name, uint8_t kind);

/** Reads the next subtree of an open file. Rejected as corrupt, with "*** Treelink Warning ***:
 * Incompatible format/Corrupted .par file %s ignored\n" on standard error: a size of nodes that is
 * not a multiple of 1000 or exceeds 65,536 records, an attach path of more than 1024 bytes or 32
 * names, an invalid tree (child index out of range, cycle ...). Reports a file that ends inside the
 * nodes or a header, and truncated or corrupt compressed data, on standard error. Prints nothing at
 * the end of a complete file and for a subtree without nodes. An attach path without NUL ends at
 * the end of its field.
 * @param file_name for messages.
 * @param stream a gzFile if compressed is nonzero, else a FILE *, open for reading.
 * @param nodes receives the nodes, which the caller releases with free; null if there are none.
 * @param node_count receives their number, 0 if there are none.
 * @param path receives the attach path, with kind 0.
 * @param to_host nonzero: the file is in network order and is converted; else it is in host order.
 * @return 0 for a subtree, -1 if there is none. */
TSH_API int32_t read_par_tree(const char *file_name, void *stream, tree_node_t **nodes,
                              uint32_t *node_count, subtree_path_t *path, int32_t to_host,
                              int32_t compressed);

/** Adds a subtree: inserts a new record, which takes ownership of the nodes, at the front of the
 * list, and the node names into the table. Reports duplicate names on standard error.
 * @param file_name for messages; null if the program has checked the names, of which neither this
 *        nor the link then reports duplicates.
 * @return 0. */
TSH_API int32_t add_unresolved_subtree(subtree_entry_t **head, const char *file_name,
                                       tree_node_t *nodes, uint32_t node_count,
                                       const subtree_path_t *path, GHashTable *table);

/** Splits a comma-separated list of names, at most 1023 characters of it. Skips empty names,
 * truncates names to 63 characters, and ignores names after the 32nd. A null text has no names.
 * @param attach_paths the member of a subtree_entry_t, whose path_count is set as well.
 * @return the number of names. */
TSH_API int32_t extract_path(const char *text, char (*attach_paths)[TREE_NAME_SIZE]);

/** Reads a main tree stored as the first subtree of a subtree file; ignores its attach path.
 * @return the node count with *out set, released with free_main_parse_tree; -1 after a message. A
 *         directory is a file that cannot be opened. */
TSH_API int32_t get_main_parse_tree(const char *path, tree_node_t **out);

#endif
