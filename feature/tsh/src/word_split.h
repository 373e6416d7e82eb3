/* Splitting of a command line into words at a set of delimiters. */
#ifndef TSH_FEATURE_TSH_WORD_SPLIT_H
#define TSH_FEATURE_TSH_WORD_SPLIT_H

#include "feature/tsh/src/str_list.h"

/** Splits a line into words. The line is copied first: a final '|', '>' or '<' gets a blank behind
 * it, and the first "|>" one between the two; offsets count in that copy. Runs of delimiters are
 * skipped. A double quote that begins a word is not part of it; every other one is. A quote opens
 * or closes a stretch without delimiters, and the character right after it belongs to the word
 * whatever it is, unless the quote began the word. Words beyond STR_LIST_MAX_WORDS are ignored.
 * @param line null counts as empty.
 * @param delimiters the first 32 characters count; the double quote cannot be one. With a blank
 *        among them white space is added as far as there is room; a null or empty text stands for
 *        white space: blank, \t, \n, \r, \f, \v.
 * @return a list for str_list_free; null when there is no word, and without memory (lines of 2 GB
 *         and more are beyond it). */
TSH_API str_list_t *strsplit(const char *line, const char *delimiters);

#endif
