// Listing by the library's single steps, with the same lines as generate_cmds. Each line is a copy
// of its prefix, extended by reallocation word by word and printed with one printf; no node is
// cached. Baseline of benchmarks and model of fuzzers.
#pragma once

#include "atnode/relations.h"
#include "cmd_gen/enumeration.h"
#include "feature/tsh/src/memory.h"
#include "platform/robust_string.h"

#include <cstdio>

namespace plain {

inline void print_line(const char *line) {
    const size_t indentation = 2 * static_cast<size_t>(submode_depth);
    __memset_to_buf(sizeof spc_str, spc_str, ' ', indentation);
    spc_str[indentation] = '\0';
    printf("\n[%6u].%s%s", ++cmd_count, spc_str, line);
}

// Lists the commands of a sound tree. Memory is never short here, and submodes are few.
inline void walk(const tree_node_t *node, const char *prefix) {
    constexpr uint32_t kExcluding = TREE_FLAG_EXCLUDED | TREE_FLAG_EXCLUDED_ALSO;
    char *base = tsh_strdup_with_space(prefix);
    atnode_stack_push(node);
    for (const tree_node_t *child = atnode_first_child(node); child != nullptr;
         child = atnode_next_sibling(child)) {
        if (cmd_gen_mode_single == 1 && (child->flags & kExcluding) != 0)
            continue;
        char *line = tsh_strdup_with_space(base);
        if (child->token[0] != '\0')
            line = add_token_str(line, child);
        if (child->param_count != 0)
            line = add_param_str(line, child);
        if ((child->flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0)
            print_line(line);
        if ((child->flags & TREE_FLAG_SUBMODE) == 0) {
            if (child->child_count != 0)
                walk(child, line);
        } else if (cmd_gen_mode_single != 1) {
            ++submode_depth;
            walk(child, nullptr);
            --submode_depth;
        }
        tsh_free(line);
    }
    atnode_stack_pop();
    tsh_free(base);
}

} // namespace plain
