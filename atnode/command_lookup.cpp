// A command line walks down the tree, one level for each word.
#include "atnode/command_lookup.h"

#include "atnode/lookup.h"
#include "atnode/navigation_internal.h"
#include "feature/tsh/src/str_list_internal.h"
#include "feature/tsh/src/word_split.h"

using tsh::trace;
using tsh::traces_navigation;

const tree_node_t *atnode_find_cmd_index(const tree_node_t *node, const char *cmdline) {
    const tsh::OwnedList words(strsplit(cmdline, " "));
    if (words == nullptr) {
        if (traces_navigation())
            trace("Empty cmdline, index not found...\n");
        return nullptr;
    }
    int32_t tried = 0;
    while (node != nullptr && tried < words->size)
        node = atnode_find_token(node, 0, words->str[tried++]);
    if (tried < words->size && traces_navigation())
        trace("Cmdline not parsed fully, index not found...\n");
    return node;
}
