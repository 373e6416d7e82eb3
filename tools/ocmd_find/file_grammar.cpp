// The grammar over the trees of a file.
#include "tools/ocmd_find/file_grammar.h"

#include "tools/support/command_lines.h"
#include "tools/support/program.h"

#include <new>

namespace find {

namespace {

template <typename T> T *or_bad_alloc(T *made) {
    return made != nullptr ? made : throw std::bad_alloc{};
}

template <typename T> T *or_fail(T *made, const tool::TreeFile &file, const tsh_error_t &error) {
    if (made == nullptr && error.code == TSH_ERROR_NO_MEMORY)
        throw std::bad_alloc{};
    if (made == nullptr)
        tool::fail("%s: %s", file.name().c_str(), error.text);
    return made;
}

} // namespace

FileGrammar::FileGrammar(const tool::TreeFile &file, bool checks_forms) {
    if (!checks_forms) {
        types_.reset(or_bad_alloc(tsh_types_new()));
        tsh_types_ignore_forms(types_.get());
    }
    for (const tool::TreeRecord &record : file.records())
        trees_.push_back({record.tree.get(), tool::begins_with_root(file, record) ? 1 : 0});
    tsh_error_t error;
    grammar_.reset(or_fail(tsh_grammar_of_trees(trees_.data(), static_cast<uint32_t>(trees_.size()),
                                                types_.get(), &error),
                           file, error));
}

ContextPtr FileGrammar::new_context() const {
    return ContextPtr{or_bad_alloc(tsh_context_new(get()))};
}

AnswerPtr FileGrammar::new_answer() const {
    return AnswerPtr{or_bad_alloc(tsh_answer_new(get()))};
}

int32_t FileGrammar::index_of(const tree_node_t &node) const {
    int32_t index = -1;
    for (const tsh_grammar_tree_t &each : trees_)
        if (index < 0)
            index = tsh_tree_index(each.tree, &node);
    return index;
}

} // namespace find
