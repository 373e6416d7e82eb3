/* Values of parameters: what each parameter type accepts, in one table; checking and reading a
 * value, giving an example of one, and naming types.
 *
 * No process-wide state: the built-in types are constant, and a program's own types live in a
 * handle. Every function that takes a handle accepts null for the built-in types. Functions that
 * only read a handle take no memory and may run in several threads at once. Strings that a function
 * returns belong to the handle. */
#ifndef TSH_PARAM_REG_VALUES_H
#define TSH_PARAM_REG_VALUES_H

#include "parse_tree/tree_node.h"

/** Notation of a type's values. */
typedef enum tsh_form_t {
    TSH_FORM_WORD,      /**< Any word: the type has no common notation. */
    TSH_FORM_LINE,      /**< The rest of the line. */
    TSH_FORM_NUMBER,    /**< One integer; base 16 with or without 0x. */
    TSH_FORM_RANGE,     /**< An integer, or two in rising order: 3, 3-7, -7--3. */
    TSH_FORM_LIST,      /**< Ranges separated by commas: 1-4,9. */
    TSH_FORM_IPV4,      /**< 192.0.2.1 */
    TSH_FORM_IPV6,      /**< 2001:db8::1 */
    TSH_FORM_IP,        /**< An IPv4 or an IPv6 address. */
    TSH_FORM_MAC,       /**< 02:00:5e:00:53:01, with '-' instead of ':', or 0200.5e00.5301 */
    TSH_FORM_WWN,       /**< 10:00:00:00:5e:00:53:01, or its 16 digits */
    TSH_FORM_GUID,      /**< 8-4-4-4-12 hexadecimal digits */
    TSH_FORM_FC_ID,     /**< 0x and up to six hexadecimal digits, or 01:02:03 */
    TSH_FORM_DNS_NAME,  /**< RFC 1123: labels of 1 to 63 bytes, 253 bytes in total */
    TSH_FORM_USER_HOST, /**< A user, '@', and a DNS name or an IP address */
    TSH_FORM_URI,       /**< RFC 3986: a scheme, ':', and characters that a URI may contain */
    TSH_FORM_COMMUNITY  /**< Two numbers up to 65535 with ':' between them, or one of 32 bits */
} tsh_form_t;

/** Meaning of the fields int_min and int_max of a parameter; several bits for several types. */
typedef enum tsh_bounds_t {
    TSH_BOUNDS_NONE = 0,    /**< Ignored. */
    TSH_BOUNDS_NUMBERS = 1, /**< Lowest and highest number; both 0: no bounds. */
    TSH_BOUNDS_LENGTH = 2,  /**< The low 16 bits of int_min, signed: maximum length in bytes; less
                                 than 1: no maximum. */
    TSH_BOUNDS_UNKNOWN = 4  /**< The mask names a type that the handle does not know. */
} tsh_bounds_t;

/** Result of a check. */
typedef enum tsh_check_t {
    TSH_CHECK_ACCEPTED,
    TSH_CHECK_WRONG_FORM,   /**< Not in the type's notation. */
    TSH_CHECK_OUT_OF_BOUNDS /**< In the type's notation, but outside the bounds. */
} tsh_check_t;

/** A value that was read. Fields that do not apply are 0. */
typedef struct tsh_value_t {
    uint32_t type;       /**< Single-type mask of the type that accepted the text; 0 if the mask of
                              the parameter names no type. */
    int64_t low;         /**< A number, or the lower end of the first range; UINT64 and HEX64: the
                              bits of the unsigned number. */
    int64_t high;        /**< The same number, or the upper end of the first range. */
    uint8_t bytes[16];   /**< Address, WWN, GUID or FC ID in network order. */
    uint32_t byte_count; /**< Used bytes. */
    uint32_t run_count;  /**< Ranges of a list, single numbers included; read them with
                              tsh_value_next_run. */
} tsh_value_t;

#define TSH_EXPECTED_SIZE 96 /**< Bytes of an expectation of one type, with its NUL. */
#define TSH_REASON_SIZE 256  /**< Bytes of a reason, with its NUL. */

struct tsh_type_t;

/** A program's own check of length bytes, which need not end in a NUL. *value is all zero except
 * for its type. For a value that is refused it may write into expected (TSH_EXPECTED_SIZE bytes,
 * empty before) what is expected, such as "1 to 8"; if it leaves it empty, the type's article and
 * plain name are used. */
typedef tsh_check_t (*tsh_check_fn)(const struct tsh_type_t *type,
                                    const parameter_info_t *parameter, const char *text,
                                    size_t length, tsh_value_t *value, char *expected);

/** One parameter type. */
typedef struct tsh_type_t {
    uint32_t mask;          /**< Single-type mask, see param_reg/param_registry.h. */
    const char *name;       /**< As registered and as listed: "IPv4 Address". */
    int32_t size;           /**< Bytes of a value as registered; 0: no fixed size. */
    tsh_form_t form;        /**< Not consulted for acceptance if check is set. */
    uint8_t base;           /**< Of numbers: 10 or 16; */
    uint8_t bits;           /**< 8, 16, 32 or 64; */
    uint8_t is_signed;      /**< 1: signed; bounds have the sign of their type. */
    tsh_bounds_t bounds;    /**< Which bounds apply. */
    const char *article;    /**< "an", or an empty string, */
    const char *plain_name; /**< before "IPv4 address". */
    const char *example;    /**< Accepted without bounds. */
    uint8_t may_repeat;     /**< 1: siblings of this type do not conflict. */
    tsh_check_fn check;     /**< Null: the form decides. */
    void *context;          /**< For check. */
} tsh_type_t;

/* ---- Types ---- */

/** Types of a program. */
typedef struct tsh_types_t tsh_types_t;

