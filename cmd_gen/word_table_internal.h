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

    /// The node, if it is known to take a line and nothing else; null otherwise. Some node has been
    /// found before.
    [[nodiscard]] const ListedNode *plain_leaf(uint16_t index) const {
        return nodes_[index].plain_leaf ? &nodes_[index] : nullptr;
    }

    /// The node's word with the two blanks before it, readable in whole chunks until the next find.
    [[nodiscard]] std::string_view word_of(const ListedNode &node) const {
        return {facts_ + node.place, node.word_length};
    }

    /// Index of a child, by its position in the child list.
    [[nodiscard]] uint16_t child_of(const ListedNode &node, unsigned position) const {
        uint16_t child;
        memcpy(&child, facts_ + node.place + node.word_length + position * sizeof child,
               sizeof child);
        return child;
    }

private:
    const ListedNode *learn(uint16_t index);
    bool reserve(size_t more);

    LineOutput &output_;
    ListedNode *nodes_ = nullptr; // TREE_MAX_NODES of them
    char *facts_ = nullptr;       // words and child lists
    size_t facts_size_ = 0;
    size_t facts_used_ = 0;
};

} // namespace tsh
