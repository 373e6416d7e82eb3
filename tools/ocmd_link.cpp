// ocmd_link: links a root file and subtree files into a main par file.
#include "feature/tsh/src/trace.h"
#include "treelink/link_driver.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>
#include <span>

namespace {

constexpr const char *kUsage =
    "Usage: ocmd_link [-n] [-v] [-p DIRECTORY] -o MAIN.par ROOT.par [SUBTREE.par ...]\n";

constexpr const char *kHelp =
    "Links a root file and up to 512 subtree files into the main par file MAIN.par.\n"
    "\n"
    "  -o MAIN.par   the main par file, replaced as a whole or not at all\n"
    "  -p DIRECTORY  where main_tree.pars and main_tree2.pars are, the prebuilt trees that\n"
    "                missing attach points are borrowed from\n"
    "  -n            write in network byte order; such a file cannot be mapped\n"
    "  -v            show the files merged, the links made and the tree\n"
    "  --help        this text\n";

struct Request {
    const char *output = nullptr;
    int32_t network_order = 0;
    std::span<char *const> files; // the root file first
};

[[noreturn]] void refuse(const char *reason, const char *what) {
    fprintf(stderr, "ocmd_link: %s%s\n%s", reason, what, kUsage);
    exit(EXIT_FAILURE);
}

// The tool's prints are results as well: bytes lost there are a failure.
int status_of_output() {
    errno = 0;
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return EXIT_SUCCESS;
    fprintf(stderr, "ocmd_link: cannot write to standard output: %s\n",
            errno == 0 ? "write error" : strerror(errno));
    return EXIT_FAILURE;
}

Request parse_options(int argc, char **argv) {
    constexpr option kLongOptions[] = {{"help", no_argument, nullptr, 'h'}, {}};
    Request request;
    for (int option = 0;
         (option = getopt_long(argc, argv, "hno:p:v", kLongOptions, nullptr)) != -1;) {
        switch (option) {
        case 'n':
            request.network_order = 1;
            break;
        case 'o':
            request.output = optarg;
            break;
        case 'p':
            prebuilt_main_tree_path = optarg;
            break;
        case 'v':
            verbose = 1;
            break;
        case 'h':
            printf("%s%s", kUsage, kHelp);
            exit(status_of_output());
        default:
            fputs(kUsage, stderr);
            exit(EXIT_FAILURE);
        }
    }
    if (request.output == nullptr)
        refuse("no output file: -o is missing", "");
    if (optind == argc)
        refuse("no root file", "");
    request.files = std::span{argv + optind, static_cast<size_t>(argc - optind)};
    return request;
}

// The linker would cut what does not fit its list and read another file.
void fill(par_file_list_t &list, std::span<char *const> files) {
    if (files.size() > PAR_FILE_LIST_SIZE)
        refuse("too many subtree files, the list holds 512", "");
    for (size_t i = 0; i < files.size(); ++i) {
        constexpr size_t kSuffixLength = sizeof ".par" - 1;
        const bool suffixed = strstr(files[i], ".par") != nullptr;
        if (strlen(files[i]) + (suffixed ? 0 : kSuffixLength) >= PAR_FILE_NAME_SIZE)
            refuse("file name longer than 63 characters with its suffix: ", files[i]);
        strcpy(list.entries[i].file_name, files[i]);
    }
    list.last_index = static_cast<int32_t>(files.size()) - 1;
}

} // namespace

int main(int argc, char **argv) {
    static par_file_list_t list;
    const Request request = parse_options(argc, argv);
    fill(list, request.files.subspan(1));
    const int32_t result = update_main_parse_tree_file(&list, request.files.front(), request.output,
                                                       request.network_order);
    const int status = status_of_output();
    return result == 0 ? status : EXIT_FAILURE;
}
