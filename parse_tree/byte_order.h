/* Byte order of tree files: conversion between host order and network order (big-endian), in place.
 * Strings, bit arrays and the opaque bytes of parameters do not change. */
#ifndef TSH_PARSE_TREE_BYTE_ORDER_H
#define TSH_PARSE_TREE_BYTE_ORDER_H

#include "parse_tree/tree_node.h"

/** Converts the six words of a header to network order. */
TSH_API void hton_subtree_header(subtree_header_t *header);

/** Converts the six words of a header to host order. */
TSH_API void ntoh_subtree_header(subtree_header_t *header);

/** Converts every node reachable from node 0 to network order, each exactly once, including
 * shared nodes. The two integers are unused; callers pass 0. A child count above 192 is read as
 * 192; the child indices must be inside the array. Uses 136 KB of call stack. */
TSH_API void hton_array_tree(tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Converts the nodes in the same way from network to host order. */
TSH_API void ntoh_array_tree(tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Reverses the bytes of every integer of count records, on any host: swaps between
 * little-endian and big-endian; its own inverse. Follows no link, so the records may be invalid. */
TSH_API void tsh_swap_array_order(tree_node_t *nodes, uint32_t count);

#endif
