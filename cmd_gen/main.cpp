// ocmd_gen: lists every command line that a main tree accepts, or dumps the tree.
#include "atnode/walk.h"
#include "cmd_gen/dump.h"
#include "cmd_gen/enumeration.h"
#include "feature/tsh/src/trace.h"
#include "param_reg/builtin_types.h"
#include "parse_tree/tree_load.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace {

// The utility's results are its standard output, so bytes lost there are a failure. Every byte
// counts, down to the last one flushed.
int status_of_output() {
    errno = 0;
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return EXIT_SUCCESS;
    fprintf(stderr, "ocmd_gen: cannot write to standard output: %s\n",
            errno == 0 ? "write error" : strerror(errno));
    return EXIT_FAILURE;
}

void print_usage() {
    constexpr std::string_view kUsage = "\n\tOstrel Command Generation Utility"
                                        "\n\n\tocmd_gen [-h] [-s tsh par file]"
                                        "\n\t-h\tthis help"
                                        "\n\t-s\tspecify .par file"
                                        "\n\n";
    fwrite(kUsage.data(), 1, kUsage.size(), stdout);
}

enum class Job { kList, kDump };

// Reads the options; ends the run on -h and on what it cannot read.
Job parse_options(int argc, char **argv) {
    Job job = Job::kList;
    for (int option = 0; (option = getopt(argc, argv, "ghs:")) != -1;) {
        switch (option) {
        case 'g':
            job = Job::kDump;
            break;
        case 's':
            snprintf(tsh_parse_file, sizeof tsh_parse_file, "%s", optarg);
            break;
        case 'h':
            print_usage();
            status_of_output();
            exit(EXIT_FAILURE);
        default:
            exit(EXIT_FAILURE);
        }
    }
    return job;
}

} // namespace

int main(int argc, char **argv) {
    tsh_logfp = stdout;
    const Job job = parse_options(argc, argv);
    init_parse_tree();
    if (job == Job::kDump) {
        atnode_traverse(atnode_root, 1, 3, -1, print_at_node, TREE_DUMP_SHORT);
    } else {
        init_params();
        generate_cmds(atnode_root, nullptr);
        puts("\n");
    }
    return status_of_output();
}
