/* Export macro of libtsh: C linkage and default visibility, for functions and globals. Names
 * declared without it are not exported.
 *
 * The library calls its own functions directly, except those that a device provides itself. A
 * program, or a library loaded before libtsh, may define these; its definitions are then called:
 * swapbits, bitset_compress, bitset_uncompress, hton_subtree_header, ntoh_subtree_header,
 * hton_array_tree, ntoh_array_tree, cycle_check, display_array_tree, populate_subtree_path,
 * tsh_parse_tree_root_set, treelink_lexicograph_cmp, robust_strlen, robust_strcpy, robust_strncpy,
 * robust_strncat, __strcpy_to_buf, __strcat_to_buf, __memset_to_buf. */
#ifndef TSH_PLATFORM_TSH_API_H
#define TSH_PLATFORM_TSH_API_H

#ifdef __cplusplus
#define TSH_API extern "C" __attribute__((visibility("default")))
#else
#define TSH_API extern __attribute__((visibility("default")))
#endif

#endif
