/* Resolver: typed command lines to nodes, values and completions.
 *
 * A program that runs commands, checks saved configurations, completes words or shows help asks the
 * same question: which commands of the tree does this line stand for? The resolver answers it.
 *
 *   grammar   one or more valid trees with their indices; immutable, shared by all threads
 *   context   one user: the submodes entered, and the nodes that exist for that user
 *   answer    the result of a call and all memory for it; reused from call to call
 *
 * There is no process-wide state, no output and no exit; the loaded tree (parse_tree/tree_load.h)
 * and the registry (param_reg/param_registry.h) are neither read nor written. Any number of threads
 * may resolve at once, each with its own answer; a context that several threads use must not be
 * changed meanwhile. Nodes belong to the trees and live as long as the grammar. Strings and arrays
 * reached from an answer live until the next call that writes the answer. Texts are given with
 * their lengths, need no NUL and are not kept; offsets count their bytes.
 *
 * Words. A line is split as strsplit(line, " ") splits it (feature/tsh/src/word_split.h), the
 * splitter of the shell; tokenize (tokenizer.h) is not consulted. A quote that ends the line is
 * therefore no word: show " is show. A line of nothing else is refused. Every word is read in every
 * possible way:
 *
 *   - as a keyword in full, or abbreviated to any prefix; case is ignored;
 *   - as a value of a parameter, without the quotes around it;
 *   - as a keyword in full that is joined to its first value: pace5 for pace<INTEGER>;
 *   - a value of LINE takes the rest of the line, quotes and spaces included;
 *   - optional words may be left out, and nodes without keyword and parameter take no word.
 *
 * A node's keyword comes first, then its parameters, one word each: a node with two parameters
 * needs two words, both of them. A line may end at a terminal and at a submode. It may also end
 * before an optional terminal or submode, whose function is then run, unless it may end without
 * leaving anything out. Children of a submode are reached only by entering it: by "/", or by
 * tsh_context_enter. An optional submode whose optional field is TREE_OPTIONAL_SUBMODE_ENTERED may
 * be left out like any other optional word.
 *
 * Preference. All readings are kept that can still finish the line. Those that finish it are
 * compared word by word from the left; at the first difference the better one counts:
 *
 *   typed line                          line of a saved configuration (TSH_SAVED_LINE)
 *   1. "/"                              1. keyword in full
 *   2. keyword in full                  2. keyword joined to a value, the longest keyword first
 *   3. abbreviated keyword              3. value of one word
 *   4. keyword joined to a value        4. value of LINE
 *   5. value of one word                5. abbreviated keyword
 *   6. value of LINE
 *
 * Readings that remain equal are ambiguous if they spell a word differently: another keyword, or a
 * parameter of other types. Siblings that are spelled alike are one word; a line may therefore lead
 * to several nodes.
 *
 * The single-step look-up atnode_find_cmd_index (atnode/command_lookup.h) differs: the first match
 * of each word wins, and there are no values, optional words and submodes. */
#ifndef TSH_RESOLVE_RESOLVER_H
#define TSH_RESOLVE_RESOLVER_H

#include "param_reg/values.h"
#include "parse_tree/tree.h"

typedef struct tsh_grammar_t tsh_grammar_t; /**< Indices of one tree or several, immutable. */
typedef struct tsh_context_t tsh_context_t; /**< The submodes and settings of one user. */
typedef struct tsh_answer_t tsh_answer_t;   /**< The result of resolving, used again and again. */

/** Bytes begin to end - 1 of a line. */
typedef struct tsh_range_t {
    size_t begin; /**< Offset of the first byte. */
    size_t end;   /**< Offset after the last byte. */
} tsh_range_t;

/** Result of resolving a line. */
typedef enum tsh_verdict_t {
    TSH_ACCEPTED,   /**< A command or a submode: the readings. */
    TSH_INCOMPLETE, /**< More words must follow: the candidates. The range is empty, at the end. */
    TSH_AMBIGUOUS, /**< Equal readings spell the word at the range differently: the candidates and a
                        reading for each of them. */
    TSH_REFUSED,   /**< No reading has the word at the range: the reason and the candidates. */
    TSH_EMPTY,     /**< Nothing but white space. */
    TSH_NO_MEMORY  /**< The answer is empty; context and grammar are unchanged. */
} tsh_verdict_t;

