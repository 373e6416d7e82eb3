// The traced way: children are found, and types looked up, as often as the traces are to show it.
#include "atnode/relations.h"
#include "cmd_gen/listing_path_internal.h"
#include "cmd_gen/word_internal.h"

#include <cstdio>

namespace {

using tsh::ListResult;
using tsh::MetNode;

// Children in hand, found through the steps of the traversal stack.
class TracedNodes {
public:
    using Place = const tree_node_t *; // null behind the last child

    using Node = const tree_node_t *;

    static bool at_end(Place child) { return child == nullptr; }
    static Node child_at(Place child) { return child; }
    static bool is_leaf(Node /*child*/) { return false; }
    template <typename Sink> static void print_leaves(Place /*child*/, Sink & /*sink*/) {}
    static Place enter(Node child, bool /*siblings*/) { return atnode_first_child(child); }
    static void advance(Place &child) { child = atnode_next_sibling(child); }

    MetNode meet(Node child) {
        if (tsh::is_left_out(*child))
            return {.record = child};
        word_.clear();
        word_ << tsh::kWordGap << tsh::spell(*child).text();
        return {.record = child,
                .word = word_.text(),
                .printed = tsh::has_line(*child),
                .submode = tsh::is_submode(*child),
                .entered = tsh::is_entered(*child)};
    }

private:
    base::TextBuilder<tsh::kLongestGappedWord> word_;
};

// Lines that leave at once, between the traces.
class TracedLines : public tsh::ListingPath {
public:
    [[nodiscard]] bool begin(std::string_view prefix) {
        if (!line_.grow(SPC_STR_SIZE + prefix.size()))
            return false;
        line_.begin();
        line_.append(prefix);
        return true;
    }

    bool has_room(const MetNode &node) { return line_.grow(SPC_STR_SIZE + node.word.size()); }

    tsh::OneWord print(tsh::OneWord word) {
        tsh::show_indentation();
        has_output_ = printf("\n[%6u].", ++cmd_count) >= 0;
        put(line_.text());
        put(word.take());
        return word;
    }

    // A trace that shares the stream may lose lines when it flushes them.
    [[nodiscard]] bool failed() const {
        return !has_output_ || (!had_error_ && ferror(stdout) != 0);
    }

private:
    void put(std::string_view text) {
        has_output_ = has_output_ && fwrite(text.data(), 1, text.size(), stdout) == text.size();
    }

    bool had_error_ = ferror(stdout) != 0; // before the first write
    bool has_output_ = true;               // every write of its own has succeeded
};

} // namespace

tsh::ListResult tsh::list_traced(const tree_node_t *node, std::string_view prefix) {
    TracedNodes nodes;
    TracedLines lines;
    tsh::WalkLevels<TracedNodes, TracedLines> levels{tsh_realloc};
    const MetNode first{.record = node};
    const auto first_place = [node] { return atnode_first_child(node); };
    if (!lines.begin(prefix) || !tsh::walk_lines(first, first_place, nodes, lines, levels))
        return ListResult::kNoMemory;
    return lines.failed() ? ListResult::kLostOutput : ListResult::kDone;
}
