// How a word is spelled, piece by piece: the token, then the parameters, each with its mark.
#pragma once

#include "base/text_builder.h"
#include "cmd_gen/word.h"
#include "param_reg/values.h"
#include "parse_tree/tree_node.h"

#include <cstddef>
#include <string_view>

namespace tsh {

constexpr std::string_view kOptionalMark = "[o]";

/// Bytes of a parameter's type names with their brackets; more are cut.
constexpr size_t kLongestTypes = 255;

/// Bytes of a word, marks included.
constexpr size_t kLongestWord = TREE_TOKEN_SIZE + TREE_MAX_PARAMS * kLongestTypes +
                                (1 + TREE_MAX_PARAMS) * kOptionalMark.size();

static_assert(kLongestWord + 1 == TSH_WORD_SIZE);

using Word = base::TextBuilder<kLongestWord>;

/// One piece with its mark. The names of types are those of a handle; without one, those of the
/// registry.
void add_token(Word &word, const tree_node_t &node);
void add_param(Word &word, const tree_node_t &node, const parameter_info_t &param,
               const tsh_types_t *types = nullptr);

/// The whole word; nothing for a node without token and parameters.
Word spell(const tree_node_t &node, const tsh_types_t *types = nullptr);

} // namespace tsh
