// ocmd_gen: lists every command line that a main tree accepts, or dumps the tree.
#include "cmd_gen/dump_run_internal.h"
#include "cmd_gen/enumeration.h"
#include "cmd_gen/standard_output_internal.h"
#include "feature/tsh/src/trace.h"
#include "param_reg/builtin_types.h"
#include "parse_tree/tree_load.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace {

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
        dump_main_tree();
    } else {
        init_params();
        generate_cmds(atnode_root, nullptr);
        puts("\n");
    }
    return status_of_output();
}
