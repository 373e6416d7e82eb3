/* The tree writer: lays the grammar compiler's in-memory tree out as an array tree and stores it
 * as one record of a subtree file, or an array tree as it is. */
#ifndef TSH_PARSE_TREE_TREE_WRITER_H
#define TSH_PARSE_TREE_TREE_WRITER_H

#include "parse_tree/tree_node.h"

#define TREE_WRITER_MAX_NODES 19998 /**< Nodes that one record can be laid out with. */

typedef struct parser_node_t parser_node_t;
typedef struct parser_link_t parser_link_t;

/** One link of a child list. */
struct parser_link_t {
    parser_link_t *next;  /**< Null at the end. */
    parser_node_t *child; /**< Never null. */
    uint8_t marked;       /**< 1 marks the link in the record's child_link_bits. */
};

/** A node of the grammar compiler's tree. Texts may be null (an empty field) and are cut to their
 * fields of tree_node_t. The caller owns everything. */
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
    int32_t array_index; /**< Negative until the writer has placed the node, then its index. The
                              writer never resets it. Links to an index above 65,535, which no
                              write gives, are stored as 65,535. */
    uint32_t aux_value2; /**< Its low 16 bits are stored. */
    uint64_t intf_mask;
    uint32_t perms; /**< Becomes positions 0 to 31 of the record's perms_mask. */
    parameter_info_t params[TREE_MAX_PARAMS];
    int32_t has_param0;      /**< 1 when params[0] is present. */
    int32_t has_param1;      /**< 1 when params[1] is present; counts only beside the first. */
    uint32_t compiler_word;  /**< Not read. */
    parser_link_t *children; /**< Head of the child list. */
};

/** Nodes placed so far by the current write. */
TSH_API int32_t current_array_location;

/** Writes the tree below root as one record, in network order, to a gzFile open for writing. A
 * null root writes nothing. A node with more than 192 links is named on standard error and no
 * record is written. A child that kept the index of an earlier write is linked by that index: to
 * whichever node has it now. An index outside the record, a child listed twice, and a cycle or more
 * than 256 levels are reported on standard error, each kind once, and the record written all the
 * same; readers refuse it unless depth is all there is to it.
 * More than 19,998 nodes end the process with status 0, missing memory (20 MB for the layout) ends
 * it with status 1, each after a message. A failed write is reported on standard output. To
 * write the same tree again the caller resets every array_index to -1. */
TSH_API void write_tree_to_file(parser_node_t *root, uint32_t version,
                                const subtree_path_t *attach_path, void *stream);

/** Lays a node and everything below it out from place current_array_location on, in preorder;
 * nodes that have an index already are shared, not laid out again. The array has room for 19,998
 * records; one more ends the process with status 0. The call stack does not grow with the depth
 * of the tree; missing memory for its path ends the process with status 1 after a message. A null
 * node takes a place and leaves the record there as it is.
 * @return the index of the node; -1 when a node has more than 192 links (or a list of links that
 *         loops), after standard error has named it, and the array then holds a part of the
 *         tree. */
TSH_API int32_t write_tree_to_array(tree_node_t *array, parser_node_t *node);

/** Fills one record from a node, its links and index apart; zeroes it for a null node. Interface
 * masks with bit 0, the node's and its parameters', get bits 18 and 19 as well. */
TSH_API void write_node_to_array(const parser_node_t *node, tree_node_t *record);

/** Copies a parameter; an interface mask with bit 0 gets bits 18 and 19 as well. */
TSH_API void copy_parameter_block(parameter_info_t *destination, const parameter_info_t *source);

/** Puts a permission word into the lowest 32 positions of a 128-bit set kept as a bit array of 16
 * bytes; the other positions keep their value. */
TSH_API void treefile_copy_permissions_mask(uint8_t *bits, uint32_t word);

/** Writes an array of node_count records, preceded by header and attach path unless headerless.
 * With network set, the array is converted to network order in place and stays so. A null attach
 * path counts as an empty one of kind 0.
 * The stream is flushed, so that a result of 0 means that every byte was taken.
 * @param stream a gzFile open for writing when compressed is non-zero, else a FILE *.
 * @return 0; -1 after "Error in writing to main_tree file" on standard output, errno as the write
 *         left it and the stream holding a part of the record (nothing of one of 4 GiB or more). */
TSH_API int32_t write_array_tree_to_file(tree_node_t *array, uint32_t node_count, uint32_t version,
                                         const subtree_path_t *attach_path, void *stream,
                                         int32_t network, int32_t compressed, int32_t headerless);

#endif
