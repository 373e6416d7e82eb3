// Formatting of words, with type names from a handle or the registry.
#include "cmd_gen/word.h"

#include "cmd_gen/word_internal.h"
#include "param_reg/param_registry.h"
#include "param_reg/type_keys_internal.h"
#include "parse_tree/tree_node_internal.h"

#include <cstring>

namespace {

using Types = base::TextBuilder<tsh::kLongestTypes>;

// Returns an empty name for an unknown type.
std::string_view name_of(uint32_t key, const tsh_types_t *types) {
    if (types != nullptr) {
        const tsh_type_t *type = tsh_type_by_mask(types, key);
        return type == nullptr ? "" : type->name;
    }
    const param_reg_info_t *type = param_reg_info_get(key);
    return type == nullptr ? "" : type->name;
}

Types types_of(const parameter_info_t &param, const tsh_types_t *types) {
    Types names;
    names << "<";
    tsh::TypeKeys keys{param.type_mask};
    while (const auto key = keys.next())
        names << name_of(*key, types);
    names << ">";
    return names;
}

std::string_view mark_of(const tree_node_t &node) {
    return node.optional != 0 ? tsh::kOptionalMark : "";
}

} // namespace

namespace tsh {

void add_token(Word &word, const tree_node_t &node) {
    word << std::string_view{node.token, strnlen(node.token, sizeof node.token)} << mark_of(node);
}

void add_param(Word &word, const tree_node_t &node, const parameter_info_t &param,
               const tsh_types_t *types) {
    word << types_of(param, types).text() << mark_of(node);
}

Word spell(const tree_node_t &node, const tsh_types_t *types) {
    Word word;
    if (node.token[0] != '\0')
        add_token(word, node);
    for (const parameter_info_t &param : params_of(node))
        add_param(word, node, param, types);
    return word;
}

} // namespace tsh

size_t tsh_word_text(const tree_node_t *node, char *buffer, size_t capacity) {
    const tsh::Word word = node == nullptr ? tsh::Word{} : tsh::spell(*node);
    const std::string_view text = word.text();
    if (capacity != 0)
        buffer[text.copy(buffer, capacity - 1)] = '\0';
    return text.size();
}
