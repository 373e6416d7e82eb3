/* Shell-like splitting of a line into tokens. What is left behind about an open quote is one
 * process-wide state, written by tokenize alone. */
#ifndef TSH_FEATURE_TSH_TOKENIZER_H
#define TSH_FEATURE_TSH_TOKENIZER_H

#include "feature/tsh/src/str_list.h"

/** Splits a line at white space. Double quotes start and end a word wherever they stand, hold its
 * white space together and are not part of it; empty quotes give no word. Inside a word, quoted or
 * not, a backslash takes away the meaning of the character after it; both stay in the word. Every
 * character of specials, and the byte 0xFF, is a token of its own where it is neither quoted nor
 * escaped. Words beyond STR_LIST_MAX_WORDS are dropped without notice; a special that comes after
 * that many tokens makes the call fail. With the offsets, which count from the line's first byte:
 *
 *     set "a b" c        [set] 0, [a b] 5, [c] 10
 *     ab"cd"ef           [ab] 0, [cd] 3, [ef] 6
 *     a\ b c             [a\ b] 0, [c] 5
 *     show run|grep x    [show] 0, [run] 5, [|] 8, [grep] 9, [x] 14 when '|' is special
 *     say "hi            null, with unmatched_quote_flag 1 and unmatched_quote_index 4
 *
 * @param specials may be null; neither white space nor the double quote can be special.
 * @return a list for str_list_free, also traced by print_str_list; null for a null line, for
 *         specials that cannot be, when there is no token, when a quote stays open, when there are
 *         too many tokens, and without memory (lines of 2 GB and more are beyond it). */
TSH_API str_list_t *tokenize(const char *line, const char *specials);

/** 1 when the last tokenize failed on an open quote although it had found a token, else 0. */
TSH_API int32_t unmatched_quote_flag;

/** Offset of the double quote that the last tokenize left open, whether or not it had found a
 * token; 0 when it left none open or ran out of memory. */
TSH_API int32_t unmatched_quote_index;

/** unmatched_quote_flag. */
TSH_API int32_t check_unmatched_quote(void);

/** unmatched_quote_index. */
TSH_API int32_t get_unmatched_quote_index(void);

#endif
