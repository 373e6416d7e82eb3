// ocmd_link: links a root file and subtree files into a main par file. The pipeline stands in
// link(), at the end.
#include "base/escape.h"
#include "base/owners.h"
#include "tools/ocmd_link/unread.h"
#include "tools/support/grammar_fields.h"
#include "tools/support/program.h"
#include "tools/support/tree_shape.h"

#include "feature/tsh/src/trace.h"
#include "parse_tree/tree.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_writer.h"
#include "treelink/link_driver.h"
#include "treelink/link_report.h"
#include "treelink/subtree_read.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <memory>
#include <new>
#include <optional>
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

constexpr tool::Program kProgram{
    .name = "ocmd_link",
    .operands = "-o MAIN.par ROOT.par [SUBTREE.par...]",
    .purpose =
        "Links a root file and subtree files into a main par file. Attach points that no file\n"
        "has are borrowed from the prebuilt trees.",
    .options = kOptions,
    .out_of_memory = TREELINK_OUT_OF_MEMORY,
};

constexpr std::string_view kStream = "-"; // standard input or output
constexpr std::string_view kSubtreeSuffix = ".par";

// A file to read.
struct Input {
    explicit Input(const std::string &file)
        : path(file == kStream ? "/dev/stdin" : file),
          name(file == kStream ? "standard input" : file) {}

    std::string path; // by which the library opens it
    std::string name; // in messages
};

struct Request {
    std::string output;
    std::string output_name; // in messages
    std::string root;
    std::span<char *const> subtrees;
    int32_t network_order;
    bool strict;
};

struct LinkedTree {
    std::unique_ptr<tree_node_t, base::Releaser<free>> nodes;
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
            .output_name = output == kStream ? "standard output" : output,
            .root = operands.front(),
            .subtrees = operands.subspan(1),
            .network_order = line.has("network-order") ? 1 : 0,
            .strict = line.has("strict")};
}

// A subtree's file may be named without its suffix.
std::string file_of(std::string name) {
    std::error_code ignored;
    const std::string last = fs::path{name}.filename();
    if (last.find(kSubtreeSuffix) == std::string::npos && name != kStream &&
        (!fs::exists(name, ignored) || fs::is_directory(name, ignored)))
        name += kSubtreeSuffix;
    return name;
}

bool is_main_par_file(const std::string &path) {
    tsh_error_t error;
    tsh_tree_t *tree = tsh_tree_open(path.c_str(), &error);
    tsh_tree_close(tree);
    return tree != nullptr;
}

