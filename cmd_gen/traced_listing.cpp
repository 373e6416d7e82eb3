// The traced way: children are found, and types looked up, as often as the traces are to show it.
#include "atnode/relations.h"
#include "cmd_gen/command_line_internal.h"
#include "cmd_gen/listing_internal.h"
#include "cmd_gen/word_internal.h"

#include <cstdio>

namespace {

using tsh::ListResult;

class TracedListing {
public:
    [[nodiscard]] ListResult list(const tree_node_t *node, std::string_view prefix) {
        if (!line_.grow(SPC_STR_SIZE + prefix.size()) || !levels_.grow(1))
            return ListResult::kNoMemory;
        line_.begin();
        line_.append(prefix);
        enter(node, false, line_.mark());
        bool has_memory = true;
        while (depth_ > 0 && has_memory && has_output())
            has_memory = list_child();
        while (depth_ > 0)
            leave();
        if (!has_memory)
            return ListResult::kNoMemory;
        return has_output() ? ListResult::kDone : ListResult::kLostOutput;
    }

private:
    // A node whose children are being listed, and what to go back to then.
    struct Level {
        const tree_node_t *child; // in hand, null behind the last
        bool in_submode;          // of its own
        tsh::CommandLine::Mark outer;
    };

    // Lists the child in hand and goes on to the next: below it, beside it, or where the level
    // ends, beside its parent. Returns false without memory.
    bool list_child() {
        const tree_node_t *child = levels_[depth_ - 1].child;
        if (child == nullptr) {
            leave();
        } else if (!tsh::is_left_out(*child)) {
            const tsh::Word word = tsh::spell(*child);
            if (tsh::has_line(*child))
                print_line(word.text());
            if (tsh::is_entered(*child))
                return enter_child(child, word.text());
        }
        if (depth_ > 0)
            levels_[depth_ - 1].child = atnode_next_sibling(levels_[depth_ - 1].child);
        return true;
    }

    // Takes all memory before it enters anything, so that only whole steps are there to be undone.
    bool enter_child(const tree_node_t *child, std::string_view word) {
        const tsh::CommandLine::Mark outer = line_.mark();
        if (!line_.grow(SPC_STR_SIZE + tsh::kWordGap.size() + word.size()) ||
            !levels_.grow(depth_ + 1))
            return false;
        if (tsh::is_submode(*child)) {
            ++submode_depth;
            line_.begin();
        } else {
            line_.append(tsh::kWordGap);
            line_.append(word);
        }
        enter(child, tsh::is_submode(*child), outer);
        return true;
    }

    // For a level that there is room for.
    void enter(const tree_node_t *node, bool in_submode, tsh::CommandLine::Mark outer) {
        atnode_stack_push(node);
        levels_[depth_++] = {atnode_first_child(node), in_submode, outer};
    }

    void leave() {
        const Level &level = levels_[--depth_];
        atnode_stack_pop();
        if (level.in_submode)
            --submode_depth;
        line_.cut_back(level.outer);
    }

    void print_line(std::string_view word) {
        tsh::show_indentation();
        has_output_ = printf("\n[%6u].", ++cmd_count) >= 0;
        put(line_.text());
        put(tsh::kWordGap);
        put(word);
    }

    // A trace that shares the stream may lose lines when it flushes them.
    [[nodiscard]] bool has_output() const {
        return has_output_ && (had_error_ || ferror(stdout) == 0);
    }

    void put(std::string_view text) {
        has_output_ = has_output_ && fwrite(text.data(), 1, text.size(), stdout) == text.size();
    }

    tsh::Store<Level> levels_{tsh_realloc};
    size_t depth_ = 0;
    tsh::CommandLine line_;
    bool had_error_ = ferror(stdout) != 0; // before the first write
    bool has_output_ = true;               // every write of its own has succeeded
};

} // namespace

tsh::ListResult tsh::list_traced(const tree_node_t *node, std::string_view prefix) {
    return TracedListing().list(node, prefix);
}
