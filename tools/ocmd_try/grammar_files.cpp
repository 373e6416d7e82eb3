// Grammars are compiled and linked as ocmd_compile does.
#include "tools/ocmd_try/grammar_files.h"

#include "tools/ocmd_compile/main_tree.h"
#include "tools/ocmd_compile/stages.h"
#include "tools/support/checks.h"
#include "tools/support/program.h"
#include "tools/support/tree_input.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace shell {

namespace {

using compiler::Grammar;
using tool::fail;
using tool::Status;
using tool::Stop;

bool is_grammar(std::string_view path) {
    return path.ends_with(".yaml") || path.ends_with(".yml");
}

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

void compile(std::span<const std::string> paths, FILE *to) {
    Grammar grammar;
    const bool is_main = compiler::read_grammars(paths, compiler::Target::kDetected,
                                                 {&tool::Check::in_compiler, {}}, grammar);
    if (is_main ? !compiler::MainTree{grammar.documents}.write(to)
                : !compiler::write_records(grammar.documents, to))
        fail_to_write();
}

// The descriptor is written through a stream.
Status make_tree(std::span<const std::string> paths, int descriptor) {
    try {
        FILE *to = fdopen(descriptor, "w");
        if (to == nullptr)
            fail_to_write();
        if (is_grammar(paths.front()))
            compile(paths, to);
        else
            copy_tree(paths.front(), to);
        if (fflush(to) != 0)
            fail_to_write();
        return tool::kDone;
    } catch (const Stop &stop) {
        return stop.status;
    } catch (const std::bad_alloc &) {
        tool::report("out of memory");
    }
    return tool::kError;
}

// The status of the process; a signal counts as trouble.
Status wait_for(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            return tool::kError;
    return WIFEXITED(status) ? static_cast<Status>(WEXITSTATUS(status)) : tool::kError;
}

} // namespace

GrammarFiles::GrammarFiles(std::span<char *const> paths, const char *prebuilt)
    : paths_(paths.begin(), paths.end()) {
    compiler::use_prebuilt_trees(prebuilt);
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

GrammarFiles::Made GrammarFiles::load() {
    loaded_ = states();
    const base::Descriptor first{memfd_create("grammar", MFD_CLOEXEC)};
    if (!first)
        fail_to_write();
    // Where a standard stream is closed, the file does not take its number.
    base::Descriptor made{fcntl(first.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
    if (!made)
        fail_to_write();
    fflush(nullptr);
    const pid_t process = fork();
    if (process < 0)
        fail("no process to compile the grammar: %s", strerror(errno));
    if (process == 0) {
        const Status status = make_tree(paths_, made.number());
        fflush(stdout);
        _exit(status);
    }
    const Status status = wait_for(process);
    return {status == tool::kDone ? std::move(made) : base::Descriptor{}, status};
}

bool GrammarFiles::State::operator==(const State &other) const {
    return device == other.device && file == other.file && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

std::vector<std::string> GrammarFiles::all_paths() const {
    std::vector<std::string> paths = compiler::prebuilt_files();
    paths.insert(paths.end(), paths_.begin(), paths_.end());
    return paths;
}

bool GrammarFiles::contain(const std::string &path) const {
    return std::ranges::any_of(all_paths(), [&](const std::string &file) {
        std::error_code not_there;
        return fs::equivalent(file, path, not_there);
    });
}

std::vector<std::optional<GrammarFiles::State>> GrammarFiles::states() const {
    std::vector<std::optional<State>> states;
    for (const std::string &path : all_paths()) {
        struct stat now {};
        states.push_back(
            stat(path.c_str(), &now) == 0
                ? std::optional{State{now.st_dev, now.st_ino, now.st_size, now.st_mtim}}
                : std::nullopt);
    }
    return states;
}

} // namespace shell
