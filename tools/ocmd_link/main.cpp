// ocmd_link: links a root file and subtree files into a main par file. See link(), at the end, for
// the steps.
#include "base/escape.h"
#include "base/owners.h"
#include "tools/support/checks.h"
#include "tools/support/grammar_fields.h"
#include "tools/support/program.h"
#include "tools/support/tree_shape.h"
#include "tools/support/wording.h"

#include "feature/tsh/src/trace.h"
#include "parse_tree/tree.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_writer.h"
#include "treelink/link_driver.h"
#include "treelink/link_report.h"
#include "treelink/subtree_read.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <glib.h>
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
    {'o', "output", "MAIN.par", "Write to MAIN.par (- for standard output); required."},
    {'p', "prebuilt", "DIRECTORY",
     "Borrow missing nodes from main_tree.pars and main_tree2.pars in DIRECTORY."},
    {'n', "network-order", nullptr, "Write in network byte order; such a file cannot be mapped."},
    tool::kWarnOption,
    tool::kErrorOption,
    {0, "strict", nullptr, "Treat warnings as errors; write nothing."},
    tool::kListChecksOption,
    {'v', "verbose", nullptr, "Print merged files, created links and the linked tree."},
};

constexpr tool::Program kProgram{
    .name = "ocmd_link",
    .operands = "-o MAIN.par ROOT.par [SUBTREE.par...]",
    .purpose =
        "Links a root file and subtree files into a main par file. Attach points that no input "
        "file\n"
        "defines are borrowed from the prebuilt trees.\n\n"
        "Exit status: 0 if the tree contains all input, 1 if some input is missing, 2 on error,\n"
        "100 if out of memory.",
    .options = kOptions,
    .out_of_memory = TREELINK_OUT_OF_MEMORY,
};

constexpr std::string_view kStream = "-"; // standard input or output
constexpr std::string_view kSubtreeSuffix = ".par";

// An input file.
struct Input {
    explicit Input(const std::string &file)
        : path(file == kStream ? "/dev/stdin" : file),
          name(file == kStream ? "standard input" : file) {}

    std::string path; // for the library
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
        tool::refuse("missing option: -o MAIN.par");
    if (operands.empty())
        tool::refuse("missing operand: ROOT.par");
    return {.output = output,
            .output_name = output == kStream ? "standard output" : output,
            .root = operands.front(),
            .subtrees = operands.subspan(1),
            .network_order = line.has("network-order") ? 1 : 0,
            .strict = line.has("strict")};
}

// Returns the name of a subtree file, which may be given without its suffix.
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

// Returns whether the output is also an input. An old main tree is not an input, although a pattern
// such as "*.par" matches it. Any other file is protected, whatever it contains.
bool would_overwrite_input(const Request &request) {
    std::error_code not_there;
    if (!fs::is_regular_file(request.output, not_there))
        return false;
    const auto is_output = [&](const Input &input) {
        return fs::equivalent(input.path, request.output, not_there);
    };
    const auto is_prebuilt = [&](const char *name) {
        return prebuilt_main_tree_path != nullptr &&
               is_output(Input{fs::path{prebuilt_main_tree_path} / name});
    };
    return is_output(Input{request.root}) || is_prebuilt(PREBUILT_MAIN_TREE) ||
           is_prebuilt(PREBUILT_MAIN_TREE2) ||
           std::ranges::any_of(request.subtrees, [&](const char *name) {
               return is_output(Input{file_of(name)}) && !is_main_par_file(request.output);
           });
}

// Returns whether the file is skipped: a pattern such as "*.par" matches it, but it is not a
// subtree file.
bool is_skipped(const std::string &file, const Request &request) {
    if (file == kStream)
        return false;
    std::error_code not_there;
    return file == "tsh_root.par" || file == "main_tree.par" ||
           fs::equivalent(file, request.root, not_there) ||
           fs::equivalent(file, request.output, not_there);
}

// ---- Reading ----

// Counts missing input that the tool itself has reported, with the counters of the library.
void count_loss() {
    ++tsh_link_warnings;
    ++tsh_link_losses;
}

// The subtrees of one file, in reverse order of reading.
struct Records {
    const subtree_entry_t *first;
    const subtree_entry_t *end;

    [[nodiscard]] bool empty() const { return first == end; }
};

