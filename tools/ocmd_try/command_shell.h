// What a user of the shell has: the grammar, the submodes entered, and answers to lines.
#pragma once

#include "tools/ocmd_find/file_grammar.h"
#include "tools/ocmd_try/grammar_files.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace shell {

/// A grammar that was loaded, with the tree below it.
struct LoadedGrammar {
    explicit LoadedGrammar(base::Descriptor made);

    base::Descriptor stored;
    tool::TreeFile file;
    find::FileGrammar grammar;
};

/// What may stand at a position of a line.
struct Completion {
    tsh_range_t range;      ///< The word that is completed.
    std::string common;     ///< What all candidates begin with; empty if that is not known.
    bool is_unique = false; ///< One keyword is possible.
    std::string candidates; ///< For the terminal: one line each.
};

class CommandShell {
public:
    /// Loads the grammar; if that fails, the run ends after messages.
    CommandShell(GrammarFiles &files, bool is_single);

    /// "porch(lamp 3)# ", the submode by the name of its mode if it has one.
    [[nodiscard]] std::string prompt() const;

    /// Resolves a line and writes what it stands for; enters and leaves submodes. Messages go to
    /// standard error. @return whether the line is one that the grammar accepts.
    bool answer(std::string_view line);

    /// Finds what may stand at an offset of a line.
    Completion complete(std::string_view line, size_t offset);

    /// Loads the grammar again if its files have changed, or if it must. If that fails, the one
    /// loaded before is kept. @return whether it did not fail.
    bool reload(bool must);

    [[nodiscard]] uint32_t depth() const { return tsh_context_depth(context_.get()); }
    /// Leaves submodes, at most those entered. @return false after a message if there are none.
    bool leave_entered(uint32_t count);
    void leave(uint32_t count) { tsh_context_leave(context_.get(), count); }

    /// Whether a path leads to a file that the grammar is made of.
    [[nodiscard]] bool is_input(const std::string &path) const { return files_.contain(path); }

    /// The lines that entered the submodes, the outermost first.
    [[nodiscard]] std::vector<std::string> places() const;

    /// The nodes from the first word to the innermost submode.
    [[nodiscard]] std::vector<const tree_node_t *> path() const;

    [[nodiscard]] const LoadedGrammar &loaded() const { return *loaded_; }

private:
    void adopt(std::unique_ptr<LoadedGrammar> loaded);
    void enter_again(const std::vector<std::string> &places);
    bool leave_by_word(std::string_view line);
    void print_reading(const tsh_reading_t &reading, std::string_view line, uint32_t around,
                       tool::TextOutput &output) const;
    [[nodiscard]] std::string candidate_list(tsh_verdict_t verdict) const;
    bool enter();

    GrammarFiles &files_;
    std::string name_;
    bool is_single_;
    std::unique_ptr<LoadedGrammar> loaded_;
    find::ContextPtr context_;
    find::AnswerPtr answer_;
};

} // namespace shell
