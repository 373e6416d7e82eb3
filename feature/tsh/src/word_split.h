/* Splitting of a command line into words at a set of delimiters. */
#ifndef TSH_FEATURE_TSH_WORD_SPLIT_H
#define TSH_FEATURE_TSH_WORD_SPLIT_H

#include "feature/tsh/src/str_list.h"

/** Splits a line into words. With the delimiters " " it is the splitter of the shell: command lines
 * are looked up and resolved as it splits them. Consecutive delimiters are skipped. A double quote
 * at the start of a word is not part of it; every other one is. Between a pair of quotes,
 * delimiters do not end the word. The character directly after a quote that did not start the word
 * belongs to the word, whatever it is. An unmatched quote extends its word to the end of the line.
 * Words after STR_LIST_MAX_WORDS are ignored. The line is copied first: a space is inserted after a
 * final '|', '>' or '<', and into the first "|>"; offsets refer to this copy. With " " as
 * delimiters:
 *
 *     show run |> file    [show] 0, [run] 5, [|] 9, [>] 11, [file] 13
 *     echo "a b" c        [echo] 0, [a b" c] 6
 *     a"b c" d            [a"b c" d] 0
 *     x ""                [x] 0, ["] 3
 *     x "                 [x] 0
 *
 * Every step is traced (TSH_TRACE_WORDS); if there is no memory for the copy, this is traced
 * separately (TSH_TRACE_ALLOCATION).
 * @param line null is an empty line.
 * @param delimiters the first 32 characters are used; the double quote cannot be a delimiter. If a
 *        space is among them, white space is added up to this limit. A null or empty string means
 *        white space: space, \t, \n, \r, \f, \v.
 * @return a list for str_list_free; null without words, and if out of memory (including lines of 2
 *         GB and more). */
TSH_API str_list_t *strsplit(const char *line, const char *delimiters);

#endif
