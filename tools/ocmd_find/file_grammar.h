// Grammar of all trees in a file.
#pragma once

#include "base/owners.h"
#include "resolve/resolver.h"
#include "tools/support/tree_input.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace find {

using ContextPtr = std::unique_ptr<tsh_context_t, base::Releaser<tsh_context_free>>;
using AnswerPtr = std::unique_ptr<tsh_answer_t, base::Releaser<tsh_answer_free>>;

class FileGrammar {
public:
    /// Expects a file with valid trees, which must outlive this. Without checks of forms, types
    /// other than numbers accept any word.
    explicit FileGrammar(const tool::TreeFile &file, bool checks_forms = true);

    [[nodiscard]] const tsh_grammar_t *get() const { return grammar_.get(); }

    /// Return new ones of this grammar; throw std::bad_alloc.
    [[nodiscard]] ContextPtr new_context() const;
    [[nodiscard]] AnswerPtr new_answer() const;

    /// Returns the index of a node in its tree.
    [[nodiscard]] int32_t index_of(const tree_node_t &node) const;

private:
    std::unique_ptr<tsh_types_t, base::Releaser<tsh_types_free>> types_; // null: built in
    std::vector<tsh_grammar_tree_t> trees_;
    std::unique_ptr<tsh_grammar_t, base::Releaser<tsh_grammar_close>> grammar_;
};

} // namespace find