/** Why a word was refused. */
typedef enum tsh_reason_t {
    TSH_REASON_NONE,
    TSH_REASON_UNKNOWN,       /**< Begins no keyword, and no value is expected. */
    TSH_REASON_VALUE,         /**< No parameter accepts it; the text says what is expected. */
    TSH_REASON_SURPLUS,       /**< Nothing may follow. */
    TSH_REASON_SUBMODE,       /**< Nothing may follow, but the submode has it: put "/" before it. */
    TSH_REASON_HIDDEN,        /**< Exists, but not for this user; only with TSH_REPORT_HIDDEN. */
    TSH_REASON_ZERO_BYTE,     /**< The line contains a NUL; the range is that byte. */
    TSH_REASON_TOO_MANY_WORDS /**< More than 511 words; the range begins at the next one. */
} tsh_reason_t;

/** A keyword or a value of a reading. A joined word makes two. */
typedef struct tsh_word_t {
    tsh_range_t range;       /**< With its quotes; of a joined word the part in question. */
    const tree_node_t *node; /**< Whose keyword or parameter it is. */
    int32_t parameter;       /**< -1: the keyword; else the index in node->params. */
    uint32_t level;          /**< Submodes that the line enters by "/" before the word. */
    const char *text;        /**< The keyword as the tree spells it; the value without the quotes
                                  around it. Ends in a NUL. */
    tsh_value_t value;       /**< Of a parameter; all zero for a keyword and if values are not
                                  checked (TSH_ANY_VALUE). */
} tsh_word_t;

/** One reading of a line. */
typedef struct tsh_reading_t {
    const tree_node_t *node;    /**< Reached by the last word; null before the first one. */
    const tree_node_t *command; /**< At which the line ends: node, or an optional one that is left
                                     out behind it. Null if the line is incomplete. */
    int32_t is_submode;         /**< 1 if command enters a submode. */
    uint32_t word_count;        /**< Elements of words. */
    const tsh_word_t *words;    /**< In the order of the line, "/" left out. Null if brief. */
    uint32_t path_count;        /**< Elements of path. */
    const tree_node_t *const *path; /**< All nodes from the first word to the last or to command,
                                         those left out included. Null if brief. */
} tsh_reading_t;

/** A word that may stand at the range of an answer. */
typedef struct tsh_candidate_t {
    const tree_node_t *node; /**< The node of the word. */
    int32_t parameter;       /**< -1: the keyword; else the index in node->params. */
    int32_t is_optional;     /**< 1 if it may be left out. */
    const char *insert;      /**< Replaces the range: the keyword; empty for a parameter. */
    const char *text;        /**< As the listing spells it: "level", "<INTEGER>", "pace<INTEGER>",
                                  "hue[o]". */
    const char *bounds; /**< "-5 to 10", "up to 8 bytes"; empty without bounds or for a keyword. */
} tsh_candidate_t;

/** Options of tsh_resolve and tsh_complete, combined by "|". */
#define TSH_OUTWARD                                                                                \
    1u /**< A line that no reading finishes in the innermost submode is tried                      \
            in those around it: the innermost that finishes it counts. */
#define TSH_SAVED_LINE                                                                             \
    2u                       /**< A line of a saved configuration: values go before abbreviations, \
                                  and "/" is an ordinary word. */
#define TSH_REPORT_HIDDEN 4u /**< Refusals may say that a word exists, but not for this user. */
#define TSH_ANY_VALUE 8u     /**< Parameters accept any word. */
#define TSH_BRIEF                                                                                  \
    16u /**< Readings without words and paths; of an ambiguous line only verdict and range. For    \
             programs that check many lines. */

/* ---- Grammars ---- */

