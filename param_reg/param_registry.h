/* The parameter registry: one process-wide table of the types that parameter type masks name.
 *
 * A type mask is split by its top two bits, the family. Family 0 keeps the class in bits 20-23 and
 * one bit per type in bits 0-19; families 1 to 3 keep the class in bits 14-23 and the types in bits
 * 0-13. Bits 24-29 belong to no type. A mask with one type bit is the key of a registered type; one
 * with several type bits of a class is a combination, which is itself no key. */
#ifndef TSH_PARAM_REG_PARAM_REGISTRY_H
#define TSH_PARAM_REG_PARAM_REGISTRY_H

#include "parse_tree/tree_node.h"

#define PARAM_TYPE_FAMILY 0xC0000000u       /**< The family; all else depends on it. */
#define PARAM_TYPE_CLASS_0 0x00F00000u      /**< The class in masks of family 0. */
#define PARAM_TYPE_BITS_0 0x000FFFFFu       /**< The types in masks of family 0. */
#define PARAM_TYPE_CLASS_1_TO_3 0x00FFC000u /**< The class in all other families. */
#define PARAM_TYPE_BITS_1_TO_3 0x00003FFFu  /**< The types in all other families. */

#define PARAM_REG_CAPACITY 64
#define PARAM_REG_NAME_SIZE 32        /**< Bytes of a type name with its terminating zero. */
#define PARAM_REG_MAX_VALUE_SIZE 1024 /**< Largest size of a value in bytes. */

/** Decides whether the parameter's value belongs to a type; non-zero means yes. */
typedef int32_t (*param_match_t)(const parameter_info_t *param);

/** One registered type. Records live until the process ends. */
typedef struct param_reg_info_t {
    uint32_t id;                    /**< Single-type key, unique in the table. */
    char name[PARAM_REG_NAME_SIZE]; /**< Display name, cut to fit; unique ignoring case unless
                                         names were cut. */
    int32_t size;                   /**< Bytes of a value, 1 to 1024; 0 when not given. */
    void *extra1;                   /**< Kept for the registering program. */
    param_match_t match_fn;         /**< May be null. */
    void *extra2;                   /**< Kept for the registering program. */
} param_reg_info_t;

typedef struct param_reg_table_t {
    param_reg_info_t *entries[PARAM_REG_CAPACITY]; /**< The first count, in registration order. */
    uint32_t count;
} param_reg_table_t;

/** The table, empty at start; filled by registrations, only read afterwards. */
TSH_API param_reg_table_t pinfo_reg_tbl;

/** Empties the table; the records themselves are not released. @return 0. */
TSH_API int32_t init_pinfo_reg_table(void);

/** Registers a type under its single-type key. The name is compared with those in the table as it
 * is given and then copied, cut to 31 characters: a longer name is taken beside one that is equal
 * that far, and the two look alike in the table. A size outside 1 to 1024 is kept as 0.
 * @return 0; -1 for a null or empty name, an id or name (ignoring case) that is taken, or a full
 *         table; -2 when the record cannot be allocated. The table is unchanged on failure. */
TSH_API int32_t param_register(uint32_t id, const char *name, int32_t size, void *extra1,
                               param_match_t match_fn, void *extra2);

/** The type whose id is exactly this mask, or null. The table owns it. */
TSH_API const param_reg_info_t *param_reg_info_get(uint32_t mask);

/** The name of that type, or null. */
TSH_API const char *param_reg_name_get(uint32_t mask);

/** The mask itself when a type is registered under it, else 0. */
TSH_API uint32_t param_reg_index_get(uint32_t mask);

/** The first single type of the parameter's mask, lowest type bit first, whose match function
 * accepts the parameter; a type without one accepts nothing.
 * @return null when no type accepts it, and as soon as a type of the mask is not registered. */
TSH_API const param_reg_info_t *param_reg_info_check_get_combn(const parameter_info_t *param);

#endif
