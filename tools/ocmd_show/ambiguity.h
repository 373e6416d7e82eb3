// Search for ambiguous command lines. ambiguity.cpp explains the method and its costs.
#pragma once

#include "tools/ocmd_show/line_graph.h"

#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace show {

constexpr uint32_t kNoParent = UINT32_MAX;

class AmbiguitySearch {
public:
    /// Two nodes with different functions, modes or permissions, and a line that ends at both.
    static constexpr size_t kMostLines = 100;
    struct Finding {
        uint32_t first; ///< The lower node number.
        uint32_t second;
        std::string line; ///< Empty after the first kMostLines findings.
    };

    /// @param parents of each node one, through which the root reaches it; kNoParent for others.
    /// @param begins_with_root whether lines begin with the word of node 0.
    AmbiguitySearch(const LineGraph &graph, std::span<const uint32_t> parents,
                    bool begins_with_root);

    /// Adds a reachable node after whose words a line can go on in several ways that are spelled
    /// alike, or may leave out words. It has a word or enters a submode, or lines begin below it.
    void add(uint32_t node) { branches_.push_back(state_after(node)); }

    /// Searches from the nodes that were added. @return all findings, each pair of nodes once.
    const std::vector<Finding> &search();

    /// Returns whether the search stopped early, because it exceeded its limit.
    [[nodiscard]] bool gave_up() const { return work_ > kMostWork; }

private:
    // A node, and how many of its words were read; 0: its submode was entered, or it is the root.
    using State = uint32_t;
    static constexpr uint32_t kStates = 4; // of a node: it has at most three words

    struct Transition {
        Symbol symbol;
        State to;
        auto operator<=>(const Transition &) const = default; // NOLINT(modernize-use-nullptr)
    };
    // What may follow in a state, after words that are left out.
    struct Closure {
        std::vector<Transition> transitions;
        bool has_alike = false;          // two lead to different states by the same word
        std::vector<uint32_t> ends;      // nodes at which the line may end
        std::vector<uint32_t> late_ends; // the same, with words before the end left out
    };
    // Two states that the same words reach.
    struct NodePair {
        State first;
        State second;
        uint32_t parent; // the pair before the last word; kNoPair: one state, `from`
        State from;
        Symbol symbol; // the last word
    };
    static constexpr uint32_t kNoPair = UINT32_MAX;

    // Limits of pairs and steps: about a second and 100 MB.
    static constexpr size_t kMostPairs = size_t{1} << 20U;
    static constexpr uint64_t kMostWork = uint64_t{1} << 26U;

    void classify();
    void classify_below();
    [[nodiscard]] State state_after(uint32_t node) const;
    void close(State state, Closure &closure);
    void add(Symbol symbol, State to, Closure &closure);
    static void sort(Closure &closure);
    void follow_link(uint32_t child, bool is_late, Closure &closure);
    void branch(State state);
    void visit(uint32_t pair);
    void meet(std::span<const uint32_t> firsts, std::span<const uint32_t> seconds, bool are_late,
              uint32_t pair, State from);
    void add_pair(State first, State second, uint32_t parent, State from, Symbol symbol);
    [[nodiscard]] bool may_differ(State first, State second) const;
    [[nodiscard]] std::vector<Symbol> words_to(uint32_t pair, State from) const;
    void search_sets();
    void add_finding(uint32_t first, uint32_t second, std::span<const Symbol> words);
    void give_up() { work_ = kMostWork + 1; }
    [[nodiscard]] std::string line_of(std::span<const Symbol> words) const;

    const LineGraph &graph_;
    std::span<const uint32_t> parents_;
    State start_;
    Symbol slash_;
    std::vector<State> branches_;

    uint32_t class_count_ = 0;
    std::vector<uint32_t> class_of_;    // function, mode and permissions of nodes that end lines
    std::vector<uint32_t> class_below_; // of all lines that end at a node or below it
    Closure first_;
    Closure second_;
    struct Step {
        uint32_t node;
        bool is_late;
    };
    std::vector<Step> passed_;
    std::vector<uint32_t> met_; // by node, late or not: the latest closure
    struct MetSymbol {
        uint32_t round = 0; // the latest closure
        State to = 0;
    };
    std::vector<MetSymbol> met_symbols_; // by symbol
    uint32_t round_ = 0;

    std::vector<NodePair> pairs_;
    std::unordered_set<uint64_t> known_pairs_;
    std::unordered_set<uint64_t> found_;      // pairs of nodes
    std::unordered_set<uint64_t> late_pairs_; // the same, not decided yet
    std::vector<Finding> findings_;
    uint64_t work_ = 0;
};

} // namespace show
