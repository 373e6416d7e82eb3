// Depth-first walk that produces the lines of a tree, in the order of the child lists. Template
// parameters supply the nodes and receive the lines.
#pragma once

#include "cmd_gen/line_output_internal.h"
#include "cmd_gen/store_internal.h"
#include "parse_tree/tree_node.h"

#include <cstddef>
#include <string_view>
#include <utility>

namespace tsh {

/// Properties of a node that the walk has reached.
struct MetNode {
    const tree_node_t *record = nullptr;
    std::string_view word{}; // text in a line; valid until the next node is met
    bool printed = false;    // a line ends here
    bool submode = false;
    bool entered = false; // the walk visits its children
};

/// Nodes provides
/// - Cursor: a position among the children of a node;
/// - Node: a reference to a node;
/// - bool at_end(cursor): whether there is no child at the cursor;
/// - Node child_at(cursor);
/// - bool is_leaf(node): whether print_leaves may be called;
/// - void print_leaves(cursor, sink): prints the leaves that start at the cursor, and advances it;
/// - MetNode meet(node);
/// - Cursor enter(node, siblings): the first child of the node; if siblings is false, the only one;
/// - void advance(cursor): moves to the next sibling.
///
/// Sink provides
/// - Frame: the state to restore when a node is left;
/// - bool has_room(node): reserves the memory to enter a node; false if out of memory;
/// - Frame enter(node): the following words come after the word of the node, or in its submode;
/// - void leave(frame);
/// - bool finds_siblings(): whether siblings of the children of the last entered node are found;
/// - print(words): prints a line for each word of a sequence, and returns the rest of the sequence;
/// - bool failed(): whether no more output is possible.
template <typename Nodes, typename Sink> struct WalkLevel {
    typename Nodes::Cursor cursor;
    typename Sink::Frame frame;
};

/// The levels of the current path, from the first node down.
template <typename Nodes, typename Sink> using WalkLevels = Store<WalkLevel<Nodes, Sink>>;

/// Walks the descendants of a node. first() returns the first child after the node has been
/// entered. Levels grow if they have not been reserved. Leaves every node that it has entered. The
/// state is local and the operations are inlined, so that it stays in registers: with members, a
/// line costs 3 % more instructions.
/// @return false if out of memory.
template <typename Nodes, typename Sink, typename First>
[[nodiscard]] bool walk_lines(const MetNode &node, First first, Nodes &nodes, Sink &sink,
                              WalkLevels<Nodes, Sink> &levels) {
    size_t depth = 0;
    if (!levels.grow(1))
        return false;
    const auto outermost = sink.enter(node);
    levels[depth++] = {first(), outermost};
    while (depth > 0) {
        auto &cursor = levels[depth - 1].cursor;
        if (nodes.at_end(cursor) || sink.failed()) {
            sink.leave(levels[--depth].frame);
            if (depth > 0 && !sink.failed())
                nodes.advance(levels[depth - 1].cursor);
            continue;
        }
        const typename Nodes::Node child = nodes.child_at(cursor);
        if (nodes.is_leaf(child)) {
            nodes.print_leaves(cursor, sink);
            continue;
        }
        const MetNode met = nodes.meet(child);
        if (met.printed)
            sink.print(OneWord(met.word));
        if (!met.entered) {
            nodes.advance(cursor);
            continue;
        }
        // Reserves all memory before the node is entered, so that every step is complete.
        if (!sink.has_room(met) || !levels.grow(depth + 1))
            break;
        const auto frame = sink.enter(met);
        levels[depth++] = {nodes.enter(child, sink.finds_siblings()), frame};
    }
    const bool has_memory = depth == 0;
    while (depth > 0)
        sink.leave(levels[--depth].frame);
    return has_memory;
}

} // namespace tsh
