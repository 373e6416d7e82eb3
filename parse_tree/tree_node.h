/* The records of tree files: the node with its two parameters, the header of a subtree record and
 * its attach path. These layouts are file formats; the bytes are the same on every host. */
#ifndef TSH_PARSE_TREE_TREE_NODE_H
#define TSH_PARSE_TREE_TREE_NODE_H

#include "platform/tsh_api.h"

#include <stddef.h>
#include <stdint.h>

#define TREE_NODE_SIZE 1000         /**< Bytes of one node record. */
#define TREE_MAX_CHILDREN 192       /**< Maximum number of children of a node. */
#define TREE_MAX_PARAMS 2           /**< Maximum number of parameters of a node. */
#define TREE_MAX_NODES 65536        /**< Maximum number of nodes: child indices have 16 bits. */
#define TREE_MAX_LEVELS 256         /**< Capacity of the traversal stack, including the root. */
#define TREE_NAME_SIZE 64           /**< Bytes of a node name, including its NUL. */
#define TREE_TOKEN_SIZE 32          /**< Bytes of a token, including its NUL. */
#define SUBTREE_PATH_TEXT_SIZE 1024 /**< Bytes of an attach path, including its NUL. */

/** Bits of tree_node_t.flags; all others are preserved. */
#define TREE_FLAG_TERMINAL 0x4u            /**< A complete command ends at this node. */
#define TREE_FLAG_SUBMODE 0x8u             /**< The node enters a submode made of its children. */
#define TREE_FLAG_EXCLUDED 0x400u          /**< Single mode omits the node and its descendants. */
#define TREE_FLAG_EXCLUDED_ALSO 0x4000000u /**< The same exclusion. */

/** If bit 0 of an interface mask is set, bits 18 and 19 are set as well. */
#define TREE_INTF_ANY 0x1u
#define TREE_INTF_IMPLIED 0xC0000u

/** Value of tree_node_t.optional that lets the look-ahead walk enter a submode node. */
#define TREE_OPTIONAL_SUBMODE_ENTERED 4

#pragma pack(push, 4)

/** Description of one parameter inside a node: 100 bytes. */
typedef struct parameter_info_t {
    uint32_t type_mask;  /**< Parameter type mask, see param_reg/param_registry.h. */
    uint64_t intf_mask;  /**< Interface mask, under the same rule as the node's. */
    uint8_t opaque1[64]; /**< Preserved from the grammar compiler. */
    int32_t int_min;     /**< Minimum value; for strings its low 16 bits are the maximum length. */
    int32_t int_max;     /**< Maximum value. Both 0: no bounds. */
    uint8_t opaque2[16]; /**< Preserved. */
} parameter_info_t;

/** One keyword or parameter position of the command language: 1000 bytes, integers in host order
 * in memory. A command line has the keyword first, then one word for each parameter; a keyword may
 * be joined to its first parameter (resolve/resolver.h). In a bit array, number i is bit i % 8 of
 * byte i / 8, where bit 0 is the least significant. Strings are NUL-terminated within their fields,
 * unused bytes are zero. A node contains the indices of its children, but not of its parents. It
 * may have several parents. */
typedef struct tree_node_t {
    char name[TREE_NAME_SIZE];   /**< Unique name of the node. */
    char token[TREE_TOKEN_SIZE]; /**< Keyword; empty at a parameter position. */
    char help[64];               /**< Help text of the word. */
    char submode_help[32];       /**< Help text of the submode that the node enters. */
    char aux_text[16];           /**< Preserved. */
    char func_id[48];            /**< Name of the function that handles the command. */
    char mode_id[24];            /**< Name of the mode the node belongs to or enters. */
    char aux_label[48];          /**< Preserved. */
    uint16_t optional;           /**< 0: the word is required. */
    uint16_t cmi_msg_type;       /**< CMI message type, 0 to 255. */
    uint32_t flags;              /**< TREE_FLAG_ bits. */
    uint32_t token_id;           /**< Numeric identifier of the token. */
    uint32_t command_id;         /**< Numeric identifier of the command completed here. */
    uint8_t perms_mask[16];      /**< Permissions, a 128-bit set as a bit array. */
    parameter_info_t params[TREE_MAX_PARAMS]; /**< The first param_count are used. */
    uint16_t aux_value1;                      /**< Preserved. */
    uint16_t param_count;                     /**< 0 to 2. */
    uint16_t aux_value2;                      /**< Preserved. */
    uint16_t child_count;                     /**< 0 to 192. */
    uint16_t children[TREE_MAX_CHILDREN];     /**< Indices into the same array; entries from
                                                   child_count on are unused. */
    uint8_t child_link_bits[32];              /**< Marked links, a 256-bit set as a bit array. */
    uint64_t intf_mask;  /**< Interface kinds under which the command exists. */
    uint8_t reserved[8]; /**< Zero. */
} tree_node_t;

/** Header of one record of a subtree file: six words, big-endian in the file. */
typedef struct subtree_header_t {
    uint32_t version;     /**< Given by the writer's caller; not checked by readers. */
    uint32_t path_kind;   /**< Kind word of the attach path; not checked by readers. */
    uint32_t path_len;    /**< Bytes of the following path, including its NUL. */
    uint32_t tree_bytes;  /**< Bytes of the node array after the path. */
    uint32_t reserved[2]; /**< Zero. */
} subtree_header_t;

/** Attach path in memory: the comma-separated names of the nodes to attach to. */
typedef struct subtree_path_t {
    uint32_t kind;                     /**< 2 in the linker's records. */
    char path[SUBTREE_PATH_TEXT_SIZE]; /**< NUL-terminated string. */
} subtree_path_t;

#pragma pack(pop)

/** params[0].type_mask of the node. */
TSH_API uint32_t node_get_param0_mask(const tree_node_t *node);

/** intf_mask of a parameter. */
TSH_API uint64_t node_param_get_intf_mask(const parameter_info_t *param);

#ifdef __cplusplus
#define TREE_LAYOUT_HOLDS(condition) static_assert(condition)
#else
#define TREE_LAYOUT_HOLDS(condition) _Static_assert(condition, #condition)
#endif

/* Without padding, these sizes determine every offset; record_fields.h lists them. */
TREE_LAYOUT_HOLDS(sizeof(parameter_info_t) == 100);
TREE_LAYOUT_HOLDS(sizeof(tree_node_t) == TREE_NODE_SIZE);
TREE_LAYOUT_HOLDS(sizeof(subtree_header_t) == 24);
TREE_LAYOUT_HOLDS(offsetof(subtree_header_t, version) == 0);
TREE_LAYOUT_HOLDS(offsetof(subtree_header_t, path_kind) == 4);
TREE_LAYOUT_HOLDS(offsetof(subtree_header_t, path_len) == 8);
TREE_LAYOUT_HOLDS(offsetof(subtree_header_t, tree_bytes) == 12);
TREE_LAYOUT_HOLDS(offsetof(subtree_header_t, reserved) == 16);
TREE_LAYOUT_HOLDS(sizeof(subtree_path_t) == 4 + SUBTREE_PATH_TEXT_SIZE);

#undef TREE_LAYOUT_HOLDS

#endif
