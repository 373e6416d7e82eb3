/* String lists: the record in which the library hands a split command line to its callers, and
 * what can be done with one whatever made it. */
#ifndef TSH_FEATURE_TSH_STR_LIST_H
#define TSH_FEATURE_TSH_STR_LIST_H

#include "platform/tsh_api.h"

#include <stdint.h>

#define STR_LIST_ENTRIES 512   /**< Entries of a list; the one after the last word is null. */
#define STR_LIST_MAX_WORDS 511 /**< Words a list in a caller's hands holds at most. */
#define STR_CMD_LISTS 5        /**< Lists that belong to one command. */

/** Words of a line. The list and its words are blocks from tsh_malloc; the list owns its words.
 * Whoever splits a line hands out at least one word, or no list. */
typedef struct str_list_t {
    int32_t size;                    /**< Words held, at most STR_LIST_MAX_WORDS. */
    char *str[STR_LIST_ENTRIES];     /**< The words; str[size] is null. */
    int32_t index[STR_LIST_ENTRIES]; /**< Offset of each word's first character in its line. */
} str_list_t;

/** The words of a list joined by single blanks; null and empty words add nothing, but a result
 * whose last word is null or empty ends in the blank before it.
 *
 *     [show] [lamp] [hue]    "show lamp hue"
 *     [a] [] [b]             "a b"
 *     [a] [b] []             "a b "
 *
 * @return a text from tsh_realloc, owned by the caller; null for a null list, a list without
 *         words, null and empty words that end in a null one, and without memory. */
TSH_API char *str_list_join(const str_list_t *list);

/** Releases a list and its words; null is ignored. */
TSH_API void str_list_free(str_list_t *list);

/** Releases the STR_CMD_LISTS lists of a command, any of which may be null, and leaves all of the
 * array's entries null. */
TSH_API void str_cmd_list_free(str_list_t **lists);

/** Traces the size, the words and the offsets of a list (TSH_TRACE_WORDS); null is ignored. */
TSH_API void print_str_list(const str_list_t *list);

/** Writes "\nStr : %s" to standard output for each text of an array that ends with a null entry.
 * The array may be null.
 * @return 0. */
TSH_API int32_t print_str_arr(char *const *array);

/** Writes the first count characters (none when count is below 1) and a blank to standard output,
 * and flushes it.
 * @return the result of fflush: 0, or EOF with errno set. */
TSH_API int32_t print_char(const char *characters, int32_t count);

/** Entries before the null entry that ends the array; 0 for a null array. */
TSH_API int32_t str_arr_size(char *const *array);

#endif
