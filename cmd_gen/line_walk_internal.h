// The walk that makes lines of a tree: depth first below a node, in the order of the child lists.
// The nodes say what comes next and what it looks like; a sink makes lines of it.
#pragma once

#include "cmd_gen/line_output_internal.h"
#include "cmd_gen/store_internal.h"
#include "parse_tree/tree_node.h"

#include <cstddef>
#include <string_view>
#include <utility>

namespace tsh {

/// A node as the walk meets it.
struct MetNode {
    const tree_node_t *record = nullptr;
    std::string_view word{}; // as a line shows it; valid until the next node is met
    bool printed = false;    // a line ends here
    bool submode = false;
    bool entered = false; // the walk goes on below it
};

/// Nodes have
///   Place                          a position among the children of a node
///   Node                           what names a node
///   bool at_end(place)             there is no child at it
///   Node child_at(place)
///   bool is_leaf(node)             print_leaves can be called
///   void print_leaves(place, sink) prints the leaves that begin at it and moves behind them
///   MetNode meet(node)
///   Place enter(node, siblings)    the first position below the node; with siblings false, no
///   child
///                                  after the first one is found there
///   void advance(place)            moves to the next sibling
/// and a sink has
///   Frame                  what to go back to when a node is left
///   bool has_room(node)    takes the memory for entering it; false without memory
///   Frame enter(node)      the words of what follows come after that of the node, or in its
///   submode void leave(frame) bool finds_siblings()  of the node entered last print(words) prints
///   a line for each word of a run; returns the rest of the run bool failed()          no more can
///   be printed
template <typename Nodes, typename Sink> struct WalkLevel {
    typename Nodes::Place place;
    typename Sink::Frame frame;
};

/// The levels that a walk is on, from its first node down.
template <typename Nodes, typename Sink> using WalkLevels = Store<WalkLevel<Nodes, Sink>>;

/// Walks everything below a node. first() gives the first position there, once the node has been
/// entered. Levels grow where they have not been reserved. Whatever was entered has been left in
/// the end. Its state is local and its operations are inlined, so that it stays in registers: as
/// members it costs 3 % more instructions a line.
/// @return false without memory.
template <typename Nodes, typename Sink, typename First>
[[nodiscard]] bool walk_lines(const MetNode &node, First first, Nodes &nodes, Sink &sink,
                              WalkLevels<Nodes, Sink> &levels) {
    size_t depth = 0;
    const auto push = [&](const auto &place, const auto &frame) {
        levels[depth++] = {place, frame};
    };
    const auto leave = [&] { sink.leave(levels[--depth].frame); };

    if (!levels.grow(1))
        return false;
    const auto outermost = sink.enter(node);
    push(first(), outermost);
    while (depth > 0) {
        auto &place = levels[depth - 1].place;
        if (nodes.at_end(place) || sink.failed()) {
            leave();
            if (depth > 0 && !sink.failed())
                nodes.advance(levels[depth - 1].place);
            continue;
        }
        const typename Nodes::Node child = nodes.child_at(place);
        if (nodes.is_leaf(child)) {
            nodes.print_leaves(place, sink);
            continue;
        }
        const MetNode met = nodes.meet(child);
        if (met.printed)
            sink.print(OneWord(met.word));
        if (!met.entered) {
            nodes.advance(place);
            continue;
        }
        // All memory is taken before anything is entered, so that only whole steps are left.
        if (!sink.has_room(met) || !levels.grow(depth + 1))
            break;
        const auto frame = sink.enter(met);
        push(nodes.enter(child, sink.finds_siblings()), frame);
    }
    const bool has_memory = depth == 0;
    while (depth > 0)
        leave();
    return has_memory;
}

} // namespace tsh
