/* The fields of a record as tables: one of tree_node_t, one of parameter_info_t, one of the named
 * bits of tree_node_t.flags. Programs that convert, check, print or compare records loop over them.
 * All tables are constant; any thread may read them. */
#ifndef TSH_PARSE_TREE_RECORD_FIELDS_H
#define TSH_PARSE_TREE_RECORD_FIELDS_H

#include "parse_tree/tree_node.h"

/** What the bytes of a field are. Integers are in host byte order in memory. */
typedef enum tsh_field_kind_t {
    TSH_FIELD_TEXT,       /**< Characters up to the first NUL; the NUL is inside the field. */
    TSH_FIELD_NUMBER,     /**< Unsigned integer. */
    TSH_FIELD_SIGNED,     /**< Signed integer. */
    TSH_FIELD_SET,        /**< Set of numbers from 0 on. Of width 1: a bit array, number i is bit
                               i % 8 of byte i / 8. Else an unsigned integer, number i is bit i. */
    TSH_FIELD_FLAGS,      /**< Unsigned integer whose bits tsh_node_flags names. */
    TSH_FIELD_TYPES,      /**< Unsigned integer: a parameter type mask. */
    TSH_FIELD_BYTES,      /**< Bytes that no operation interprets. */
    TSH_FIELD_COUNT,      /**< Unsigned integer: number of used elements of other fields. */
    TSH_FIELD_LINKS,      /**< Unsigned integers: indices of nodes in the array. */
    TSH_FIELD_PARAMETERS, /**< Records of type parameter_info_t. */
} tsh_field_kind_t;

/** Bits of traits. */
#define TSH_FIELD_YES_NO 0x1u     /**< A number that grammars write as yes (1) or no (0). */
#define TSH_FIELD_INTERFACES 0x2u /**< A set under the rule of TREE_INTF_ANY. */
#define TSH_FIELD_RESERVED 0x4u   /**< Every byte is zero. */

/** One field of a record: count elements of width bytes each. */
typedef struct tsh_field_t {
    const char *name;   /**< Name of the member, such as "func_id". */
    const char *key;    /**< Its key in a grammar, such as "function"; null: it has none. */
    uint16_t offset;    /**< From the start of its record, in bytes. */
    uint16_t width;     /**< Bytes of one element. */
    uint16_t count;     /**< Number of elements, 1 or more. */
    uint16_t counter;   /**< Offset of the COUNT field with the number of used elements (of a SET:
                             only smaller numbers mean something); 0: all are used. */
    uint16_t key_order; /**< Rank of the key: grammars are written in ascending order; 0: no key. */
    uint16_t list_order; /**< Rank in lists of values, as ocmd_show --nodes prints them and
                              ocmd_diff compares them; 0: not in them. */
    uint16_t traits;     /**< TSH_FIELD_YES_NO and the like. */
    tsh_field_kind_t kind;
} tsh_field_t;

/** One named bit of tree_node_t.flags. */
typedef struct tsh_flag_t {
    const char *name;   /**< Such as "terminal". */
    const char *effect; /**< What a set bit means, such as "a command ends at this node". */
    const char *key;    /**< Its key in a grammar; null: grammars list it under "flags". */
    uint16_t key_order; /**< Rank of the key among those of the node's fields; 0: no key. */
    uint32_t bit;       /**< Number of the bit, 0 the least significant. */
} tsh_flag_t;

/** Returns the fields of tree_node_t in the order of the record, without gap or overlap, and stores
 * their number in *count. */
TSH_API const tsh_field_t *tsh_node_fields(uint32_t *count);

/** Returns the fields of parameter_info_t in the same way. */
TSH_API const tsh_field_t *tsh_parameter_fields(uint32_t *count);

/** Returns the named flags, lowest bit first, and stores their number in *count. All other bits are
 * preserved. */
TSH_API const tsh_flag_t *tsh_node_flags(uint32_t *count);

/** Returns the integer in a field of a record (of a LINKS field: the first index), sign-extended if
 * the field is SIGNED; 0 for fields without integers: TEXT, BYTES, PARAMETERS and bit arrays. */
TSH_API uint64_t tsh_field_number(const tsh_field_t *field, const void *record);

/** Returns 1 if a SET or FLAGS field of a record contains the number, else 0; 0 as well for a
 * number beyond the field and for fields of other kinds. */
TSH_API int32_t tsh_field_contains(const tsh_field_t *field, const void *record, uint32_t number);

#endif
