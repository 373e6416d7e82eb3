// Hash consing of nodes: a node that equals one of the old file becomes the same.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_diff/field_labels.h"
#include "tools/ocmd_diff/word_table.h"
#include "tools/support/tree_shape.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace diff {

/// Equal numbers: nodes of the same word and label with the same links. Equal nodes of one file may
/// have different numbers.
using NodeNumber = uint32_t;
constexpr NodeNumber kNoNode = UINT32_MAX;

struct Node {
    uint32_t word;
    uint32_t label;
    bool is_final; ///< A line ends here.
    bool is_submode;
    uint8_t link_count; ///< Including links to nodes at or below which no line ends.
    enum Life : uint8_t { kUnknown, kLive, kDead } life; ///< Live: a line ends at or below it.
};

/// Equal nodes are found by comparing records. Words are looked up, and links followed, only for
/// nodes that are requested.
class NodePool {
public:
    /// @param labels null to ignore labels; all are 0 then.
    NodePool(WordTable &words, FieldLabels *labels) : words_(words), labels_(labels) {}

    /// Adds the nodes of a valid tree of the old file, which must outlive this. @return the number
    /// of its root; kNoNode if it has no lines.
    NodeNumber add_old(tool::Nodes nodes);

    /// The same for the new file, once the old one is complete.
    NodeNumber add_new(tool::Nodes nodes);

    /// Valid as long as the pool.
    const Node &operator[](NodeNumber number) {
        Node &node = nodes_[number];
        if (node.word == kUnread)
            node.word = words_.number_of(*origins_[number].record);
        return node;
    }

    /// The links to nodes at which or below which a line ends, from the first index on to before
    /// the last one.
    struct Links {
        uint32_t first = kUnread;
        uint32_t last = 0;
    };
    Links links_of(NodeNumber number) {
        Origin &origin = origins_[number];
        if (origin.links.first == kUnread)
            read_links(origin, nodes_[number].link_count);
        return origin.links;
    }
    [[nodiscard]] NodeNumber link(uint32_t index) const { return links_[index]; }

    [[nodiscard]] size_t size() const { return nodes_.size(); }

    /// Of all nodes.
    [[nodiscard]] size_t link_count() const { return link_count_; }

private:
    static constexpr uint32_t kUnread = UINT32_MAX;

    // Where a node comes from, apart from what is often needed.
    struct Origin {
        const tree_node_t *record;
        uint32_t tree; // index in numbers_ of the first node of its tree
        Links links;
    };

    struct Step {
        NodeNumber number;
        uint32_t next_child;
    };

    // What of a record decides whether another one is equal.
    struct Candidate {
        const tree_node_t &record;
        uint32_t tree;
        Node node;
    };

    [[nodiscard]] Candidate candidate(const tree_node_t &record, uint32_t tree);
    NodeNumber append(const Candidate &candidate);
    [[nodiscard]] NodeNumber root_of(uint32_t tree);
    bool match_all(tool::Nodes nodes, uint32_t tree);
    bool match_backward(tool::Nodes nodes, uint32_t tree);
    bool match(const tree_node_t &record, uint32_t tree, uint32_t place);
    NodeNumber find_old(const Candidate &candidate, uint32_t place);
    void index_old();
    [[nodiscard]] bool is_lost() const {
        return slots_.empty() && misses_ > old_count_ / kNodesPerMiss;
    }
    [[nodiscard]] bool is_equal(NodeNumber number, const Candidate &candidate) const;
    [[nodiscard]] NodeNumber &slot_of(uint32_t hash, const Candidate &candidate);
    [[nodiscard]] uint32_t hash_of(const Candidate &candidate) const;

    void read_links(Origin &origin, size_t count);
    bool is_live(NodeNumber number);
    bool go_down();

    // Hashes of all old nodes take as long as the pass. They are worth it from the second miss on
    // in so many nodes, that is, new nodes with old children that were not where they were
    // expected.
    static constexpr uint32_t kNodesPerMiss = 1024;

    WordTable &words_;
    FieldLabels *labels_;
    base::HugeVector<Node> nodes_; // by number, as those below
    base::HugeVector<Origin> origins_;
    base::HugeVector<NodeNumber> numbers_; // of the nodes of all trees in one array
    base::HugeVector<NodeNumber> links_;
    size_t link_count_ = 0;
    uint32_t old_count_ = 0;
    std::vector<uint32_t> old_ends_; // the number after the last node of each old tree
    size_t next_tree_ = 0;           // of those, the one that is compared next
    uint32_t shift_ = 0; // from a place in numbers_ to the old node that is expected there
    uint32_t misses_ = 0;
    std::vector<uint32_t> hashes_;  // by number of an old node
    std::vector<NodeNumber> slots_; // open addressing; old nodes
    std::vector<Step> steps_;
};

} // namespace diff
