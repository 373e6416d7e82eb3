// Output for a resolved or rejected command line.
#pragma once

#include "tools/ocmd_find/file_grammar.h"
#include "tools/support/text_output.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace find {

/// Submodes inside one another: the shell's stack of ancestors holds no more.
constexpr uint32_t kMostSubmodes = TREE_MAX_LEVELS - 1;

/// Returns a verdict; throws std::bad_alloc for TSH_NO_MEMORY.
tsh_verdict_t checked(tsh_verdict_t verdict);

/// Exits with kError, after a message, if the line has too many words or a NUL.
void refuse_unreadable(const tsh_answer_t &answer);

/// Enters the submode of an answer. Throws std::bad_alloc. @return whether it enters one.
bool enter(tsh_context_t &context, const tsh_answer_t &answer);

/// Returns the command of a reading as ocmd_show --commands spells it, with omitted optional words.
std::string command_of(const tsh_reading_t &reading);

/// Returns the line of a reading as it was typed, keywords in full.
std::string typed_line(const tsh_reading_t &reading, std::string_view typed);

/// Writes a line with a name and a value, control characters escaped; nothing for an empty value.
void print_field(tool::TextOutput &output, std::string_view name, std::string_view value);

/// Writes the candidates of an answer with their help, each once, below a heading, except those of
/// the node read.
void print_candidates(std::string_view heading, const tsh_answer_t &answer, const tree_node_t *read,
                      tool::TextOutput &output);

/// Returns the number of terminal columns of a text.
size_t width_of(const std::string &text);

/// Resolves a typed line outside all submodes. Writes the properties of the command and what may
/// follow to the output; for a line that is no command, writes an error message with the line,
/// a caret below the invalid word and the words that may be there to standard error.
/// @return the verdict.
tsh_verdict_t print_answer(const FileGrammar &grammar, std::string_view line,
                           tool::TextOutput &output);

/// Writes why a line was not accepted to standard error, with the line, a caret and the candidates.
void print_refusal(const tsh_answer_t &answer, std::string_view line);

/// Returns ", did you mean 'x'?" for the candidate nearest to the refused word; empty if there is
/// none, or if the word is known.
std::string suggestion_for(const tsh_answer_t &answer, std::string_view line);

} // namespace find