/** Opens a main par file as tsh_tree_open does and makes its grammar, which closes it in the end.
 * @param types null for the built-in types; else must outlive the grammar.
 * @param error takes the reason of a failure; may be null.
 * @return null on failure; released with tsh_grammar_close. */
TSH_API tsh_grammar_t *tsh_grammar_open(const char *path, const tsh_types_t *types,
                                        tsh_error_t *error);

/** Makes the grammar of a tree, which must outlive it: builds its indices, about 50 bytes a node
 * and 2 to 4 a link. Linear but for the sorting of words. */
TSH_API tsh_grammar_t *tsh_grammar_new(const tsh_tree_t *tree, const tsh_types_t *types,
                                       tsh_error_t *error);

/** A tree of a grammar of several ones. */
typedef struct tsh_grammar_tree_t {
    const tsh_tree_t *tree;   /**< Must outlive the grammar. */
    int32_t begins_with_root; /**< 1: lines begin with the word of the root, as those of a subtree
                                   that is attached elsewhere; 0: with the words below it. */
} tsh_grammar_tree_t;

/** Makes the grammar of several trees, whose first words stand side by side. */
TSH_API tsh_grammar_t *tsh_grammar_of_trees(const tsh_grammar_tree_t *trees, uint32_t tree_count,
                                            const tsh_types_t *types, tsh_error_t *error);

/** Releases a grammar; its contexts and answers must be released before. Null is ignored. */
TSH_API void tsh_grammar_close(tsh_grammar_t *grammar);

/** Node 0 of the first tree. */
TSH_API const tree_node_t *tsh_grammar_root(const tsh_grammar_t *grammar);

/** The n-th child of a node, in its own tree and in constant time (atnode_nth_child resolves the
 * children of any node through g_atn). @return null beyond the last child and for a node of another
 * grammar. */
TSH_API const tree_node_t *tsh_grammar_child(const tsh_grammar_t *grammar, const tree_node_t *node,
                                             uint32_t n);

/** The first node of this name, in constant time; null if there is none. */
TSH_API const tree_node_t *tsh_grammar_named(const tsh_grammar_t *grammar, const char *name);

/** Functions are numbered from 0 in the order of the first nodes that name them in func_id, so a
 * table of functions is an array. All three take constant time. */
TSH_API uint32_t tsh_grammar_function_count(const tsh_grammar_t *grammar);

/** The name of a function; null beyond the last number. */
TSH_API const char *tsh_grammar_function_id(const tsh_grammar_t *grammar, uint32_t number);

/** The number of a node's function; -1 if it names none, and for a node of another grammar. */
TSH_API int32_t tsh_grammar_function_of(const tsh_grammar_t *grammar, const tree_node_t *node);

/* ---- Contexts ---- */

/** Returns 1 if a node exists for the user, 0 if not. Permissions and interface kinds are the
 * device's to interpret. Descendants of a node that does not exist are not reached through it. */
typedef int32_t (*tsh_admit_fn)(const tree_node_t *node, void *user);

/** A context outside all submodes, for which every node exists. Released with tsh_context_free,
 * before the grammar. @return null without memory. */
TSH_API tsh_context_t *tsh_context_new(const tsh_grammar_t *grammar);

/** Releases a context; null is ignored. */
TSH_API void tsh_context_free(tsh_context_t *context);

/** Sets which nodes exist, by one call for each node of the grammar, and leaves the submodes that
 * no longer do.
 * @param admit null: every node exists.
 * @param single_mode 1: nodes with TREE_FLAG_EXCLUDED or TREE_FLAG_EXCLUDED_ALSO do not exist, and
 *        submodes are not entered (a line may still end at one).
 * @return the number of submodes left; -1 without memory, nothing changed. */
TSH_API int32_t tsh_context_admit(tsh_context_t *context, tsh_admit_fn admit, void *user,
                                  int32_t single_mode);

/** Enters the submode of an accepted line: that of all readings of the answer that enter one, which
 * are spelled alike. Copies the first of them. Submodes that TSH_OUTWARD went past are left before.
 * A line with "/" enters one submode for each "/" and one more.
 * @param answer of the last tsh_resolve with this context, unchanged since.
 * @return 0; else nothing has changed: -1 if the answer enters no submode or is older than the
 *         context's place, and in single mode; -2 without memory. */
