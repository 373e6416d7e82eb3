// Contexts of users.
#include "resolve/context_internal.h"

#include "resolve/answer_internal.h"

#include <algorithm>
#include <new>

namespace {

constexpr uint32_t kExcluding = TREE_FLAG_EXCLUDED | TREE_FLAG_EXCLUDED_ALSO;

// Everything on the way into the submode must exist.
bool exists(const tsh::Submode &submode, const tsh_context_t &context) {
    const tsh_reading_t &reading = submode.entry->readings.front();
    return std::ranges::none_of(submode.nodes,
                                [&](tsh::NodeNumber node) { return context.hidden.holds(node); }) &&
           std::none_of(reading.path, reading.path + reading.path_count, [&](const auto *node) {
               return context.hidden.holds(context.grammar->number_of(node));
           });
}

} // namespace

tsh_context_t *tsh_context_new(const tsh_grammar_t *grammar) {
    return new (std::nothrow) tsh_context_t{grammar};
}

void tsh_context_free(tsh_context_t *context) {
    delete context;
}

int32_t tsh_context_admit(tsh_context_t *context, tsh_admit_fn admit, void *user,
                          int32_t single_mode) {
    const tsh_grammar_t &grammar = *context->grammar;
    try {
        std::vector<bool> hidden;
        if (admit != nullptr || single_mode != 0) {
            hidden.resize(grammar.node_count());
            for (tsh::NodeNumber number = 0; number < grammar.node_count(); ++number) {
                const tree_node_t &node = grammar.record(number);
                hidden[number] = (single_mode != 0 && (node.flags & kExcluding) != 0) ||
                                 (admit != nullptr && admit(&node, user) == 0);
            }
        }
        context->admission = hidden.empty() ? 0 : grammar.next_admission();
        context->hidden.assign(std::move(hidden));
    } catch (const std::bad_alloc &) {
        return -1;
    }
    context->is_single_mode = single_mode != 0;
    context->version = grammar.next_admission();
    const auto first_gone = std::ranges::find_if_not(
        context->submodes, [&](const tsh::Submode &submode) { return exists(submode, *context); });
    return static_cast<int32_t>(
        tsh_context_leave(context, static_cast<uint32_t>(context->submodes.end() - first_gone)));
}

int32_t tsh_context_enter(tsh_context_t *context, const tsh_answer_t *answer) {
    const std::vector<tsh::Submode> &entered = answer->entered;
    if (entered.empty() || answer->context != context ||
        answer->context_version != context->version || context->is_single_mode)
        return -1;
    const size_t kept = context->submodes.size() - answer->levels_left;
    try {
        context->submodes.reserve(kept + entered.size());
        std::vector<tsh::Submode> copies{entered};
        context->submodes.resize(kept);
        std::ranges::move(copies, std::back_inserter(context->submodes));
    } catch (const std::bad_alloc &) {
        return -2;
    }
    context->version = context->grammar->next_admission();
    return 0;
}

uint32_t tsh_context_leave(tsh_context_t *context, uint32_t count) {
    const size_t left = std::min<size_t>(count, context->submodes.size());
    context->submodes.resize(context->submodes.size() - left);
    if (left > 0)
        context->version = context->grammar->next_admission();
    return static_cast<uint32_t>(left);
}

uint32_t tsh_context_depth(const tsh_context_t *context) {
    return static_cast<uint32_t>(context->submodes.size());
}

const tsh_reading_t *tsh_context_place(const tsh_context_t *context, uint32_t level) {
    if (level == 0 || level > context->submodes.size())
        return nullptr;
    return &context->submodes[level - 1].entry->readings.front();
}