/** The built-in types; constant. */
TSH_API const tsh_types_t *tsh_types_builtin(void);

/** A copy of the built-in types to be changed. The caller owns it.
 * @return null without memory. */
TSH_API tsh_types_t *tsh_types_new(void);

/** Releases a handle from tsh_types_new; null is ignored. */
TSH_API void tsh_types_free(tsh_types_t *types);

/** Adds a type, or replaces the type of the same mask. The strings and the context must outlive the
 * handle.
 * @return 0; -1 if the mask is not a single type, a string is null, a type has numeric bounds but
 * no numeric form, base and width, or the reverse, or without memory; the handle is unchanged then.
 */
TSH_API int32_t tsh_types_set(tsh_types_t *types, const tsh_type_t *type);

/** Switches notations off: from now on all types but those with numeric bounds accept any word.
 * Lengths and numeric bounds stay. */
TSH_API void tsh_types_ignore_forms(tsh_types_t *types);

/** All types in ascending order of their masks. *count takes their number. */
TSH_API const tsh_type_t *tsh_types_list(const tsh_types_t *types, uint32_t *count);

/** The type of exactly this mask, or null. */
TSH_API const tsh_type_t *tsh_type_by_mask(const tsh_types_t *types, uint32_t mask);

/** The type of this name, ignoring case, or null. length counts bytes. */
TSH_API const tsh_type_t *tsh_type_by_name(const tsh_types_t *types, const char *name,
                                           size_t length);

/* ---- Masks of one or several types ---- */

/** Family and class of a mask. A mask combines only types of one class. */
TSH_API uint32_t tsh_mask_class(uint32_t mask);

/** The next single-type mask of a mask, lowest type bit first: pass 0 for the first one, then the
 * last result. @return 0 after the last one. */
TSH_API uint32_t tsh_mask_next_type(uint32_t mask, uint32_t previous);

/** Writes the mask as grammars spell it: type names joined by " | ", or the mask in hexadecimal if
 * not every bit has a name. Truncates to capacity; text may be null if capacity is 0.
 * @return the length of the complete text without its NUL. */
TSH_API size_t tsh_mask_text(const tsh_types_t *types, uint32_t mask, char *text, size_t capacity);

/** tsh_bounds_t bits of all types of the mask; TSH_BOUNDS_UNKNOWN for a mask without type bits. */
TSH_API uint32_t tsh_mask_bounds(const tsh_types_t *types, uint32_t mask);

/** Returns 1 if a value is the rest of its line: all types are known, and one is TSH_FORM_LINE. */
TSH_API int32_t tsh_mask_takes_rest(const tsh_types_t *types, uint32_t mask);

/** Returns 1 if several siblings of exactly this mask may stand below one parent. */
TSH_API int32_t tsh_mask_may_repeat(const tsh_types_t *types, uint32_t mask);

/** The highest bound that a parameter of this mask can have: 4294967295 if all its types are
 * unsigned numbers, else 2147483647. */
TSH_API int64_t tsh_mask_highest_bound(const tsh_types_t *types, uint32_t mask);

/** An int_min or int_max as the number that it means for this mask: unsigned if all types of the
 * mask are unsigned numbers. */
TSH_API int64_t tsh_mask_bound(const tsh_types_t *types, uint32_t mask, int32_t stored);

/* ---- Values ---- */

/** The bounds of a parameter. *low and *high take the lowest and the highest number, or 0 and the
 * maximum length; 0 if there are none.
 * @return TSH_BOUNDS_NUMBERS, TSH_BOUNDS_LENGTH, or TSH_BOUNDS_NONE if the parameter has none. */
TSH_API tsh_bounds_t tsh_parameter_bounds(const tsh_types_t *types,
                                          const parameter_info_t *parameter, int64_t *low,
                                          int64_t *high);

/** Checks length bytes against the types of a parameter, lowest type bit first; one has to accept
 * them. A parameter whose mask has no type bits, or a type that the handle does not know, accepts
 * any text. Linear in the length.
 * @param value takes the value; may be null. All zero if the text is refused.
 * @param reason TSH_REASON_SIZE bytes that take why the text is refused, in words: "expected 0 to
 *        100", "expected an IPv4 address"; empty if it is accepted. May be null.
 * @return TSH_CHECK_ACCEPTED; TSH_CHECK_OUT_OF_BOUNDS if a type accepts it but for the bounds. */
TSH_API tsh_check_t tsh_value_check(const tsh_types_t *types, const parameter_info_t *parameter,
                                    const char *text, size_t length, tsh_value_t *value,
                                    char *reason);

/** Reads the next range of a text that the type accepted; *offset is 0 for the first one. A single
 * number is both ends. @return 1; 0 after the last one, or if the type is not one of numbers. */
TSH_API int32_t tsh_value_next_run(const tsh_type_t *type, const char *text, size_t length,
                                   size_t *offset, int64_t *low, int64_t *high);

/** Which example of a value is wanted. */
typedef enum tsh_example_t {
    TSH_EXAMPLE_TYPICAL, /**< The type's example, or near it if bounds refuse that. */
    TSH_EXAMPLE_LOWEST,  /**< The lowest number, the shortest text. */
    TSH_EXAMPLE_HIGHEST  /**< The highest number, the widest range, the longest text; the typical
                              one if nothing limits it. */
} tsh_example_t;

/** Writes a value that tsh_value_check accepts for the parameter, of its first type that has one.
 * Truncates to capacity; text may be null if capacity is 0.
 * For a type with its own check, only the type's example is tried.
 * @return the length of the complete text without its NUL; -1 if no value is known. */
TSH_API int32_t tsh_value_example(const tsh_types_t *types, const parameter_info_t *parameter,
                                  tsh_example_t which, char *text, size_t capacity);

#endif
