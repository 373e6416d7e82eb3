/* Tree writer: converts the grammar compiler's in-memory tree into an array tree, and writes array
 * trees as records of subtree files or without a header. */
#ifndef TSH_PARSE_TREE_TREE_WRITER_H
#define TSH_PARSE_TREE_TREE_WRITER_H

#include "parse_tree/tree_node.h"

#define TREE_WRITER_MAX_NODES 19998 /**< Maximum number of nodes of one record. */

typedef struct parser_node_t parser_node_t;
typedef struct parser_link_t parser_link_t;

/** One link of a child list. */
struct parser_link_t {
    parser_link_t *next;  /**< Null at the end. */
    parser_node_t *child; /**< Never null. */
    uint8_t marked;       /**< 1 marks the link in the record's child_link_bits. */
};

/** A node of the grammar compiler's tree. Strings may be null (an empty field) and are truncated to
 * their fields of tree_node_t. The caller owns everything. */
struct parser_node_t {
    char *name;
    char *token;
    char *help;
    char *submode_help;
    char *aux_text;
    char *func_id;
    char *mode_id;
    uint32_t flags;
    uint32_t aux_value1; /**< Its low 16 bits are stored. */
    char *aux_label;
    uint32_t optional; /**< Its low 16 bits are stored. */
    uint8_t cmi_msg_type;
    uint32_t token_id;
    uint32_t command_id;
    int32_t array_index; /**< Negative until the writer has assigned an index, then this index.
                              The writer never resets it. Links to an index above 65,535, which no
                              write assigns, are stored as 65,535. */
    uint32_t aux_value2; /**< Its low 16 bits are stored. */
    uint64_t intf_mask;
    uint32_t perms; /**< Becomes positions 0 to 31 of the record's perms_mask. */
    parameter_info_t params[TREE_MAX_PARAMS];
    int32_t has_param0;      /**< 1 if params[0] is present. */
    int32_t has_param1;      /**< 1 if params[1] is present; ignored without params[0]. */
    uint32_t compiler_word;  /**< Not read. */
    parser_link_t *children; /**< Head of the child list. */
};

/** Number of nodes that the current write has stored so far. */
TSH_API int32_t current_array_location;

/** Writes the tree of root as one record, in network order, to a gzFile open for writing. For a
 * null root, writes nothing. If a node has more than 192 links, reports its name on standard error
 * and writes no record. A child with an index from an earlier write is linked to the node that has
 * this index now. Reports an index outside the record, a duplicate child, and a cycle or more than
 * 256 levels on standard error, each kind once, and still writes the record. Readers reject the
 * record, except for excess depth alone. Exits with status 0 for more than 19,998 nodes, and with
 * status 1 if out of memory (20 MB for the layout), each after a message. Reports a write error on
 * standard output. To write the same tree again, the caller resets every array_index to -1. */
TSH_API void write_tree_to_file(parser_node_t *root, uint32_t version,
                                const subtree_path_t *attach_path, void *stream);

/** Stores a node and its descendants in the array in preorder, starting at index
 * current_array_location. Nodes that already have an index are shared, not stored again. The
 * capacity of the array is 19,998 records; exits with status 0 if it is exceeded. The call stack
 * does not grow with the depth of the tree. Exits with status 1 after a message if there is no
 * memory for the path. A null node uses one index; its record is not written.
 * @return the index of the node; -1 after a message on standard error if a node has more than 192
 *         links (or its list of links is a loop); the array then contains a part of the tree. */
TSH_API int32_t write_tree_to_array(tree_node_t *array, parser_node_t *node);

/** Fills one record from a node, except links and index; zeroes it for a null node. If bit 0 of an
 * interface mask of the node or its parameters is set, bits 18 and 19 are set as well. */
TSH_API void write_node_to_array(const parser_node_t *node, tree_node_t *record);

/** Copies a parameter; if bit 0 of its interface mask is set, bits 18 and 19 are set as well. */
TSH_API void copy_parameter_block(parameter_info_t *destination, const parameter_info_t *source);

/** Stores a permission word in the lowest 32 positions of a 128-bit set, a bit array of 16 bytes;
 * the other positions do not change. */
TSH_API void treefile_copy_permissions_mask(uint8_t *bits, uint32_t word);

/** Writes an array of node_count records, after a header and attach path unless headerless is
 * nonzero. If network is nonzero, the array is converted to network order in place and stays
 * converted. A null attach path means an empty one of kind 0.
 * Flushes the stream, so a result of 0 means that every byte was written.
 * @param stream a gzFile open for writing when compressed is non-zero, else a FILE *.
 * @return 0; -1 after "Error in writing to main_tree file" on standard output, with the
 *         errno of the write; the stream then contains a part of the record (nothing of a record of
 *         4 GiB or more). */
TSH_API int32_t write_array_tree_to_file(tree_node_t *array, uint32_t node_count, uint32_t version,
                                         const subtree_path_t *attach_path, void *stream,
                                         int32_t network, int32_t compressed, int32_t headerless);

#endif
