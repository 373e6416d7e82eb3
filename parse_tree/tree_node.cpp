// Accessors of the node record.
#include "parse_tree/tree_node.h"

uint32_t node_get_param0_mask(const tree_node_t *node) {
    return node->params[0].type_mask;
}

uint64_t node_param_get_intf_mask(const parameter_info_t *param) {
    return param->intf_mask;
}
