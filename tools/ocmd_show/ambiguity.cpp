// Search for ambiguous command lines.
//
// Problem: Does a line, with its keywords in full, end at two nodes that do different things? The
// tree is a nondeterministic automaton: siblings may be spelled alike, and optional words may be
// left out. Two different paths that read the same words show its ambiguity.
//
// Method: a breadth-first search in the product of the automaton with itself. A pair of states is
// reached if the same words lead to both. It starts where one state leads to two by the same word,
// and follows each pair once, so that it ends, with the shortest line from there on as a witness. A
// state alone is followed by the caller, in linear time: without siblings that are spelled alike
// and without optional words there are no pairs at all. A pair whose lines all have the same
// function, mode and permissions is not followed.
//
// A line may also end before optional words, but only if no reading of it ends without leaving them
// out. Whether one does depends on all states that the line reaches. Pairs of nodes at which lines
// may end so are collected, and if there are any, a second search decides about them: it follows
// the sets of states that lines reach, the states of the deterministic automaton.
//
// Costs: n nodes have up to n * n / 2 pairs, and in trees of random words nearly all of them are
// reached; there may be 2 to the power of n sets. Therefore the work of each search is limited.
#include "tools/ocmd_show/ambiguity.h"

#include <algorithm>
#include <functional>
#include <map>
#include <string_view>
#include <utility>

namespace show {

namespace {

constexpr uint32_t kNoClass = UINT32_MAX;
constexpr uint32_t kSeveralClasses = UINT32_MAX - 1;

// Function, mode and permissions of a node.
struct NodeClass {
    explicit NodeClass(const tree_node_t &node)
        : function(tool::text_of(node.func_id)), mode(tool::text_of(node.mode_id)),
          permissions(reinterpret_cast<const char *>(node.perms_mask), sizeof node.perms_mask) {}

    bool operator==(const NodeClass &) const = default;

