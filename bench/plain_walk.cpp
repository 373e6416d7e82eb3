// Baseline of the listing as a program: plain_walk MAIN.par
#include "bench/plain_walk.h"

#include "param_reg/builtin_types.h"
#include "parse_tree/tree_load.h"

int main(int /*argc*/, char **argv) {
    snprintf(tsh_parse_file, sizeof tsh_parse_file, "%s", argv[1]);
    init_parse_tree();
    init_params();
    plain::walk(atnode_root, nullptr);
    puts("\n");
    return 0;
}
