// Total order of siblings, so that a linked tree does not depend on the order of the files.
#include "treelink/sibling_order.h"

#include <cstring>

namespace {

int32_t sign(int value) {
    return (value > 0) - (value < 0);
}

} // namespace

int32_t treelink_lexicograph_cmp(const tree_node_t *first, const tree_node_t *second) {
    const int by_token = strcmp(first->token, second->token);
    return sign(by_token != 0 ? by_token : strcmp(first->name, second->name));
}
