// A path cover: from each node that is not yet covered, parents first, a line leads on through
// nodes that are not covered either.
#include "tools/ocmd_sample/covering_lines.h"

#include <algorithm>
#include <ranges>

namespace sample {

namespace {

constexpr uint16_t kRoot = 0;

class Cover {
public:
    Cover(const LineNumbers &numbers, size_t record)
        : numbers_(numbers), record_(record), links_(numbers.links(record)),
          parents_(links_.node_count()), is_covered_(links_.node_count()) {
        for (const uint16_t node : numbers.children_first(record))
            for (const uint16_t child : links_.below(node))
                parents_[child] = node;
        is_covered_[kRoot] = !numbers.begins_with_root(record);
    }

    void visit(const std::function<void(const Line &line)> &visit) {
        Line line;
        line.record = record_;
        const auto &order = numbers_.children_first(record_);
        for (size_t i = order.size(); i-- > 0;) { // parents first
            const uint16_t node = order[i];
            if (is_covered_[node] || !numbers_.has_lines(record_, node))
                continue;
            trace_back(node, line);
            lead_on(node, line);
            visit(line);
        }
    }

private:
    void trace_back(uint16_t node, Line &line) const {
        line.nodes.clear();
        for (uint16_t at = node; at != kRoot; at = parents_[at])
            line.nodes.push_back(at);
        if (numbers_.begins_with_root(record_))
            line.nodes.push_back(kRoot);
        std::ranges::reverse(line.nodes);
    }

    void lead_on(uint16_t node, Line &line) {
        for (;;) {
            is_covered_[node] = true;
            const auto children = links_.below(node);
            auto child = std::ranges::find_if(children, [&](uint16_t other) {
                return !is_covered_[other] && numbers_.has_lines(record_, other);
            });
            if (child == children.end() && links_.has_line(node))
                return;
            if (child == children.end())
                child = std::ranges::find_if(
                    children, [&](uint16_t other) { return numbers_.has_lines(record_, other); });
            node = *child;
            line.nodes.push_back(node);
        }
    }

    const LineNumbers &numbers_;
    size_t record_;
    const tool::LinkTable &links_;
    std::vector<uint16_t> parents_; // one of each node
    std::vector<bool> is_covered_;
};

} // namespace

void for_each_covering_line(const LineNumbers &numbers,
                            const std::function<void(const Line &line)> &visit) {
    for (size_t record = 0; record < numbers.record_count(); ++record)
        Cover{numbers, record}.visit(visit);
}

} // namespace sample