const subtree_entry_t *records_of(uint8_t kind) {
    return kind == SUBTREE_FILE_ROOT ? tsh_root_tree_table : unresolved_subtree_table;
}

// Returns nothing, with errno set, if the file cannot be opened; the library reports this.
std::optional<Records> read_file(const Input &input, uint8_t kind) {
    if (verbose != 0)
        base::print_escaped(stdout, "Merging file %s\n", input.name.c_str());
    const subtree_entry_t *before = records_of(kind);
    if (read_parser_file(input.path.c_str(), kind) != 0)
        return std::nullopt;
    return Records{records_of(kind), before};
}

void read_root(const Input &input) {
    const auto records = read_file(input, SUBTREE_FILE_ROOT);
    if (!records)
        tool::fail("%s: cannot be read: %s", input.name.c_str(), strerror(errno));
    if (records->empty()) {
        tool::report("%s: root file contains no subtree", input.name.c_str());
        throw tool::Stop{tool::kNegative};
    }
    if (records->first->next == nullptr)
        return;
    tool::report("%s: only the last subtree of the root file was linked", input.name.c_str());
    count_loss();
}

void read_subtrees(const Input &input) {
    const auto records = read_file(input, SUBTREE_FILE_ORDINARY);
    if (!records) {
        tool::report("%s: not linked: %s", input.name.c_str(), strerror(errno));
        return;
    }
    if (records->empty()) {
        tool::report("%s: file contains no subtree", input.name.c_str());
        count_loss();
    }
    for (const subtree_entry_t *record = records->first; record != records->end;
         record = record->next)
        if (record->path_count == 0) {
            tool::report(
                "%s: second root file: it contains a subtree without an attach path, which is "
                "not linked; add 'below' to its grammar",
                input.name.c_str());
            count_loss();
            break;
        }
}

void read_files(const Request &request) {
    read_root(Input{request.root});
    for (const char *name : request.subtrees) {
        const std::string file = file_of(name);
        if (!is_skipped(file, request))
            read_subtrees(Input{file});
    }
}

// ---- Linking and writing ----

LinkedTree join() {
    tree_node_t *nodes = nullptr;
    const int32_t node_count = get_parse_tree(&nodes);
    if (node_count < 1)
        throw tool::Stop{tool::kNegative}; // the library has printed the reason
    return {decltype(LinkedTree::nodes){nodes}, static_cast<uint32_t>(node_count)};
}

// Checks of the linked tree.
class TreeChecks {
public:
    TreeChecks(const LinkedTree &tree, const std::string &output,
               const tool::CheckSeverities &severities)
        : nodes_(tree.nodes.get(), tree.node_count), output_(output), severities_(severities) {}

    // Returns the number of errors; warnings are counted with those of the library.
    uint32_t run() {
        if (severities_.is_on("depth"))
            check_depth();
        if (severities_.is_on("redirect-root"))
            check_redirect_root();
        if (severities_.is_on("same-word"))
            check_words();
        return errors_;
    }

private:
    void report(const char *check, const std::string &text) {
        const bool is_error = severities_.of(check) == tool::CheckSeverity::kError;
        tool::report("%s: %s%s [%s]", output_.c_str(),
                     label(is_error ? tool::Severity::kError : tool::Severity::kWarning),
                     text.c_str(), check);
        errors_ += is_error ? 1 : 0;
        ++tsh_link_warnings;
    }

    // The linker creates no cycles, so the library's check finds nothing but excess depth.
    void check_depth() {
        errno = 0;
        if (cycle_check(nodes_.data(), 0, 0) <= 0)
            return;
        if (errno == ENOMEM)
            throw std::bad_alloc{};
        const std::string limit = std::to_string(TREE_MAX_LEVELS);
        report("depth", "tree has more than " + limit +
                            " levels; listings omit siblings below level " + limit);
    }

    // The loader expects a redirect root after the first child of the root.
    void check_redirect_root() {
        const auto links = tool::links_of(nodes_.front());
        if (std::ranges::none_of(links.subspan(links.empty() ? 0 : 1), [&](uint16_t child) {
                return tool::text_of(nodes_[child].name) == tool::kRedirectRoot;
            }))
            report("redirect-root",
                   "tree cannot be loaded: root has no 'tsh_redirect_root' after its first child");
    }

