// ocmd_gen: lists every command line that a main tree accepts, or dumps the tree.
#include "base/output_block.h"
#include "base/pipe.h"
#include "cmd_gen/dump.h"
#include "cmd_gen/enumeration.h"
#include "cmd_gen/standard_output_internal.h"
#include "feature/tsh/src/process.h"
#include "feature/tsh/src/trace.h"
#include "param_reg/builtin_types.h"
#include "parse_tree/tree_load.h"

#include <csignal>
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

// Handles SIGBUS: another process truncated the mapped file. Uses only async-signal-safe functions.
void exit_on_truncated_file(int /*signal_number*/) {
    constexpr std::string_view kMessage =
        "ocmd_gen: the main par file was truncated while being read\n";
    [[maybe_unused]] const ssize_t as_possible =
        write(STDERR_FILENO, kMessage.data(), kMessage.size());
    _exit(EXIT_FAILURE);
}

enum class Job { kList, kDump };

// Parses the options; exits on -h and on invalid options.
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
            tsh::status_of_output();
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
    signal_set(SIGBUS, exit_on_truncated_file);
    const Job job = parse_options(argc, argv);
    init_parse_tree();
    base::widen_output_pipe(base::kOutputBlockSize);
    if (job == Job::kDump) {
        tsh_dump_tree(atnode_root);
    } else {
        init_params();
        generate_cmds(atnode_root, nullptr);
        if (ferror(stdout) == 0) // no output after a write error
            puts("\n");
    }
    return tsh::status_of_output();
}
