/* Splitting of a command line into words at a set of delimiters. */
#ifndef TSH_FEATURE_TSH_WORD_SPLIT_H
#define TSH_FEATURE_TSH_WORD_SPLIT_H

#include "feature/tsh/src/str_list.h"

/** Splits a line into words. With the delimiters " " it is the splitter of the shell: command lines
 * are looked up and resolved as it splits them. Runs of delimiters are skipped. A double quote that begins a word is
 * not part of it; every other one is. Quotes open and close stretches without delimiters, and the
 * character right after a quote that did not begin the word belongs to it whatever it is. A quote
 * that stays open extends its word to the end of the line. Words beyond STR_LIST_MAX_WORDS are
 * ignored. The line is copied first: a final '|', '>' or '<' gets a blank behind it, and the first
 * "|>" one between the two; offsets count in that copy. With the delimiters " ":
 *
 *     show run |> file    [show] 0, [run] 5, [|] 9, [>] 11, [file] 13
 *     echo "a b" c        [echo] 0, [a b" c] 6
 *     a"b c" d            [a"b c" d] 0
 *     x ""                [x] 0, ["] 3
 *     x "                 [x] 0
 *
 * Every step is traced (TSH_TRACE_WORDS); that there is no memory for the copy is traced on its own
 * (TSH_TRACE_ALLOCATION).
 * @param line null counts as empty.
 * @param delimiters the first 32 characters count; the double quote cannot be one. With a blank
 *        among them white space is added as far as there is room; a null or empty text stands for
 *        white space: blank, \t, \n, \r, \f, \v.
 * @return a list for str_list_free; null when there is no word, and without memory (lines of 2 GB
 *         and more are beyond it). */
TSH_API str_list_t *strsplit(const char *line, const char *delimiters);

#endif
