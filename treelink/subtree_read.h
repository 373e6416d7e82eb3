/* The linker's input: subtree files are read, plain or gzip-compressed, and every subtree in them
 * is filed as a record on one of two lists, its node names in the link table.
 *
 * One link is: read_parser_file for the root file, then for each other file, then get_parse_tree
 * (treelink/attach.h), or all of it through treelink/link_driver.h. The state of a link is
 * process-wide, so one link runs at a time. Where the linker finds no memory, the process ends with
 * TREELINK_OUT_OF_MEMORY; where GLib finds none for a table that grows, it ends the way GLib ends.
 *
 * What a link tells of on standard error is counted as well (treelink/link_report.h). */
#ifndef TSH_TREELINK_SUBTREE_READ_H
#define TSH_TREELINK_SUBTREE_READ_H

#include "parse_tree/tree_node.h"

#include <stdio.h>

typedef struct _GHashTable GHashTable; /**< GLib's own; its header is not needed here. */

#define SUBTREE_ATTACH_PATHS 32   /**< Attach paths one record has room for. */
#define SUBTREE_FILE_NAME_SIZE 64 /**< Bytes of a file name with its terminating zero. */

/** What one link files at most, which bounds its memory by some 1.5 GB whatever its files claim. */
#define TREELINK_MAX_NODES 1048576u
#define TREELINK_MAX_SUBTREES 131072u

/** Status of a process that the linker ends without memory. */
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
    uint8_t status;    /**< SUBTREE_PENDING when filed; set when subtrees are judged. */
    char attach_paths[SUBTREE_ATTACH_PATHS][TREE_NAME_SIZE]; /**< Names of the nodes to hang
                                                                  below. */
    int32_t path_count;                                      /**< Used entries of attach_paths. */
    uint32_t node_count;                                     /**< Nodes of the subtree. */
    tree_node_t *nodes;                     /**< Array tree in host order, node 0 its root. Comes
                                                 from malloc and belongs to the record. */
    char file_name[SUBTREE_FILE_NAME_SIZE]; /**< Where it came from; "main_tree.par" for a node
                                                 borrowed from a prebuilt tree. */
    struct subtree_entry_t *next;           /**< Next record of the list; null at the end. */
} subtree_entry_t;

/** The two lists of a link, each from the subtree read last to the one read first. */
TSH_API subtree_entry_t *tsh_root_tree_table;      /**< Root file; its head is linked upon. */
TSH_API subtree_entry_t *unresolved_subtree_table; /**< All other files. */

/** Non-zero: the next file that opens starts a new link. 1 at start and after every link. */
TSH_API int32_t fresh_tree_linking;

/** Kept for the program; the linker's messages go to standard output and standard error. */
TSH_API FILE *output_stream;

/** Stores the stream in output_stream. */
TSH_API void treelink_output_stream_set(FILE *stream);

/** Starts a link: two empty lists, a new link table, counters of 0. Releases nothing, for the end
 * of the link before did. @return 0. */
TSH_API int32_t treelink_init(void);

/** Reads every subtree of a file and files it, on tsh_root_tree_table for SUBTREE_FILE_ROOT, else
 * on unresolved_subtree_table. The first file that opens starts the link. A subtree that
 * read_par_tree refuses ends the reading of its file; those before it stay filed. So does one that
 * leads past TREELINK_MAX_NODES or TREELINK_MAX_SUBTREES, which is told on standard error.
 * @return 0 once the file was opened; -1 with errno set and a message on standard error when it
 *         cannot be opened or is a directory, nothing else being changed. */
TSH_API int32_t read_parser_file(const char *file_name, uint8_t kind);

/** Reads the next subtree of an open file.
 * Refused as corrupted, with "*** Treelink Warning ***: Incompatible format/Corrupted .par file %s
 * ignored\n" on standard error: a size of nodes that is no multiple of 1000 or beyond 65,536
 * records, an attach path of more than 1024 bytes or 32 names, a tree that breaks the rules of its
 * records (an index outside the subtree, a cycle ...). A file that ends within the nodes or within
 * a header, and compressed data that end early or cannot be inflated, are told on standard error;
 * the end of a whole file and a subtree of no nodes are silent. An attach path without terminating
 * zero ends where its field ends.
 * @param file_name for messages.
 * @param stream a gzFile when compressed is non-zero, else a FILE *, open for reading.
 * @param nodes receives the nodes, which the caller releases with free; null when there are none.
 * @param node_count receives their number, 0 when there are none.
 * @param path receives the attach path, its kind 0.
 * @param to_host non-zero: the file is in network order and converted; else it is in host order.
 * @return 0 for a subtree, -1 when there is none. */
TSH_API int32_t read_par_tree(const char *file_name, void *stream, tree_node_t **nodes,
                              uint32_t *node_count, subtree_path_t *path, int32_t to_host,
                              int32_t compressed);

/** Files a subtree: a new record at the front of the list takes the nodes over, and their names
 * enter the table, where names already known are reported on standard error. @return 0. */
TSH_API int32_t add_unresolved_subtree(subtree_entry_t **head, const char *file_name,
                                       tree_node_t *nodes, uint32_t node_count,
                                       const subtree_path_t *path, GHashTable *table);

/** Splits a comma-separated list of names, at most 1023 characters of it; empty names are left
 * out, long ones cut to 63 characters, names past the 32nd dropped. A null text has no names.
 * @param attach_paths the member of a subtree_entry_t, whose path_count is set as well.
 * @return the number of names. */
TSH_API int32_t extract_path(const char *text, char (*attach_paths)[TREE_NAME_SIZE]);

/** Reads a main tree kept as the first subtree of a subtree file; its attach path is dropped.
 * @return the node count with *out set, released with free_main_parse_tree; -1 after a message, a
 *         directory being a file that cannot be opened. */
TSH_API int32_t get_main_parse_tree(const char *path, tree_node_t **out);

#endif
