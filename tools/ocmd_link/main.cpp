// ocmd_link: links a root file and subtree files into a main par file. The pipeline stands in
// link(), at the end.
#include "tools/ocmd_link/progress.h"
#include "tools/support/program.h"

#include "feature/tsh/src/trace.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_writer.h"
#include "treelink/link_driver.h"
#include "treelink/link_report.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr tool::Option kOptions[] = {
    {'o', "output", "MAIN.par",
     "The main par file, replaced as a whole or not at all; - for standard output."},
    {'p', "prebuilt", "DIRECTORY", "Where main_tree.pars and main_tree2.pars are, to borrow from."},
    {'n', "network-order", nullptr, "Write in network byte order; such a file cannot be mapped."},
    {0, "strict", nullptr, "Write nothing when there is anything to warn of."},
    {'v', "verbose", nullptr, "Show the files merged, the links made and the tree."},
};

constexpr int kOutOfMemory = 100; // the library's as well

constexpr tool::Program kProgram{
    .name = "ocmd_link",
    .operands = "-o MAIN.par ROOT.par [SUBTREE.par...]",
    .purpose =
        "Links a root file and subtree files into a main par file. Attach points that no file\n"
        "has are borrowed from the prebuilt trees.",
    .options = kOptions,
    .out_of_memory = kOutOfMemory,
};

constexpr std::string_view kStream = "-"; // standard input or output
constexpr std::string_view kSubtreeSuffix = ".par";

struct Request {
    std::string output;
    std::string root;
    std::span<char *const> subtrees;
    int32_t network_order;
    bool strict;
};

struct Free {
    void operator()(tree_node_t *nodes) const { free(nodes); }
};

struct LinkedTree {
    std::unique_ptr<tree_node_t, Free> nodes;
    uint32_t node_count;
};

Request read_request(const tool::CommandLine &line) {
    const std::span operands = line.operands();
    const char *output = line.value("output");
    if (output == nullptr)
        tool::refuse("no output file: -o is missing");
    if (operands.empty())
        tool::refuse("no root file");
    return {.output = output,
            .root = operands.front(),
            .subtrees = operands.subspan(1),
            .network_order = line.has("network-order") ? 1 : 0,
            .strict = line.has("strict")};
}

// A subtree's file may be named without its suffix.
std::string file_of(std::string name) {
    std::error_code ignored;
    if (name.find(kSubtreeSuffix) == std::string::npos && name != kStream &&
        (!fs::exists(name, ignored) || fs::is_directory(name, ignored)))
        name += kSubtreeSuffix;
    return name;
}

// Files that a pattern such as "*.par" would name and that are no subtrees to be linked.
bool is_passed_over(const std::string &file, const Request &request) {
    if (file == kStream)
        return false;
    std::error_code not_there;
    return file == "tsh_root.par" || file == "main_tree.par" ||
           fs::equivalent(file, request.root, not_there) ||
           fs::equivalent(file, request.output, not_there);
}

// Counts a loss that the tool tells of itself beside those of the library.
void count_loss() {
    ++tsh_link_warnings;
    ++tsh_link_losses;
}

// False with errno set when the file cannot be opened, which the library tells.
bool read_file(const std::string &file, uint8_t kind) {
    if (verbose != 0)
        printf("Merging file %s\n", file.c_str());
    return read_parser_file(file == kStream ? "/dev/stdin" : file.c_str(), kind) == 0;
}

void read_root(const std::string &file) {
    if (!read_file(file, SUBTREE_FILE_ROOT))
        tool::fail("%s: cannot be read: %s", file.c_str(), strerror(errno));
    if (tsh_root_tree_table == nullptr) {
        tool::tell("%s: no root: it holds no subtree", file.c_str());
        throw tool::Stop{tool::kFaults};
    }
    if (tsh_root_tree_table->next == nullptr)
        return;
    tool::tell("%s: not linked whole: only the last subtree of a root file is", file.c_str());
    count_loss();
}

