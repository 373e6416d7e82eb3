// Lookup of command lines, one level of the tree per word.
#include "atnode/command_lookup.h"

#include "atnode/lookup.h"
#include "atnode/navigation_internal.h"
#include "feature/tsh/src/str_list_internal.h"
#include "feature/tsh/src/word_split.h"

using tsh::trace;
using tsh::traces_navigation;

namespace {

struct Descent {
    const tree_node_t *node; // null if a word matched nothing
    int32_t words_tried;
};

// Descends from a node, one level per word, with a lookup of (node, word).
template <typename Find>
Descent descend(const tree_node_t *node, const str_list_t &words, const Find &find) {
    int32_t tried = 0;
    while (node != nullptr && tried < words.size)
        node = find(node, words.str[tried++]);
    return {node, tried};
}

} // namespace

const tree_node_t *atnode_find_cmd_index(const tree_node_t *node, const char *cmdline) {
    const tsh::OwnedList words(strsplit(cmdline, " "));
    if (words == nullptr) {
        if (traces_navigation())
            trace("Empty cmdline, index not found...\n");
        return nullptr;
    }
    const auto find = [](const tree_node_t *parent, const char *word) {
        return atnode_find_token(parent, 0, word);
    };
    const Descent descent = descend(node, *words, find);
    if (descent.words_tried < words->size && traces_navigation())
        trace("Cmdline not parsed fully, index not found...\n");
    return descent.node;
}

const tree_node_t *tsh_tree_find_words(const tsh_tree_t *tree, const tree_node_t *node,
                                       const str_list_t *words) {
    if (words == nullptr || words->size == 0)
        return nullptr;
    const auto find = [tree](const tree_node_t *parent, const char *word) {
        return tsh_tree_find_token(tree, parent, 0, word);
    };
    return descend(node, *words, find).node;
}
