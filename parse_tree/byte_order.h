/* Byte order of tree files: conversion between host order and network order (most significant byte
 * first), in place. Texts, bit arrays and the opaque bytes of parameters are bytes and stay. */
#ifndef TSH_PARSE_TREE_BYTE_ORDER_H
#define TSH_PARSE_TREE_BYTE_ORDER_H

#include "parse_tree/tree_node.h"

/** Converts the six words of a header to network order. */
TSH_API void hton_subtree_header(subtree_header_t *header);

/** Converts the six words of a header to host order. */
TSH_API void ntoh_subtree_header(subtree_header_t *header);

/** Converts every node reachable from node 0 to network order, each exactly once, shared nodes
 * included. The two numbers are not used; callers pass 0. A child count above 192 is read as 192;
 * the child indices must lie inside the array. Takes 136 KB of call stack. */
TSH_API void hton_array_tree(tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** The same from network to host order. */
TSH_API void ntoh_array_tree(tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Reverses the bytes of every integer of count records, on any host: exchanges little-endian and
 * big-endian, its own inverse. Follows no link, so any bytes will do. */
TSH_API void tsh_swap_array_order(tree_node_t *nodes, uint32_t count);

#endif
