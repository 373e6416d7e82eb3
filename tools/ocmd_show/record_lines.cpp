// Sums over the nodes, parents before their children; paths are followed from their ends.
#include "tools/ocmd_show/record_lines.h"

#include "tools/support/command_lines.h"

#include <algorithm>

namespace show {

using List = ParameterLists::List;

namespace {

Modes own_mode(const tree_node_t &node) {
    const std::string_view mode = tool::text_of(node.mode_id);
    return mode.empty() ? Modes{} : Modes{mode};
}

} // namespace

void add_modes(Modes &modes, const Modes &others) {
    for (const std::string_view mode : others) {
        if (modes.size() > kMaxModes)
            return;
        if (std::ranges::find(modes, mode) == modes.end())
            modes.push_back(modes.size() < kMaxModes ? mode : "...");
    }
}

List ParameterLists::extended(List list, const tree_node_t &node) {
    for (const parameter_info_t &parameter : tool::params_of(node)) {
        if (list == kVarying || entries_[list].length == kMaxLength)
            return kVarying;
        const auto next = static_cast<List>(entries_.size());
        const auto [entry, is_new] = index_.try_emplace({list, parameter.type_mask}, next);
        if (is_new)
            entries_.push_back({list, parameter.type_mask, entries_[list].length + 1});
        list = entry->second;
    }
    return list;
}

List ParameterLists::common(List one, List other) {
    if (one == kNone || one == other)
        return other;
    return other == kNone ? one : kVarying;
}

std::vector<uint32_t> ParameterLists::types(List list) const {
    std::vector<uint32_t> masks;
    for (; list != kEmpty; list = entries_[list].before)
        masks.push_back(entries_[list].type_mask);
    std::ranges::reverse(masks);
    return masks;
}

RecordLines::RecordLines(const tool::TreeFile &file, const tool::TreeRecord &record,
                         ParameterLists &lists)
    : RecordLines(
          record.nodes, tool::LinkTable{record.nodes},
          [&] {
              std::vector<Start> starts;
              if (tool::begins_with_root(file, record))
                  starts.push_back({0, {}});
              else
                  for (const uint16_t child : tool::links_of(record.nodes[0]))
                      starts.push_back({child, {}});
              return starts;
          }(),
          lists) {}

RecordLines::RecordLines(const LineSearch &search, ParameterLists &lists)
    : RecordLines(
          search.record().nodes, search.links(),
          [&] {
              std::vector<Start> starts;
              for (const uint16_t node : search.found()) {
                  Path before = search.path_to(node);
                  before.pop_back();
                  starts.push_back({node, std::move(before)});
              }
              return starts;
          }(),
          lists) {}

RecordLines::RecordLines(tool::Nodes nodes, tool::LinkTable links, std::vector<Start> starts,
                         ParameterLists &lists)
    : nodes_(nodes), links_(std::move(links)), parents_(links_), starts_(std::move(starts)),
      is_start_(nodes.size()), lists_(lists), prefixes_(nodes.size()) {
    measure();
    words_.reserve(nodes.size());
    for (const tree_node_t &node : nodes)
        words_.push_back(tool::spelled_word(node));
}

Modes RecordLines::modes(uint32_t node) const {
    const Modes own = own_mode(nodes_[node]);
    return own.empty() ? prefixes_[node].modes : own;
}

RecordLines::Prefixes RecordLines::extended(const Prefixes &prefixes, uint16_t node) const {
    const tree_node_t &record = nodes_[node];
    return {prefixes.count, prefixes.min_length + 1, lists_.extended(prefixes.parameters, record),
            tool::is_submode(record) ? own_mode(record) : prefixes.modes};
}

void RecordLines::Prefixes::add(const Prefixes &others) {
    count += others.count;
    min_length = std::min(min_length, others.min_length);
    parameters = ParameterLists::common(parameters, others.parameters);
    add_modes(modes, others.modes);
}

void RecordLines::measure() {
    for (const Start &start : starts_) {
        is_start_[start.node] = true;
        Prefixes prefixes{1, 0, ParameterLists::kEmpty};
        for (const uint16_t node : start.before)
            prefixes = extended(prefixes, node);
        prefixes_[start.node].add(prefixes);
    }
    const std::vector<uint16_t> order = tool::children_first(links_);
    for (size_t i = order.size(); i-- > 0;) {
        const uint16_t node = order[i];
        if (prefixes_[node].count.is_zero())
            continue;
        const Prefixes prefixes = extended(prefixes_[node], node);
        for (const uint16_t child : links_.below(node))
            prefixes_[child].add(prefixes);
    }
}

RecordLines::Path RecordLines::shortest_path(uint16_t node) const {
    Path path;
    for (;;) {
        path.push_back(node);
        const auto start = std::ranges::find_if(starts_, [&](const Start &candidate) {
            return candidate.node == node && candidate.before.size() == prefixes_[node].min_length;
        });
        if (start != starts_.end()) {
            path.insert(path.end(), start->before.rbegin(), start->before.rend());
            break;
        }
        node = *std::ranges::min_element(
            parents_.of(node), {}, [&](uint16_t parent) { return prefixes_[parent].min_length; });
    }
    std::ranges::reverse(path);
    return path;
}

std::vector<RecordLines::Path> RecordLines::paths(uint16_t node) const {
    std::vector<Path> paths;
    Path path{node}; // from the end
    std::vector<size_t> next_parents{0};
    while (!path.empty()) {
        const auto parents = parents_.of(path.back());
        size_t &next = next_parents.back();
        if (next == 0)
            add_started(path, paths);
        while (next < parents.size() && count(parents[next]).is_zero())
            ++next;
        if (next == parents.size()) {
            path.pop_back();
            next_parents.pop_back();
            continue;
        }
        path.push_back(parents[next++]);
        next_parents.push_back(0);
    }
    std::ranges::stable_sort(
        paths, [&](const Path &one, const Path &other) { return is_before(one, other); });
    return paths;
}

// Adds the paths that start at the last of these nodes, which are from the end.
void RecordLines::add_started(const Path &path, std::vector<Path> &paths) const {
    if (!is_start_[path.back()])
        return;
    for (const Start &start : starts_)
        if (start.node == path.back()) {
            Path &whole = paths.emplace_back(start.before);
            whole.insert(whole.end(), path.rbegin(), path.rend());
        }
}

// At the first difference, siblings are compared.
bool RecordLines::is_before(const Path &one, const Path &other) const {
    const auto [a, b] = std::ranges::mismatch(one, other);
    if (a == one.end() || b == other.end())
        return a == one.end() && b != other.end();
    const auto siblings = a == one.begin() ? tool::links_of(nodes_[0]) : links_.below(a[-1]);
    return std::ranges::find(siblings, *a) < std::ranges::find(siblings, *b);
}

std::string RecordLines::line(const Path &path) const {
    std::string line;
    bool is_spaced = false; // ends with a space after a word
    for (size_t i = 0; i + 1 < path.size(); ++i) {
        if (const std::string &word = words_[path[i]]; !word.empty()) {
            line.append(word).append(" ");
            is_spaced = true;
        }
        if (tool::is_submode(nodes_[path[i]])) {
            line += is_spaced ? "/ " : " / ";
            is_spaced = false;
        }
    }
    const std::string &last = words_[path.back()];
    if (last.empty() && is_spaced)
        line.pop_back();
    return line.append(last);
}

} // namespace show