// An older main tree is none of the inputs, though a pattern such as "*.par" names it. Any other
// file is protected, whatever it holds.
bool would_replace_input(const Request &request) {
    std::error_code not_there;
    if (!fs::is_regular_file(request.output, not_there))
        return false;
    const auto is_output = [&](const Input &input) {
        return fs::equivalent(input.path, request.output, not_there);
    };
    return is_output(Input{request.root}) ||
           std::ranges::any_of(request.subtrees, [&](const char *name) {
               return is_output(Input{file_of(name)}) && !is_main_par_file(request.output);
           });
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

// ---- Reading ----

// Counts a loss that the tool tells of itself beside those of the library.
void count_loss() {
    ++tsh_link_warnings;
    ++tsh_link_losses;
}

const subtree_entry_t *records_of(uint8_t kind) {
    return kind == SUBTREE_FILE_ROOT ? tsh_root_tree_table : unresolved_subtree_table;
}

// Nothing, with errno set, when the file cannot be opened, which the library tells.
std::optional<tool::Records> read_file(const Input &input, uint8_t kind) {
    if (verbose != 0)
        base::print_escaped(stdout, "Merging file %s\n", input.name.c_str());
    const subtree_entry_t *before = records_of(kind);
    const uint32_t losses = tsh_link_losses;
    if (read_parser_file(input.path.c_str(), kind) != 0)
        return std::nullopt;
    const tool::Records records{records_of(kind), before};
    if (tsh_link_losses == losses && !records.empty()) // or a loss is told anyway
        for (uint32_t left = tool::tell_of_unread(input.path, input.name, records); left > 0;
             --left)
            count_loss();
    return records;
}

void read_root(const Input &input) {
    const auto records = read_file(input, SUBTREE_FILE_ROOT);
    if (!records)
        tool::fail("%s: cannot be read: %s", input.name.c_str(), strerror(errno));
    if (records->empty()) {
        tool::tell("%s: no root: it holds no subtree", input.name.c_str());
        throw tool::Stop{tool::kFaults};
    }
    if (records->first->next == nullptr)
        return;
    tool::tell("%s: not linked whole: only the last subtree of a root file is", input.name.c_str());
    count_loss();
}

void read_subtrees(const Input &input) {
    const auto records = read_file(input, SUBTREE_FILE_ORDINARY);
    if (!records) {
        tool::tell("%s: not linked: %s", input.name.c_str(), strerror(errno));
        return;
    }
    if (records->empty()) {
        tool::tell("%s: nothing to link: it holds no subtree", input.name.c_str());
        count_loss();
    }
    for (const subtree_entry_t *record = records->first; record != records->end;
         record = record->next)
        if (record->path_count == 0) {
            tool::tell("%s: second root file: a subtree of it has no attach path, so it is not "
                       "linked; 'below' is missing in its grammar",
                       input.name.c_str());
            count_loss();
            break;
        }
}

void read_files(const Request &request) {
    read_root(Input{request.root});
    for (const char *name : request.subtrees) {
        const std::string file = file_of(name);
        if (!is_passed_over(file, request))
            read_subtrees(Input{file});
    }
}

// ---- Linking and writing ----

LinkedTree join() {
    tree_node_t *nodes = nullptr;
    const int32_t node_count = get_parse_tree(&nodes);
    if (node_count < 1)
        throw tool::Stop{tool::kFaults}; // which the library has told
    return {decltype(LinkedTree::nodes){nodes}, static_cast<uint32_t>(node_count)};
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

// The loader looks for the redirect root behind the first child of the root.
void tell_if_not_loadable(const LinkedTree &tree, const std::string &output) {
    const std::span nodes{tree.nodes.get(), tree.node_count};
    const auto links = tool::links_of(nodes.front());
    if (std::ranges::any_of(links.subspan(links.empty() ? 0 : 1), [&](uint16_t child) {
            return tool::text_of(nodes[child].name) == tool::kRedirectRoot;
        }))
        return;
    tool::tell("%s: cannot be loaded: the root has no 'tsh_redirect_root' behind its first child",
               output.c_str());
    ++tsh_link_warnings;
}

// Siblings whose words differ only in case: the shell, which ignores case, finds the first alone.
void warn_of_same_words(const LinkedTree &tree, const std::string &output) {
    const std::span nodes{tree.nodes.get(), tree.node_count};
    for (const tree_node_t &parent : nodes) {
        std::map<std::string, const tree_node_t *> first_of;
        for (const uint16_t link : tool::links_of(parent)) {
            const tree_node_t &child = nodes[link];
            std::string word{tool::text_of(child.token)};
            std::ranges::transform(word, word.begin(),
                                   [](unsigned char c) { return static_cast<char>(tolower(c)); });
            const auto [known, is_new] = first_of.try_emplace(std::move(word), &child);
            if (is_new || child.token[0] == '\0')
                continue;
            tool::tell("%s: siblings %s and %s below %s match the same word: '%s' and '%s'",
                       output.c_str(), known->second->name, child.name, parent.name,
                       std::string{tool::text_of(known->second->token)}.c_str(),
                       std::string{tool::text_of(child.token)}.c_str());
            ++tsh_link_warnings;
        }
    }
}

// Standard output is that of standard error from now on, or leads nowhere where that is closed.
void divert_standard_output() {
    if (dup2(STDERR_FILENO, STDOUT_FILENO) >= 0)
        return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0)
        tool::fail("/dev/null: cannot be opened: %s", strerror(errno));
}

// The stream on which the tree alone is written. Where standard error is closed, the stream does
// not take its number, or messages would go there.
FILE *take_standard_output() {
    const int taken = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    FILE *stream = taken < 0 ? nullptr : fdopen(taken, "w");
    if (stream == nullptr)
        tool::fail("standard output: cannot be written: %s", strerror(errno));
    divert_standard_output();
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
        tool::fail("%s: cannot be written: %s", request.output_name.c_str(), strerror(errno));
}

tool::Status link(const tool::CommandLine &line) {
    const Request request = read_request(line);
    verbose = line.has("verbose") ? 1 : 0;
    prebuilt_main_tree_path = const_cast<char *>(line.value("prebuilt"));
    if (would_replace_input(request))
        tool::refuse("%s: is both input and output", request.output.c_str());

    FILE *stream = request.output == kStream ? take_standard_output() : nullptr;
    read_files(request);
    const LinkedTree tree = join();
    tell_if_too_deep(tree, request.output_name);
    tell_if_not_loadable(tree, request.output_name);
    warn_of_same_words(tree, request.output_name);
    if (request.strict && tsh_link_warnings > 0) {
        tool::tell("%s: not written: --strict allows no warning, and there were %u",
                   request.output_name.c_str(), tsh_link_warnings);
        return tool::kFaults;
    }
    write(tree, request, stream);
    return tsh_link_losses > 0 ? tool::kFaults : tool::kDone;
}

// ---- The frame ----

bool is_running = true;

// The library ends a link without memory in silence.
void tell_of_memory(int status, void * /*unused*/) {
    if (status == TREELINK_OUT_OF_MEMORY && is_running)
        tool::tell("out of memory");
}

} // namespace

int main(int argc, char **argv) {
    on_exit(tell_of_memory, nullptr);
    const int status = tool::run(kProgram, argc, argv, link);
    is_running = false;
    return status;
}
