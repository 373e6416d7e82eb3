/* Resolves a command line, its keywords abbreviated as a user types them, and shows what may
 * follow: resolve TREE.par "COMMAND LINE". */
#include "atnode/command_lookup.h"
#include "atnode/relations.h"
#include "cmd_gen/word.h"
#include "param_reg/builtin_types.h"
#include "parse_tree/tree_load.h"

#include <stdio.h>

static void show_word(const tree_node_t *node) {
    char word[TSH_WORD_SIZE];
    tsh_word_text(node, word, sizeof word);
    printf("%s%s%s\n", word, node->help[0] != '\0' ? "  " : "", node->help);
}

int main(int argc, char **argv) {
    if (argc != 3) {
        fputs("usage: resolve TREE.par \"COMMAND LINE\"\n", stderr);
        return 2;
    }
    snprintf(tsh_parse_file, sizeof tsh_parse_file, "%s", argv[1]);
    init_parse_tree(); /* ends the program, with a message, where there is no sound tree */
    init_params();     /* the names of parameter types */

    const tree_node_t *node = atnode_find_cmd_index(atnode_root, argv[2]);
    if (node == NULL) {
        fprintf(stderr, "resolve: no such command: %s\n", argv[2]);
        return 1;
    }
    show_word(node);
    if (node->flags & TREE_FLAG_TERMINAL)
        puts("    the command may end here");
    const tree_node_t *next = NULL;
    for (int32_t n = 0; (next = atnode_nth_child(node, n)) != NULL; ++n) {
        fputs("    ", stdout);
        show_word(next);
    }
    return 0;
}