void read_subtrees(const std::string &file) {
    const subtree_entry_t *before = unresolved_subtree_table;
    if (!read_file(file, SUBTREE_FILE_ORDINARY)) {
        tool::tell("%s: not linked: %s", file.c_str(), strerror(errno));
        return;
    }
    if (unresolved_subtree_table == before) {
        tool::tell("%s: nothing to link: it holds no subtree", file.c_str());
        count_loss();
    }
    for (const subtree_entry_t *record = unresolved_subtree_table; record != before;
         record = record->next)
        if (record->path_count == 0) {
            tool::tell("%s: subtree %s cannot be reached: it has no attach path", file.c_str(),
                       record->nodes[0].name);
            count_loss();
        }
}

void read_files(const Request &request, tool::Progress &progress) {
    read_root(request.root);
    size_t count = 0;
    for (const char *name : request.subtrees) {
        progress.show("reading file %zu of %zu", ++count, request.subtrees.size());
        const std::string file = file_of(name);
        if (!is_passed_over(file, request))
            read_subtrees(file);
    }
}

LinkedTree join() {
    tree_node_t *nodes = nullptr;
    const int32_t node_count = get_parse_tree(&nodes);
    if (node_count < 1)
        throw tool::Stop{tool::kFaults}; // which the library has told
    return {std::unique_ptr<tree_node_t, Free>{nodes}, static_cast<uint32_t>(node_count)};
}

// The linker makes no cycles, so the check finds nothing else.
void tell_if_too_deep(const LinkedTree &tree, const std::string &output) {
    errno = 0;
    if (cycle_check(tree.nodes.get(), 0, 0) <= 0)
        return;
    if (errno == ENOMEM)
        throw std::bad_alloc{};
    tool::tell("%s: more than %d levels: a listing leaves out siblings below them", output.c_str(),
               TREE_MAX_LEVELS);
    ++tsh_link_warnings;
}

// The stream on which the tree alone is written; what is printed on standard output goes to
// standard error from now on.
FILE *take_standard_output() {
    const int taken = dup(STDOUT_FILENO);
    FILE *stream = taken < 0 ? nullptr : fdopen(taken, "w");
    if (stream == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        tool::fail("standard output: cannot be written: %s", strerror(errno));
    return stream;
}

void write(const LinkedTree &tree, const Request &request, FILE *stream) {
    tree_node_t *nodes = tree.nodes.get();
    if (stream != nullptr && verbose != 0)
        tsh_main_tree_show(nodes);
    const int32_t result = stream != nullptr
                               ? write_array_tree_to_file(nodes, tree.node_count, 0, nullptr,
                                                          stream, request.network_order, 0, 1)
                               : tsh_main_tree_write(nodes, tree.node_count, request.output.c_str(),
                                                     request.network_order);
    if (result != 0)
        tool::fail("%s: cannot be written: %s", request.output.c_str(), strerror(errno));
}

tool::Status link(const tool::CommandLine &line) {
    const Request request = read_request(line);
    verbose = line.has("verbose") ? 1 : 0;
    prebuilt_main_tree_path = const_cast<char *>(line.value("prebuilt"));

    FILE *stream = request.output == kStream ? take_standard_output() : nullptr;
    tool::Progress progress;
    read_files(request, progress);
    progress.show("linking");
    const LinkedTree tree = join();
    tell_if_too_deep(tree, request.output);
    if (request.strict && tsh_link_warnings > 0) {
        tool::tell("%s: not written: --strict allows no warning, and there were %u",
                   request.output.c_str(), tsh_link_warnings);
        return tool::kFaults;
    }
    write(tree, request, stream);
    return tsh_link_losses > 0 ? tool::kFaults : tool::kDone;
}

bool is_running = true;

// The library ends a link without memory in silence.
void tell_of_memory(int status, void * /*unused*/) {
    if (status == kOutOfMemory && is_running)
        tool::tell("out of memory");
}

} // namespace

int main(int argc, char **argv) {
    on_exit(tell_of_memory, nullptr);
    const int status = tool::run(kProgram, argc, argv, link);
    is_running = false;
    return status;
}
