// Nodes of a page, numbered across the records of a file.
#pragma once

#include "tools/ocmd_show/modes.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace show {

/// The nodes that a page shows, each once, however many paths lead to it. They are numbered depth
/// first, in the order of the first link to each: a node has a higher number than its parent there.
class PageTree {
public:
    static constexpr uint32_t kNone = UINT32_MAX;

    struct Node {
        const tree_node_t *record;
        uint32_t parent; ///< By the first link to it; kNone for the first word of a line.
        uint32_t first_link;
        uint32_t link_count;
    };

    struct FirstWord {
        uint32_t node;
        std::string_view attach_path;
    };

    /// Collects the requested nodes of a file, which must outlive the page. With `below`, the words
    /// of that line are included, but of their links only those that lead to its end. If no line
    /// starts with it, reports this and collects nothing.
    PageTree(const tool::TreeFile &file, const Request &request);

    [[nodiscard]] std::span<const Node> nodes() const { return nodes_; }
    [[nodiscard]] std::span<const uint32_t> children_of(const Node &node) const {
        return std::span{links_}.subspan(node.first_link, node.link_count);
    }
    [[nodiscard]] std::span<const FirstWord> first_words() const { return first_words_; }

    /// The first root that is not a word; null if there is none.
    [[nodiscard]] const tree_node_t *root() const { return root_; }

private:
    void add(const tool::TreeFile &file, const tool::TreeRecord &record,
             const tool::LinkTable &links);

    std::vector<Node> nodes_;
    std::vector<uint32_t> links_;
    std::vector<FirstWord> first_words_;
    const tree_node_t *root_ = nullptr;
};

} // namespace show
