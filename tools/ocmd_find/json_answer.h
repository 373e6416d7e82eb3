// Answers about command lines as JSON.
#pragma once

#include "tools/ocmd_find/file_grammar.h"
#include "tools/support/text_output.h"

#include <string_view>

namespace find {

/// Resolves a typed line outside all submodes and writes the answer as an object on one line.
/// @return the verdict.
tsh_verdict_t write_json_answer(const FileGrammar &grammar, std::string_view line,
                                tool::TextOutput &output);

} // namespace find
