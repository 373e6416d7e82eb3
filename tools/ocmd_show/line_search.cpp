// Breadth-first search over pairs of a node and a position in the line. Type names contain spaces,
// so words are compared with the rest of the line instead of being split off.
#include "tools/ocmd_show/line_search.h"

#include "tools/support/command_lines.h"

#include <algorithm>

namespace show {

namespace {

constexpr std::string_view kOptionalMark = "[o]";

std::string without_marks(std::string word) {
    for (size_t mark = 0; (mark = word.find(kOptionalMark, mark)) != std::string::npos;)
        word.erase(mark, kOptionalMark.size());
    return word;
}

} // namespace

std::string normalized(std::string_view line) {
    std::string words;
    for (const char c : line)
        if (c != ' ' || (!words.empty() && words.back() != ' '))
            words += c;
    if (!words.empty() && words.back() == ' ')
        words.pop_back();
    return words;
}

LineSearch::LineSearch(const tool::TreeFile &file, const tool::TreeRecord &record,
                       std::string_view line)
    : record_(record), links_(record.nodes), line_(line),
      begins_with_root_(tool::begins_with_root(file, record)) {
    states_.push_back({0, 0, {}, {}});
    for (uint32_t state = 0; state < states_.size(); ++state)
        expand(state);
    mark_states_that_lead_to_an_end();
}

void LineSearch::expand(uint32_t state) {
    if (is_end(states_[state]))
        return;
    if (state == 0 && begins_with_root_)
        return match_word(state, 0);
    for (const uint16_t child : links_.below(states_[state].node))
        match_word(state, child);
}

void LineSearch::match_word(uint32_t from, uint16_t node) {
    const size_t used = states_[from].used;
    const std::string word = tool::spelled_word(record_.nodes[node]);
    if (word.empty())
        return add(from, node, used);
    const std::string plain = without_marks(word);
    for (const std::string &spelling : {word, plain})
        if (line_.compare(used, spelling.size(), spelling) == 0)
            match_separators(from, node, used + spelling.size());
}

// After a word the line ends or a space follows, after a submode also slashes.
void LineSearch::match_separators(uint32_t from, uint16_t node, size_t used) {
    constexpr std::string_view kSlash = " /";
    for (; used < line_.size(); used += kSlash.size()) {
        if (line_[used] != ' ')
            return;
        add(from, node, used + 1);
        if (!tool::is_submode(record_.nodes[node]) ||
            line_.compare(used, kSlash.size(), kSlash) != 0)
            return;
    }
    add(from, node, line_.size());
}

void LineSearch::add(uint32_t from, uint16_t node, size_t used) {
    const auto [entry, is_new] =
        index_.try_emplace({node, used}, static_cast<uint32_t>(states_.size()));
    const uint32_t state = entry->second;
    if (is_new)
        states_.push_back({node, used, {}, {}});
    if (states_[state].previous.empty() || states_[state].previous.back() != from) {
        states_[state].previous.push_back(from);
        states_[from].next.push_back(state);
    }
}

void LineSearch::mark_states_that_lead_to_an_end() {
    std::vector<uint32_t> open;
    const auto mark = [&](uint32_t state) {
        if (!states_[state].leads_to_end)
            open.push_back(state);
        states_[state].leads_to_end = true;
    };
    for (uint32_t state = 0; state < states_.size(); ++state)
        if (is_end(states_[state]))
            mark(state);
    while (!open.empty()) {
        const uint32_t state = open.back();
        open.pop_back();
        std::ranges::for_each(states_[state].previous, mark);
    }
}

std::vector<uint16_t> LineSearch::found() const {
    std::set<uint16_t> nodes;
    for (const State &state : states_)
        if (is_end(state))
            nodes.insert(state.node);
    return {nodes.begin(), nodes.end()};
}

std::vector<uint16_t> LineSearch::parents_of(uint16_t found) const {
    std::set<uint16_t> parents;
    const State &end = states_[index_.at({found, line_.size()})];
    for (const uint32_t state : end.previous)
        if (state != 0 || !begins_with_root_)
            parents.insert(states_[state].node);
    return {parents.begin(), parents.end()};
}

// States are in breadth-first order, so the first one before a state is nearest to the start.
std::vector<uint16_t> LineSearch::path_to(uint16_t found) const {
    std::vector<uint16_t> path;
    for (uint32_t state = index_.at({found, line_.size()}); state != 0;
         state = states_[state].previous.front())
        path.push_back(states_[state].node);
    std::ranges::reverse(path);
    return path;
}

std::vector<uint16_t> LineSearch::reached_from(uint16_t found) const {
    std::vector<bool> met(links_.node_count());
    std::vector<uint16_t> order;
    std::vector<uint16_t> open{found};
    while (!open.empty()) {
        const uint16_t node = open.back();
        open.pop_back();
        if (met[node])
            continue;
        met[node] = true;
        order.push_back(node);
        const auto children = links_.below(node);
        open.insert(open.end(), children.rbegin(), children.rend());
    }
    return order;
}

std::set<std::pair<uint16_t, uint16_t>> LineSearch::links_on_line() const {
    std::set<std::pair<uint16_t, uint16_t>> links;
    for (const State &state : states_)
        for (const uint32_t next : state.next)
            if (states_[next].leads_to_end)
                links.emplace(state.node, states_[next].node);
    return links;
}

// States of one node are visited together, so that each path is visited once.
void LineSearch::for_each_path(const std::function<void(Path)> &visit) const {
    using States = std::vector<uint32_t>;
    struct Step {
        std::map<size_t, States> next; // by the position of the node among its siblings
    };
    std::vector<uint16_t> path;
    std::vector<Step> steps;
    const auto enter = [&](const States &states) {
        Step step;
        const uint16_t node = states_[states.front()].node;
        const auto siblings = links_.below(node);
        for (const uint32_t state : states)
            for (const uint32_t next : states_[state].next) {
                const auto place = std::ranges::find(siblings, states_[next].node);
                if (states_[next].leads_to_end)
                    step.next[static_cast<size_t>(place - siblings.begin())].push_back(next);
            }
        steps.push_back(std::move(step));
    };
    enter({0});
    while (!steps.empty()) {
        if (steps.back().next.empty()) {
            steps.pop_back();
            if (!path.empty())
                path.pop_back();
            continue;
        }
        const States states = std::move(steps.back().next.begin()->second);
        steps.back().next.erase(steps.back().next.begin());
        path.push_back(states_[states.front()].node);
        if (std::ranges::any_of(states, [&](uint32_t state) { return is_end(states_[state]); })) {
            visit(path);
            path.pop_back();
        } else {
            enter(states);
        }
    }
}

} // namespace show
