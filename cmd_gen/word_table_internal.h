// What a listing needs to know of each node, gathered when a walk first meets it. A shared node is
// met thousands of times, and its record spans more memory than all that is kept here.
#pragma once

#include "cmd_gen/line_output_internal.h"
#include "feature/tsh/src/trace_internal.h"
#include "parse_tree/tree_node.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tsh {

/// One node as the listing sees it. Its word and its child list lie next to each other in the
/// table.
struct ListedNode {
    uint32_t place;
    uint16_t word_length;
    uint8_t child_count;
    bool known : 1;
    bool left_out : 1; // in single mode
    bool printed : 1;  // has a line of its own
    bool submode : 1;
    bool plain_leaf : 1; // known, printed, not left out, nothing below it
};

/// The listed nodes of the tree at g_atn, by index.
class WordTable {
public:
    /// The lines so far leave the output before the allocator may have something to say.
    explicit WordTable(LineOutput &output) : output_(output) {}
    ~WordTable();
    WordTable(const WordTable &) = delete;
    WordTable &operator=(const WordTable &) = delete;

    /// @return null when memory runs out. Found nodes stay where they are.
    const ListedNode *find(uint16_t index) {
        // With traces on, every look-up of a type is made anew, because it shows.
        if (nodes_ != nullptr && nodes_[index].known && !traces(UINT32_MAX))
            return &nodes_[index];
        return learn(index);
    }

    /// The node's word with the two blanks before it, readable in whole chunks until the next find.
    [[nodiscard]] std::string_view word_of(const ListedNode &node) const {
        return {facts_ + node.place, node.word_length};
    }

    /// Index of a child, by its position in the child list.
    [[nodiscard]] uint16_t child_of(const ListedNode &node, unsigned position) const {
        return link_at(links_of(node), position);
    }

    /// Whether a child is known to take a line and nothing else.
    [[nodiscard]] bool is_plain_leaf(uint16_t index) const { return nodes_[index].plain_leaf; }

    /// Hands over the words of a node's children from a position on, as long as they are such
    /// leaves. Returns the position of the first that is not.
    template <typename Take>
    [[nodiscard]] unsigned take_leaves(const ListedNode &node, unsigned position, Take take) const {
        // Local, because what take writes might be the members for all the compiler knows.
        const ListedNode *nodes = nodes_;
        const char *facts = facts_;
        const char *links = links_of(node);
        const unsigned count = node.child_count;
        for (; position < count; ++position) {
            const ListedNode &child = nodes[link_at(links, position)];
            if (!child.plain_leaf)
                break;
            take(std::string_view{facts + child.place, child.word_length});
        }
        return position;
    }

private:
    [[nodiscard]] const char *links_of(const ListedNode &node) const {
        return facts_ + node.place + node.word_length;
    }

    static uint16_t link_at(const char *links, unsigned position) {
        uint16_t link;
        memcpy(&link, links + position * sizeof link, sizeof link);
        return link;
    }

    const ListedNode *learn(uint16_t index);
    bool reserve(size_t more);

    LineOutput &output_;
    ListedNode *nodes_ = nullptr; // TREE_MAX_NODES of them
    char *facts_ = nullptr;       // words and child lists
    size_t facts_size_ = 0;
    size_t facts_used_ = 0;
};

} // namespace tsh
