// The files of a grammar, and the tree that they make.
#pragma once

#include "base/descriptor.h"
#include "tools/support/program.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace shell {

class GrammarFiles {
public:
    /// Takes one tree, or grammars in YAML; anything else is a usage error.
    /// @param prebuilt the directory of the prebuilt trees that the linker borrows from; may be
    ///        null.
    GrammarFiles(std::span<char *const> paths, const char *prebuilt);

    /// The name of the first file without directory and suffix.
    [[nodiscard]] std::string name() const;

    /// Whether a file is another one than when it was loaded last, or was changed since.
    [[nodiscard]] bool have_changed() const;

    /// Whether a path leads to one of the files, prebuilt trees included.
    [[nodiscard]] bool contain(const std::string &path) const;

    /// Makes the tree: checks a tree, compiles a grammar, links several. All of it happens in a
    /// child process, because the linker has process-wide state and errors end a run.
    struct Made {
        base::Descriptor tree; ///< An unnamed file with a valid tree of any format; none on error.
        tool::Status status;   ///< On error, the status of a program that ends with it.
    };
    /// Reports errors.
    Made load();

private:
    struct State {
        dev_t device;
        ino_t file;
        off_t size;
        timespec modified;

        bool operator==(const State &other) const;
    };
    [[nodiscard]] std::vector<std::string> all_paths() const;
    [[nodiscard]] std::vector<std::optional<State>> states() const;

    std::vector<std::string> paths_;
    std::vector<std::optional<State>> loaded_; // as the files were then
};

} // namespace shell