    std::string_view function;
    std::string_view mode;
    std::string_view permissions;
};

struct HashOfClass {
    size_t operator()(const NodeClass &one) const {
        const std::hash<std::string_view> hash;
        return (hash(one.function) * 31 + hash(one.mode)) * 31 + hash(one.permissions);
    }
};

uint64_t key_of(uint32_t first, uint32_t second) {
    return uint64_t{std::min(first, second)} << 32U | std::max(first, second);
}

} // namespace

AmbiguitySearch::AmbiguitySearch(const LineGraph &graph, std::span<const uint32_t> parents,
                                 bool begins_with_root)
    : graph_(graph), parents_(parents),
      start_(begins_with_root ? static_cast<State>(graph.node_count() * kStates) : 0),
      slash_(static_cast<Symbol>(graph.symbol_count())) {
    if (begins_with_root && graph.facts(0).is_passable)
        branches_.push_back(start_);
}

const std::vector<AmbiguitySearch::Finding> &AmbiguitySearch::search() {
    if (branches_.empty())
        return findings_;
    met_.assign(2 * graph_.node_count(), 0);
    met_symbols_.assign(graph_.symbol_count() + 1, {});
    for (const State state : branches_)
        if (!gave_up() && class_count_ != 1)
            branch(state);
    for (uint32_t pair = 0; pair < pairs_.size() && !gave_up(); ++pair)
        visit(pair);
    std::erase_if(late_pairs_, [&](uint64_t pair) { return found_.contains(pair); });
    if (!late_pairs_.empty() && !gave_up())
        search_sets();
    return findings_;
}

void AmbiguitySearch::classify() {
    std::unordered_map<NodeClass, uint32_t, HashOfClass> classes;
    class_of_.assign(graph_.node_count(), kNoClass);
    const tree_node_t *last = nullptr; // its class is likely to come again
    for (uint32_t node = 0; node < graph_.node_count(); ++node) {
        if (!graph_.facts(node).ends_line)
            continue;
        const NodeClass one{graph_.node(node)};
        if (last != nullptr && one == NodeClass{*last}) {
            class_of_[node] = class_of_[static_cast<size_t>(last - &graph_.node(0))];
            continue;
        }
        last = &graph_.node(node);
        class_of_[node] =
            classes.try_emplace(one, static_cast<uint32_t>(classes.size())).first->second;
    }
    class_count_ = static_cast<uint32_t>(classes.size());
}

void AmbiguitySearch::classify_below() {
    class_below_ = class_of_;
    for (const uint16_t node : tool::children_first(graph_.links()))
        for (const uint16_t child : graph_.links().below(node)) {
            uint32_t &all = class_below_[node];
            const uint32_t other = class_below_[child];
            if (all == kNoClass)
                all = other;
            else if (other != kNoClass && other != all)
                all = kSeveralClasses;
        }
}

// The state after all words of a node, and after entering its submode.
AmbiguitySearch::State AmbiguitySearch::state_after(uint32_t node) const {
    const LineGraph::Facts &facts = graph_.facts(node);
    if (node == 0 && start_ == 0)
        return start_;
    return node * kStates + (facts.is_submode ? 0U : facts.words);
}

void AmbiguitySearch::close(State state, Closure &closure) {
    closure.transitions.clear();
    closure.has_alike = false;
    closure.ends.clear();
    closure.late_ends.clear();
    ++round_;
    const uint32_t node = state / kStates;
    const uint32_t read = state % kStates;
    if (state == start_ && state != 0) {
        follow_link(0, false, closure);
    } else if (read > 0 && read < graph_.facts(node).words) {
        add(graph_.symbol(node, read), state + 1, closure);
    } else if (read > 0) {
        if (graph_.facts(node).ends_line)
            closure.ends.push_back(node);
        if (graph_.facts(node).is_submode)
            add(slash_, node * kStates, closure);
        else
            passed_.push_back({node, false});
    } else {
        passed_.push_back({node, false});
    }
    while (!passed_.empty()) {
        const Step step = passed_.back();
        passed_.pop_back();
        for (const uint16_t child : graph_.links().below(step.node))
            follow_link(child, step.is_late, closure);
    }
    if (state == start_) { // an empty line is none
        closure.ends.clear();
        closure.late_ends.clear();
    }
    work_ += closure.transitions.size() + 1;
}

void AmbiguitySearch::add(Symbol symbol, State to, Closure &closure) {
    closure.transitions.push_back({symbol, to});
    MetSymbol &met = met_symbols_[symbol];
    if (met.round == round_ && met.to != to)
        closure.has_alike = true;
    met = {round_, to};
}

void AmbiguitySearch::sort(Closure &closure) {
    std::vector<Transition> &all = closure.transitions;
    std::ranges::sort(all);
    all.erase(std::unique(all.begin(), all.end()), all.end());
}

void AmbiguitySearch::follow_link(uint32_t child, bool is_late, Closure &closure) {
    const LineGraph::Facts &facts = graph_.facts(child);
    ++work_;
    if (facts.words > 0)
        add(facts.first, child * kStates + 1, closure);
    if (!facts.is_passable)
        return;
    is_late = is_late || facts.words > 0;
    uint32_t &met = met_[2 * size_t{child} + (is_late ? 1 : 0)];
    if (met == round_)
        return;
    met = round_;
    if (facts.ends_line)
        (is_late ? closure.late_ends : closure.ends).push_back(child);
    if (facts.is_submode)
        add(slash_, child * kStates, closure);
    if (!facts.hides_children)
        passed_.push_back({child, is_late});
}

// One state that leads to several by the same word.
void AmbiguitySearch::branch(State state) {
    close(state, first_);
    const bool are_late = first_.ends.empty();
    const auto &ends = are_late ? first_.late_ends : first_.ends;
    if (ends.size() < 2 && !first_.has_alike)
        return;
    if (class_of_.empty()) // few trees need the classes
        classify();
    meet(ends, ends, are_late, kNoPair, state);
    if (!first_.has_alike)
        return;
    if (class_below_.empty())
        classify_below();
    sort(first_);
    const auto &all = first_.transitions;
    for (size_t i = 0; i < all.size() && !gave_up(); ++i)
        for (size_t j = i + 1; j < all.size() && all[j].symbol == all[i].symbol && !gave_up(); ++j)
            add_pair(all[i].to, all[j].to, kNoPair, state, all[i].symbol);
}

void AmbiguitySearch::visit(uint32_t pair) {
    close(pairs_[pair].first, first_);
    close(pairs_[pair].second, second_);
    sort(first_);
    sort(second_);
    if (!first_.ends.empty() || !second_.ends.empty())
        meet(first_.ends, second_.ends, false, pair, start_);
    else
        meet(first_.late_ends, second_.late_ends, true, pair, start_);
    auto begin = second_.transitions.begin();
    const auto end = second_.transitions.end();
    for (const Transition &one : first_.transitions) {
        while (begin != end && begin->symbol < one.symbol)
            ++begin;
        for (auto other = begin; other != end && other->symbol == one.symbol && !gave_up(); ++other)
            add_pair(one.to, other->to, pair, start_, one.symbol);
    }
}

// A line may end at all these nodes.
void AmbiguitySearch::meet(std::span<const uint32_t> firsts, std::span<const uint32_t> seconds,
                           bool are_late, uint32_t pair, State from) {
    for (const uint32_t first : firsts)
        for (const uint32_t second : seconds) {
            if (++work_ > kMostWork || found_.size() + late_pairs_.size() > kMostPairs)
                return give_up();
            const uint64_t key = key_of(first, second);
            if (class_of_[first] == class_of_[second] || found_.contains(key))
                continue;
            if (are_late)
                late_pairs_.insert(key);
            else
                add_finding(first, second,
                            findings_.size() < kMostLines ? words_to(pair, from)
                                                          : std::vector<Symbol>{});
        }
}

void AmbiguitySearch::add_pair(State first, State second, uint32_t parent, State from,
                               Symbol symbol) {
    ++work_;
    if (first == second || !may_differ(first, second) ||
        !known_pairs_.insert(key_of(first, second)).second)
        return;
    if (pairs_.size() == kMostPairs)
        give_up();
    else
        pairs_.push_back({first, second, parent, from, symbol});
}

bool AmbiguitySearch::may_differ(State first, State second) const {
    const uint32_t one = class_below_[first / kStates];
    const uint32_t other = class_below_[second / kStates];
    return one != kNoClass && other != kNoClass && (one == kSeveralClasses || one != other);
}

// The words on the tree's path to a state, and then those of the pairs.
std::vector<Symbol> AmbiguitySearch::words_to(uint32_t pair, State from) const {
    std::vector<Symbol> words; // the last first
    for (; pair != kNoPair; pair = pairs_[pair].parent) {
        words.push_back(pairs_[pair].symbol);
        from = pairs_[pair].from;
    }
    bool is_entered = from % kStates == 0;
    uint32_t node = from == start_ ? kNoParent : from / kStates;
    for (; node != kNoParent && (node != 0 || start_ != 0); node = parents_[node]) {
        const LineGraph::Facts &facts = graph_.facts(node);
        if (is_entered && facts.is_submode)
            words.push_back(slash_);
        for (uint32_t word = facts.words; word-- > 0;)
            words.push_back(graph_.symbol(node, word));
        is_entered = true;
    }
    std::ranges::reverse(words);
    return words;
}

// The deterministic automaton, breadth-first: its states are the sets of states that a line
// reaches. Decides about the pairs of nodes at which lines may end after left-out words.
void AmbiguitySearch::search_sets() {
    struct Origin {
        uint32_t parent;
        Symbol symbol;
    };
    std::map<std::vector<State>, Origin> known{{{start_}, {0, 0}}};
    std::vector<decltype(known)::const_iterator> sets{known.begin()};
    const auto words_to_set = [&](uint32_t set) {
        std::vector<Symbol> words;
        for (; set != 0; set = sets[set]->second.parent)
            words.push_back(sets[set]->second.symbol);
        std::ranges::reverse(words);
        return words;
    };
    work_ = 0; // a limit for each search
    for (uint32_t set = 0; set < sets.size() && !gave_up() && !late_pairs_.empty(); ++set) {
        first_.transitions.clear();
        bool has_early_end = false;
        std::vector<uint32_t> ends;
        for (const State state : sets[set]->first) {
            close(state, second_);
            has_early_end = has_early_end || !second_.ends.empty();
            ends.insert(ends.end(), second_.late_ends.begin(), second_.late_ends.end());
            first_.transitions.insert(first_.transitions.end(), second_.transitions.begin(),
                                      second_.transitions.end());
        }
        for (const uint32_t one : ends)
            for (const uint32_t other : ends)
                if (++work_; !has_early_end && late_pairs_.erase(key_of(one, other)) > 0)
                    add_finding(one, other, words_to_set(set));
        sort(first_);
        for (auto next = first_.transitions.begin(); next != first_.transitions.end();) {
            const Symbol symbol = next->symbol;
            std::vector<State> states;
            for (; next != first_.transitions.end() && next->symbol == symbol; ++next)
                states.push_back(next->to);
            work_ += states.size();
            const auto [place, is_new] = known.try_emplace(std::move(states), Origin{set, symbol});
            if (is_new)
                sets.emplace_back(place);
        }
        if (sets.size() > kMostPairs)
            give_up();
    }
}

void AmbiguitySearch::add_finding(uint32_t first, uint32_t second, std::span<const Symbol> words) {
    if (found_.insert(key_of(first, second)).second)
        findings_.push_back({std::min(first, second), std::max(first, second),
                             findings_.size() < kMostLines ? line_of(words) : std::string{}});
}

std::string AmbiguitySearch::line_of(std::span<const Symbol> words) const {
    std::string line;
    for (const Symbol word : words)
        (line += line.empty() ? "" : " ") += word == slash_ ? "/" : graph_.text(word);
    return line;
}

} // namespace show