TSH_API int32_t tsh_context_enter(tsh_context_t *context, const tsh_answer_t *answer);

/** Leaves that many submodes, at most all. @return how many were left. */
TSH_API uint32_t tsh_context_leave(tsh_context_t *context, uint32_t count);

/** The number of submodes entered; 0 outside all. */
TSH_API uint32_t tsh_context_depth(const tsh_context_t *context);

/** The reading that entered a submode, 1 being the outermost; its words are those of its line since
 * the submode before. Owned by the context until the submode is left.
 * @return null for level 0 and beyond the depth. */
TSH_API const tsh_reading_t *tsh_context_place(const tsh_context_t *context, uint32_t level);

/* ---- Answers ---- */

/** An empty answer for lines of a grammar; released with tsh_answer_free, before the grammar.
 * @return null without memory. */
TSH_API tsh_answer_t *tsh_answer_new(const tsh_grammar_t *grammar);

/** Releases an answer; null is ignored. */
TSH_API void tsh_answer_free(tsh_answer_t *answer);

/** Resolves a line in the context's submode. Changes nothing but the answer, which must be of the
 * same grammar.
 *
 * For each word, every node is looked at once at most, however optional words and submodes share
 * it, in the logarithm of its child count. The answer keeps what it learns about lines of keywords
 * for later ones, at most 64 bytes a node and link, and 40 bytes for each word and node at which a
 * reading of the line may be. */
TSH_API tsh_verdict_t tsh_resolve(const tsh_context_t *context, const char *text, size_t length,
                                  uint32_t options, tsh_answer_t *answer);

/** Finds what may stand at an offset of a line. The range is the word that begins before the offset
 * and touches it, up to the offset; the candidates begin with it. A quoted word and an empty range
 * have the parameters, or all. Bytes from the offset on are ignored.
 * @return as tsh_resolve for the bytes before the range, so TSH_ACCEPTED if the line may also end
 *         there, and TSH_EMPTY with the first words of lines as candidates. An ambiguous line has
 *         the candidates of all its readings. */
TSH_API tsh_verdict_t tsh_complete(const tsh_context_t *context, const char *text, size_t length,
                                   size_t offset, uint32_t options, tsh_answer_t *answer);

/** The bytes that the verdict is about; those of tsh_complete. Empty for TSH_ACCEPTED. */
TSH_API tsh_range_t tsh_answer_range(const tsh_answer_t *answer);
/** Why the line is not accepted. */
TSH_API tsh_reason_t tsh_answer_reason(const tsh_answer_t *answer);

/** The verdict in one line of English, control characters as \\xNN:
 * "invalid <INTEGER> '120': expected 0 to 100". Empty for TSH_ACCEPTED and TSH_EMPTY. */
TSH_API const char *tsh_answer_text(const tsh_answer_t *answer);

/** Readings: of an accepted line one for each node at which it ends; of an ambiguous one those that
 * differ; of an incomplete one those that are best so far. */
TSH_API uint32_t tsh_answer_reading_count(const tsh_answer_t *answer);

/** Null beyond the last one. */
TSH_API const tsh_reading_t *tsh_answer_reading(const tsh_answer_t *answer, uint32_t n);

/** Candidates, each node and parameter once; in the order of the child lists, words behind an
 * optional one after it. */
TSH_API uint32_t tsh_answer_candidate_count(const tsh_answer_t *answer);

/** Null beyond the last one. */
TSH_API const tsh_candidate_t *tsh_answer_candidate(const tsh_answer_t *answer, uint32_t n);

/** The longest text that all candidates' inserts begin with, ignoring case; empty if there is a
 * parameter among them. */
TSH_API const char *tsh_answer_common(const tsh_answer_t *answer);

/** Submodes between the innermost and the one in which the line was accepted (TSH_OUTWARD). */
TSH_API uint32_t tsh_answer_levels_left(const tsh_answer_t *answer);

#endif
