// Depth-first numbering of the nodes of a page.
#include "tools/ocmd_show/page_tree.h"

#include "tools/support/command_lines.h"

#include <algorithm>

namespace show {

namespace {

using tool::LinkTable;
using tool::TreeFile;
using tool::TreeRecord;

// The links on the line itself, and all links below its end.
LinkTable links_of_line(const LineSearch &match) {
    std::vector<bool> below(match.links().node_count());
    for (const uint16_t found : match.found())
        for (const uint16_t node : match.reached_from(found))
            below[node] = true;
    const auto on_line = match.links_on_line();
    LinkTable links = match.links();
    links.keep_links([&](uint32_t from, uint16_t to) {
        return below[from] || on_line.contains({static_cast<uint16_t>(from), to});
    });
    return links;
}

// Numbers of the nodes of a record on the page, in the order in which a walk meets them.
class Numbering {
public:
    struct Met {
        uint16_t index;
        uint32_t parent;
    };

    Numbering(const LinkTable &links, uint32_t first_number)
        : links_(links), first_(first_number), numbers_(links.node_count(), PageTree::kNone) {}

    void walk_from(uint16_t top) {
        struct Step {
            uint16_t node;
            uint16_t next_link;
        };
        std::vector<Step> path;
        const auto enter = [&](uint16_t node) {
            if (numbers_[node] != PageTree::kNone)
                return;
            const uint32_t parent = path.empty() ? PageTree::kNone : numbers_[path.back().node];
            numbers_[node] = first_ + static_cast<uint32_t>(met_.size());
            met_.push_back({node, parent});
            path.push_back({node, 0});
        };
        enter(top);
        while (!path.empty()) {
            Step &step = path.back();
            const auto children = links_.below(step.node);
            if (step.next_link == children.size())
                path.pop_back();
            else
                enter(children[step.next_link++]);
        }
    }

    [[nodiscard]] const std::vector<Met> &met() const { return met_; }
    [[nodiscard]] uint32_t number_of(uint16_t node) const { return numbers_[node]; }

private:
    const LinkTable &links_;
    uint32_t first_;
    std::vector<uint32_t> numbers_;
    std::vector<Met> met_;
};

} // namespace

PageTree::PageTree(const TreeFile &file, const Request &request) {
    if (request.below) {
        for (const LineSearch &match : search(file, *request.below))
            add(file, match.record(), links_of_line(match));
        return;
    }
    for (const TreeRecord &record : file.records()) {
        LinkTable links{record.nodes};
        links.keep_links_to(nodes_to_show(file, record.nodes, request));
        add(file, record, links);
    }
}

void PageTree::add(const TreeFile &file, const TreeRecord &record, const LinkTable &links) {
    constexpr uint16_t kRoot = 0;
    const bool with_root = tool::begins_with_root(file, record);
    if (!with_root && root_ == nullptr)
        root_ = record.nodes.data();
    Numbering numbering{links, static_cast<uint32_t>(nodes_.size())};
    for (const uint16_t first : with_root ? std::span{&kRoot, 1} : links.below(kRoot)) {
        numbering.walk_from(first);
        first_words_.push_back({numbering.number_of(first), record.attach_path});
    }
    for (const auto &[index, parent] : numbering.met()) {
        const auto children = links.below(index);
        nodes_.push_back({&record.nodes[index], parent, static_cast<uint32_t>(links_.size()),
                          static_cast<uint32_t>(children.size())});
        for (const uint16_t child : children)
            links_.push_back(numbering.number_of(child));
    }
}

} // namespace show
