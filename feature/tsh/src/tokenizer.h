/* Shell-like splitting of a line into tokens. Information about an unmatched quote is process-wide
 * state, written only by tokenize. */
#ifndef TSH_FEATURE_TSH_TOKENIZER_H
#define TSH_FEATURE_TSH_TOKENIZER_H

#include "feature/tsh/src/str_list.h"

/** Splits a line at white space. Double quotes start and end a word at any position, protect its
 * white space and are not part of it; empty quotes give no word. Inside a word, quoted or not, a
 * backslash escapes the character after it; both stay in the word. Every unquoted and unescaped
 * character of specials, and the byte 0xFF, is a separate token. Words after STR_LIST_MAX_WORDS are
 * dropped silently; a special after that many tokens makes the call fail. With the offsets, counted
 * from the first byte of the line:
 *
 *     set "a b" c        [set] 0, [a b] 5, [c] 10
 *     ab"cd"ef           [ab] 0, [cd] 3, [ef] 6
 *     a\ b c             [a\ b] 0, [c] 5
 *     show run|grep x    [show] 0, [run] 5, [|] 8, [grep] 9, [x] 14 if '|' is special
 *     say "hi            null, with unmatched_quote_flag 1 and unmatched_quote_index 4
 *
 * @param specials may be null; neither white space nor the double quote can be special.
 * @return a list for str_list_free, also traced by print_str_list; null for a null line, for
 *         invalid specials, without tokens, for an unmatched quote, for too many tokens, and if out
 *         of memory (including lines of 2 GB and more). */
TSH_API str_list_t *tokenize(const char *line, const char *specials);

/** 1 if the last tokenize failed because of an unmatched quote after it had found a token, else 0.
 */
TSH_API int32_t unmatched_quote_flag;

/** Offset of the unmatched double quote of the last tokenize, whether or not it had found a token;
 * 0 if there was none, or if memory ran out. */
TSH_API int32_t unmatched_quote_index;

/** Returns unmatched_quote_flag. */
TSH_API int32_t check_unmatched_quote(void);

/** Returns unmatched_quote_index. */
TSH_API int32_t get_unmatched_quote_index(void);

#endif