    // The shell ignores case and finds only the first of siblings whose words differ only in case.
    void check_words() {
        for (const tree_node_t &parent : nodes_) {
            if (!may_repeat_words(tool::links_of(parent)))
                continue;
            std::map<std::string, const tree_node_t *> first_of;
            for (const uint16_t link : tool::links_of(parent)) {
                const tree_node_t &child = nodes_[link];
                std::string word{tool::text_of(child.token)};
                std::ranges::transform(word, word.begin(), g_ascii_tolower);
                const auto [known, is_new] = first_of.try_emplace(std::move(word), &child);
                if (!is_new && child.token[0] != '\0')
                    report_same_word(parent, *known->second, child);
            }
        }
    }

    // Returns equal values for words that differ only in the case of letters.
    static uint64_t hash_without_case(const tree_node_t &node) {
        constexpr uint64_t kPrime = 0x100000001B3; // of FNV-1
        constexpr unsigned char kCaseBit = 'a' - 'A';
        uint64_t hash = 0;
        for (const char c : node.token) {
            if (c == '\0')
                break;
            hash = hash * kPrime ^ (static_cast<unsigned char>(c) | kCaseBit);
        }
        return hash;
    }

    // Returns whether two children have words with equal hashes.
    [[nodiscard]] bool may_repeat_words(std::span<const uint16_t> children) const {
        std::array<uint64_t, TREE_MAX_CHILDREN> space;
        const std::span hashes{space.begin(), children.size()};
        std::ranges::transform(children, hashes.begin(),
                               [&](uint16_t child) { return hash_without_case(nodes_[child]); });
        std::ranges::sort(hashes);
        return std::ranges::adjacent_find(hashes) != hashes.end();
    }

    void report_same_word(const tree_node_t &parent, const tree_node_t &first,
                          const tree_node_t &second) {
        const auto name = [](const tree_node_t &node) { return std::string{node.name}; };
        report("same-word",
               "siblings " + name(first) + " and " + name(second) + " below " + name(parent) +
                   " match the same word: " + tool::quoted(tool::text_of(first.token)) + " and " +
                   tool::quoted(tool::text_of(second.token)));
    }

    std::span<const tree_node_t> nodes_;
    const std::string &output_;
    const tool::CheckSeverities &severities_;
    uint32_t errors_ = 0;
};

// Redirects standard output to standard error, or to /dev/null if that is closed.
void divert_standard_output() {
    if (dup2(STDERR_FILENO, STDOUT_FILENO) >= 0)
        return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0)
        tool::fail("/dev/null: cannot be opened: %s", strerror(errno));
}

// Returns a stream to standard output for the tree only. If standard error is closed, the stream
// does not use its number, or messages would be written there.
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
    const tool::CheckSeverities severities{&tool::Check::in_linker, line};
    const Request request = read_request(line);
    verbose = line.has("verbose") ? 1 : 0;
    prebuilt_main_tree_path = const_cast<char *>(line.value("prebuilt"));
    if (would_overwrite_input(request))
        tool::refuse("%s: is both input and output", request.output.c_str());

    FILE *stream = request.output == kStream ? take_standard_output() : nullptr;
    read_files(request);
    const LinkedTree tree = join();
    const uint32_t errors = TreeChecks{tree, request.output_name, severities}.run();
    if (request.strict && tsh_link_warnings > 0) {
        tool::report("%s: not written: %u warning%s (--strict)", request.output_name.c_str(),
                     tsh_link_warnings, tsh_link_warnings == 1 ? "" : "s");
        return tool::kNegative;
    }
    if (errors > 0) {
        tool::report("%s: not written: %u error%s", request.output_name.c_str(), errors,
                     errors == 1 ? "" : "s");
        return tool::kNegative;
    }
    write(tree, request, stream);
    return tsh_link_losses > 0 ? tool::kNegative : tool::kDone;
}

// ---- Main program ----

bool is_running = true;

// Reports that memory ran out; the library exits silently.
void report_no_memory(int status, void * /*unused*/) {
    if (status == TREELINK_OUT_OF_MEMORY && is_running)
        tool::report("out of memory");
}

} // namespace

int main(int argc, char **argv) {
    on_exit(report_no_memory, nullptr);
    const int status = tool::run(kProgram, argc, argv, link);
    is_running = false;
    return status;
}
