// The command lines that end at each node of a record.
#pragma once

#include "tools/ocmd_show/line_search.h"
#include "tools/support/command_count.h"
#include "tools/support/tree_input.h"
#include "tools/support/tree_shape.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace show {

/// Lists of parameters, each a number. Lists with a common start share it.
class ParameterLists {
public:
    using List = uint32_t;
    static constexpr List kEmpty = 0;
    static constexpr List kNone = UINT32_MAX;        ///< Of a node that no line reaches.
    static constexpr List kVarying = UINT32_MAX - 1; ///< Of lines that differ, or too long.
    static constexpr size_t kMaxLength = 127; ///< What C compilers must accept in a function.

    /// Returns the list with the parameters of a node at its end.
    List extended(List list, const tree_node_t &node);

    /// Returns the list that is both, or kVarying.
    static List common(List one, List other);

    /// Returns the type masks of a list that does not vary.
    [[nodiscard]] std::vector<uint32_t> types(List list) const;

private:
    struct Entry {
        List before;
        uint32_t type_mask;
        size_t length;
    };
    std::vector<Entry> entries_{{kEmpty, 0, 0}};
    std::map<std::pair<List, uint32_t>, List> index_;
};

/// Names of modes, each once; at most kMaxModes, then "...".
using Modes = std::vector<std::string_view>;
constexpr size_t kMaxModes = 16;

/// Adds the modes that are missing.
void add_modes(Modes &modes, const Modes &others);

/// Lines of one valid record, which must outlive this object like the lists. Costs are linear in
/// nodes and links.
class RecordLines {
public:
    using Path = std::vector<uint16_t>; ///< Nodes from the first word on.

    /// All lines.
    RecordLines(const tool::TreeFile &file, const tool::TreeRecord &record, ParameterLists &lists);
    /// The lines that start with the words of a search.
    RecordLines(const LineSearch &search, ParameterLists &lists);

    [[nodiscard]] tool::Nodes nodes() const { return nodes_; }
    /// Returns the number of paths that end at a node.
    [[nodiscard]] const tool::Count &count(uint32_t node) const { return prefixes_[node].count; }
    /// Returns the parameters on the paths to a node.
    [[nodiscard]] ParameterLists::List parameters(uint32_t node) const {
        return lists_.extended(prefixes_[node].parameters, nodes_[node]);
    }
    /// Returns the mode of a node; without one, the modes of the submodes in which its lines are.
    [[nodiscard]] Modes modes(uint32_t node) const;

    /// Returns a path with the smallest number of nodes. There must be a path to the node.
    [[nodiscard]] Path shortest_path(uint16_t node) const;
    /// Returns all paths to a node, in the order of the listing.
    [[nodiscard]] std::vector<Path> paths(uint16_t node) const;
    /// Returns the line of a path as ocmd_show --commands writes it.
    [[nodiscard]] std::string line(const Path &path) const;

private:
    // A node at which paths begin, and the nodes before it.
    struct Start {
        uint16_t node;
        Path before;
    };

    RecordLines(tool::Nodes nodes, tool::LinkTable links, std::vector<Start> starts,
                ParameterLists &lists);
    // The paths to a node, without the node.
    struct Prefixes {
        tool::Count count = 0;
        uint32_t min_length = UINT32_MAX;
        ParameterLists::List parameters = ParameterLists::kNone;
        Modes modes = {}; // in which the node is

        void add(const Prefixes &others);
    };
    [[nodiscard]] Prefixes extended(const Prefixes &prefixes, uint16_t node) const;
    void measure();
    void add_started(const Path &path, std::vector<Path> &paths) const;
    [[nodiscard]] bool is_before(const Path &one, const Path &other) const;

    tool::Nodes nodes_;
    tool::LinkTable links_;
    tool::ParentTable parents_;
    std::vector<Start> starts_;
    std::vector<bool> is_start_; // of each node
    ParameterLists &lists_;
    std::vector<Prefixes> prefixes_; // of each node
    std::vector<std::string> words_;
};

} // namespace show
