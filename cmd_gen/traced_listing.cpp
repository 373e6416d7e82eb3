// Traced listing: finds children and looks up types as often as the traces require.
#include "atnode/relations.h"
#include "cmd_gen/listing_path_internal.h"
#include "cmd_gen/word_internal.h"

#include <cstdio>

namespace {

using tsh::ListResult;
using tsh::MetNode;

// Children, found with the operations of the traversal stack.
class TracedNodes {
public:
    using Cursor = const tree_node_t *; // null after the last child

    using Node = const tree_node_t *;

    static bool at_end(Cursor child) { return child == nullptr; }
    static Node child_at(Cursor child) { return child; }
    static bool is_leaf(Node /*child*/) { return false; }
    template <typename Sink> static void print_leaves(Cursor /*child*/, Sink & /*sink*/) {}
    static Cursor enter(Node child, bool /*siblings*/) { return atnode_first_child(child); }
    static void advance(Cursor &child) { child = atnode_next_sibling(child); }

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

// Lines that are printed immediately, between the traces.
class TracedLines : public tsh::ListingPath {
public:
    using ListingPath::ListingPath;

    bool has_room(const MetNode &node) { return line_.grow(SPC_STR_SIZE + node.word.size()); }

    tsh::OneWord print(tsh::OneWord word) {
        tsh::show_indentation();
        has_output_ = printf("\n[%6u].", ++cmd_count) >= 0;
        put(line_.text());
        put(word.take());
        return word;
    }

    // A trace on the same stream flushes it, which can fail.
    [[nodiscard]] bool failed() const {
        return !has_output_ || (!had_error_ && ferror(stdout) != 0);
    }

private:
    void put(std::string_view text) {
        has_output_ = has_output_ && fwrite(text.data(), 1, text.size(), stdout) == text.size();
    }

    bool had_error_ = ferror(stdout) != 0; // before the first write
    bool has_output_ = true;               // all writes of this listing have succeeded
};

} // namespace

tsh::ListResult tsh::list_traced(const tree_node_t *node, std::string_view prefix) {
    TracedNodes nodes;
    tsh::CommandLine line;
    if (!line.grow(SPC_STR_SIZE + prefix.size()))
        return ListResult::kNoMemory;
    line.begin();
    line.append(prefix);
    TracedLines lines{line};
    tsh::WalkLevels<TracedNodes, TracedLines> levels{tsh_realloc};
    const MetNode first{.record = node};
    const auto first_cursor = [node] { return atnode_first_child(node); };
    if (!tsh::walk_lines(first, first_cursor, nodes, lines, levels))
        return ListResult::kNoMemory;
    return lines.failed() ? ListResult::kLostOutput : ListResult::kDone;
}
