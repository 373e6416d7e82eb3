// Several grammars are compiled into subtree files in a temporary directory, whose names the
// linker's messages have, and linked from there.
#include "tools/ocmd_try/grammar_files.h"

#include "base/owners.h"
#include "parse_tree/tree_writer.h"
#include "tools/ocmd_compile/checks.h"
#include "tools/ocmd_compile/grammar_checks.h"
#include "tools/ocmd_compile/stages.h"
#include "tools/support/program.h"
#include "tools/support/tree_input.h"
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
#include <memory>
#include <new>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace shell {

namespace {

using compiler::Document;
using compiler::Grammar;
using compiler::Messages;
using tool::fail;
using tool::Status;
using tool::Stop;

using Stream = std::unique_ptr<FILE, base::Releaser<fclose>>;

bool is_grammar(std::string_view path) {
    return path.ends_with(".yaml") || path.ends_with(".yml");
}

// A directory that is removed with all files in it.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::error_code no_place;
        std::string name = (fs::temp_directory_path(no_place) / "ocmd_try.XXXXXX").string();
        if (no_place || mkdtemp(name.data()) == nullptr)
            fail("%s: cannot be created: %s", name.c_str(), strerror(errno));
        path_ = name;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    [[nodiscard]] const fs::path &path() const { return path_; }

private:
    fs::path path_;
};

// ---- In the process that makes the tree ----

[[noreturn]] void fail_to_write() {
    fail("the compiled grammar cannot be stored: %s", strerror(errno));
}

void copy_tree(const std::string &path, FILE *to) {
    tool::open_valid(path); // or the run ends
    const base::Descriptor from = base::open_input(path);
    std::array<char, 65536> block{};
    for (;;) {
        const ssize_t size = base::read_fully(from, block.data(), block.size());
        if (size < 0)
            fail("%s: cannot be read: %s", path.c_str(), strerror(errno));
        if (size == 0)
            return;
        if (fwrite(block.data(), 1, static_cast<size_t>(size), to) != static_cast<size_t>(size))
            fail_to_write();
    }
}

bool is_root(const Document &document) {
    return document.attach_path.empty();
}

// Reports what cannot be linked: no root or a second one, and a root that is not alone in its file.
void check_roots(const Grammar &grammar, Messages &messages) {
    const Document *root = nullptr;
    for (const Document &document : grammar.documents) {
        if (!is_root(document))
            continue;
        if (root != nullptr)
            messages.fault(*document.file, document.place,
                           "second root: 'below' is missing in this document",
                           {{root->file, root->place, "the first root is here"}});
        else
            root = &document;
    }
    if (root == nullptr)
        messages.fault(grammar.files.front(), {},
                       "no root: every document of the grammars has 'below'");
    else if (std::ranges::any_of(grammar.documents, [&](const Document &document) {
                 return document.file == root->file && !is_root(document);
             }))
        messages.fault(*root->file, root->place, "the root must be the only document of its file");
}

void write_subtrees(std::span<const Document> documents, const std::string &path) {
    const Stream stream{fopen(path.c_str(), "we")};
    if (stream == nullptr || !compiler::write_records(documents, stream.get()))
        fail_to_write();
}

// Names in messages of the linker: the grammar's own with another suffix. Of two that are called
// alike, the second has its number before it.
std::string subtree_file_of(const std::string &grammar, size_t number) {
    const std::string name = fs::path{grammar}.stem().string() + ".par";
    std::error_code ignored;
    return fs::exists(name, ignored) ? std::to_string(number) + "-" + name : name;
}

// The current directory takes the subtree files.
void link(std::span<const Document> documents, FILE *to) {
    std::string root;
    std::vector<std::string> others;
    for (size_t number = 1; !documents.empty(); ++number) {
        const auto file = documents.first(compiler::documents_of_first_file(documents));
        std::string path = subtree_file_of(file.front().file->name(), number);
        write_subtrees(file, path);
        if (is_root(file.front()))
            root = std::move(path);
        else
            others.push_back(std::move(path));
        documents = documents.subspan(file.size());
    }
    read_parser_file(root.c_str(), SUBTREE_FILE_ROOT);
    for (const std::string &path : others)
        read_parser_file(path.c_str(), SUBTREE_FILE_ORDINARY);
    tree_node_t *nodes = nullptr;
    const int32_t node_count = get_parse_tree(&nodes);
    const base::Block<tree_node_t> owned{nodes};
    if (node_count < 1 || tsh_link_losses > 0) { // which the library has told
        tool::report("the grammars cannot be linked completely");
        throw Stop{tool::kNegative};
    }
    if (write_array_tree_to_file(nodes, static_cast<uint32_t>(node_count), 0, nullptr, to, 0, 0,
                                 1) != 0)
        fail_to_write();
}

