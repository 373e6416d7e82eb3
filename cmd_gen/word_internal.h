// Formatting of words: the token, then the parameters, each with its mark.
#pragma once

#include "base/text_builder.h"
#include "cmd_gen/word.h"
#include "param_reg/values.h"
#include "parse_tree/tree_node.h"

#include <cstddef>
#include <string_view>

namespace tsh {

constexpr std::string_view kOptionalMark = "[o]";

/// Maximum size of a parameter's type names with brackets; longer names are truncated.
constexpr size_t kLongestTypes = 255;

/// Maximum size of a word, including marks.
constexpr size_t kLongestWord = TREE_TOKEN_SIZE + TREE_MAX_PARAMS * kLongestTypes +
                                (1 + TREE_MAX_PARAMS) * kOptionalMark.size();

static_assert(kLongestWord + 1 == TSH_WORD_SIZE);

using Word = base::TextBuilder<kLongestWord>;

/// Add one part with its mark. The type names are those of the handle, or of the registry if it is
/// null.
void add_token(Word &word, const tree_node_t &node);
void add_param(Word &word, const tree_node_t &node, const parameter_info_t &param,
               const tsh_types_t *types = nullptr);

/// Returns the complete word; empty for a node without token and parameters.
Word spell(const tree_node_t &node, const tsh_types_t *types = nullptr);

} // namespace tsh
