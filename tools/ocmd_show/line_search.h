// Nodes of a tree by the command line that leads to them.
#pragma once

#include "tools/support/tree_input.h"
#include "tools/support/tree_shape.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace show {

/// Returns the words of a line with one space between them.
std::string normalized(std::string_view line);

/// Finds the nodes at which a line ends, along every path. The line is spelled as lines are listed;
/// the marks of optional words and the slashes after submodes may be omitted. Time and memory grow
/// with the states that the line reaches, which are at most its length times the nodes.
class LineSearch {
public:
    using Path = std::span<const uint16_t>;

    /// The line is normalized and not empty. The file and the record outlive the search.
    LineSearch(const tool::TreeFile &file, const tool::TreeRecord &record, std::string_view line);

    [[nodiscard]] const tool::TreeRecord &record() const { return record_; }
    [[nodiscard]] const tool::LinkTable &links() const { return links_; }

    /// The nodes at which the line ends, ascending. Empty if there are none.
    [[nodiscard]] std::vector<uint16_t> found() const;

    /// The nodes before a found one on the paths of the line, ascending; empty if it is the first
    /// word of a record with an attach path.
    [[nodiscard]] std::vector<uint16_t> parents_of(uint16_t found) const;

    /// Returns the shortest path to a found node, from its first word on.
    [[nodiscard]] std::vector<uint16_t> path_to(uint16_t found) const;

    /// A found node and all that it reaches, each before its children, in the order of the first
    /// link to it.
    [[nodiscard]] std::vector<uint16_t> reached_from(uint16_t found) const;

    /// The links on paths to found nodes, from parent to child.
    [[nodiscard]] std::set<std::pair<uint16_t, uint16_t>> links_on_line() const;

    /// Calls visit with each path to a found node, from its first word on, in the order of the
    /// listing.
    void for_each_path(const std::function<void(Path)> &visit) const;

private:
    // Position in the tree and in the line, as in a nondeterministic automaton.
    struct State {
        uint16_t node;
        size_t used; // bytes of the line
        std::vector<uint32_t> next;
        std::vector<uint32_t> previous;
        bool leads_to_end = false;
    };

    void expand(uint32_t state);
    void match_word(uint32_t from, uint16_t node);
    void match_separators(uint32_t from, uint16_t node, size_t used);
    void add(uint32_t from, uint16_t node, size_t used);
    void mark_states_that_lead_to_an_end();
    [[nodiscard]] bool is_end(const State &state) const { return state.used == line_.size(); }

    const tool::TreeRecord &record_;
    tool::LinkTable links_;
    std::string line_;
    bool begins_with_root_;
    std::vector<State> states_; // the first is before every word
    std::map<std::pair<uint16_t, size_t>, uint32_t> index_;
};

} // namespace show