void compile(std::span<const std::string> paths, const fs::path &directory, FILE *to) {
    Grammar grammar;
    Messages messages;
    for (const std::string &path : paths)
        grammar.files.push_back(compiler::read_grammar(path));
    const bool is_linked = paths.size() > 1;
    for (const compiler::SourceFile &file : grammar.files)
        compiler::add_documents(file, is_linked ? TREE_WRITER_MAX_NODES : TREE_MAX_NODES, grammar,
                                messages);
    const std::span<const Document> documents{grammar.documents};
    const bool is_main = documents.size() == 1 && is_root(documents.front());
    if (is_linked)
        check_roots(grammar, messages);
    compiler::check(grammar, is_main, {compiler::grammar_checks(), {}}, messages);
    messages.tell();
    if (messages.faults() > 0)
        throw Stop{tool::kNegative};
    if (is_linked) {
        fs::current_path(directory);
        link(documents, to);
    } else if (is_main ? !compiler::write_main(documents.front(), to)
                       : !compiler::write_records(documents, to)) {
        fail_to_write();
    }
}

Status make_tree(std::span<const std::string> paths, const fs::path &directory, FILE *to) {
    try {
        if (is_grammar(paths.front()))
            compile(paths, directory, to);
        else
            copy_tree(paths.front(), to);
        if (fflush(to) != 0)
            fail_to_write();
        return tool::kDone;
    } catch (const Stop &stop) {
        return stop.status;
    } catch (const fs::filesystem_error &error) {
        tool::report("%s", error.what());
    } catch (const std::bad_alloc &) {
        tool::report("out of memory");
    }
    return tool::kError;
}

// The status of the process; a signal counts as trouble.
int wait_for(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            return tool::kError;
    return WIFEXITED(status) ? WEXITSTATUS(status) : tool::kError;
}

} // namespace

GrammarFiles::GrammarFiles(std::span<char *const> paths, const char *prebuilt)
    : paths_(paths.begin(), paths.end()) {
    if (prebuilt != nullptr) // the linker runs in another directory
        prebuilt_ = fs::absolute(prebuilt).string();
    if (paths_.empty())
        tool::refuse("missing operand: TREE or GRAMMAR.yaml");
    for (const std::string &path : paths_) {
        if (path == "-")
            tool::refuse("standard input has the command lines; the grammar must be a file");
        if (paths_.size() > 1 && !is_grammar(path))
            tool::refuse("%s: several files must all be grammars in YAML; ocmd_link links trees",
                         path.c_str());
    }
}

std::string GrammarFiles::name() const {
    return fs::path{paths_.front()}.stem().string();
}

bool GrammarFiles::have_changed() const {
    return states() != loaded_;
}

base::Descriptor GrammarFiles::load() {
    loaded_ = states();
    const base::Descriptor first{memfd_create("grammar", MFD_CLOEXEC)};
    // Where a standard stream is closed, the file does not take its number.
    base::Descriptor made{fcntl(first.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
    if (!made)
        fail("the compiled grammar cannot be stored: %s", strerror(errno));
    std::optional<TemporaryDirectory> directory;
    if (paths_.size() > 1)
        directory.emplace();
    fflush(nullptr);
    const pid_t process = fork();
    if (process < 0)
        fail("no process to compile the grammar: %s", strerror(errno));
    if (process == 0) {
        prebuilt_main_tree_path = prebuilt_.empty() ? nullptr : prebuilt_.data();
        FILE *stream = fdopen(made.number(), "w");
        const fs::path place = directory ? directory->path() : fs::path{};
        const Status status = stream == nullptr ? tool::kError : make_tree(paths_, place, stream);
        fflush(stdout);
        _exit(status);
    }
    return wait_for(process) == tool::kDone ? std::move(made) : base::Descriptor{};
}

bool GrammarFiles::State::operator==(const State &other) const {
    return device == other.device && file == other.file && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

std::vector<std::optional<GrammarFiles::State>> GrammarFiles::states() const {
    std::vector<std::optional<State>> states;
    for (const std::string &path : paths_) {
        struct stat now {};
        states.push_back(
            stat(path.c_str(), &now) == 0
                ? std::optional{State{now.st_dev, now.st_ino, now.st_size, now.st_mtim}}
                : std::nullopt);
    }
    return states;
}

} // namespace shell
