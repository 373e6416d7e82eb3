/* String lists: the record of a split command line, and operations on it. */
#ifndef TSH_FEATURE_TSH_STR_LIST_H
#define TSH_FEATURE_TSH_STR_LIST_H

#include "platform/tsh_api.h"

#include <stdint.h>

#define STR_LIST_ENTRIES 512   /**< Entries of a list; the one after the last word is null. */
#define STR_LIST_MAX_WORDS 511 /**< Maximum number of words of a list. */
#define STR_CMD_LISTS 5        /**< Lists that belong to one command. */

/** Words of a line. The list and its words are allocated with tsh_malloc; the list owns its words.
 * A splitter returns a list of at least one word, or no list. */
typedef struct str_list_t {
    int32_t size;                    /**< Number of words, at most STR_LIST_MAX_WORDS. */
    char *str[STR_LIST_ENTRIES];     /**< The words; str[size] is null. */
    int32_t index[STR_LIST_ENTRIES]; /**< Offset of each word's first character in its line. */
} str_list_t;

/** Joins the words of a list with single spaces. Null and empty words add nothing; but if the last
 * word is null or empty, the result ends with the space before it.
 *
 *     [show] [lamp] [hue]    "show lamp hue"
 *     [a] [] [b]             "a b"
 *     [a] [b] []             "a b "
 *
 * @return a string from tsh_realloc, owned by the caller; null for a null list, for a list without
 *         words, for null and empty words that end with a null word, and if out of memory. */
TSH_API char *str_list_join(const str_list_t *list);

/** Releases a list and its words; null is ignored. */
TSH_API void str_list_free(str_list_t *list);

/** Releases the STR_CMD_LISTS lists of a command, any of which may be null, and sets all entries
 * of the array to null. */
TSH_API void str_cmd_list_free(str_list_t **lists);

/** Traces the size, the words and the offsets of a list (TSH_TRACE_WORDS); null is ignored. */
TSH_API void print_str_list(const str_list_t *list);

/** Writes "\nStr : %s" to standard output for each string of an array that ends with a null entry.
 * The array may be null.
 * @return 0. */
TSH_API int32_t print_str_arr(char *const *array);

/** Writes the first count characters (none if count is below 1) and a space to standard output, and
 * flushes it.
 * @return the result of fflush: 0, or EOF with errno set. */
TSH_API int32_t print_char(const char *characters, int32_t count);

/** Returns the number of entries before the null entry at the end of the array; 0 for a null array.
 */
TSH_API int32_t str_arr_size(char *const *array);

#endif
