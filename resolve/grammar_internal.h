// Index of a grammar: what a resolver asks of nodes again and again, in a few bytes each, while a
// record spans a thousand.
#pragma once

#include "base/owners.h"
#include "resolve/resolver.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tsh {

/// Nodes are numbered through all trees of a grammar.
using NodeNumber = uint32_t;

/// Numbers of the different keywords, case ignored, in alphabetic order.
using WordNumber = uint32_t;
constexpr WordNumber kNoWord = UINT32_MAX;

constexpr char in_lower_case(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Keywords from begin to end - 1.
struct WordRange {
    WordNumber begin = 0;
    WordNumber end = 0;
    [[nodiscard]] bool holds(WordNumber word) const { return word >= begin && word < end; }
    [[nodiscard]] bool empty() const { return begin == end; }
};

/// Facts about one node. Its links are stored in three groups: children with a keyword, in the
/// order of the words; those with parameters only; and those that a line may pass without a word.
struct NodeFacts {
    uint32_t first_link = 0;
    NodeNumber tree = 0; ///< Number of its tree's first node.
    WordNumber word = kNoWord;
    uint8_t keyword_count = 0;
    uint8_t value_count = 0;
    uint8_t passable_count = 0;
    uint8_t param_count : 2 = 0;
    uint8_t takes_rest : 2 = 0; ///< A bit for each parameter.
    bool is_optional : 1 = false;
    bool is_submode : 1 = false;
    bool has_line : 1 = false;          ///< A line may end there.
    bool hides_descendants : 1 = false; ///< A submode that cannot be passed.

    [[nodiscard]] bool has_word() const { return word != kNoWord || param_count > 0; }
    [[nodiscard]] bool is_passable() const { return is_optional || !has_word(); }
};

/// Numbers of children in one group of links.
class Links {
public:
    Links(const uint16_t *first, size_t count, NodeNumber tree)
        : first_(first), count_(count), tree_(tree) {}
    [[nodiscard]] size_t size() const { return count_; }
    NodeNumber operator[](size_t i) const { return tree_ + first_[i]; }

private:
    const uint16_t *first_;
    size_t count_;
    NodeNumber tree_;
};

/// The different keywords of a grammar.
class WordTable {
public:
    /// Numbers the words; words[i] takes the number of texts[i], kNoWord for an empty one.
    void build(std::span<const std::string_view> texts, std::vector<WordNumber> &words);

    [[nodiscard]] size_t size() const { return words_.size(); }

    /// Keywords that begin with a text in lower case; the first is the text itself if is_full.
    [[nodiscard]] WordRange that_begin_with(std::string_view folded, bool &is_full) const;

    /// The keyword that is the text; kNoWord if none is.
    [[nodiscard]] WordNumber find(std::string_view folded) const;

private:
    struct Entry {
        uint64_t key; // the first eight bytes, in alphabetic order as a number
        uint32_t place;
        uint32_t length;
    };
    [[nodiscard]] std::string_view text_of(const Entry &entry) const {
        return {texts_.data() + entry.place, entry.length};
    }
    [[nodiscard]] WordNumber lower_bound(uint64_t key, std::string_view folded) const;

    std::vector<Entry> words_;
    std::string texts_;
};

} // namespace tsh

struct tsh_grammar_t {
    using NodeNumber = tsh::NodeNumber;
    using NodeFacts = tsh::NodeFacts;
    using Links = tsh::Links;
    using OwnedTree = std::unique_ptr<tsh_tree_t, base::Releaser<tsh_tree_close>>;

    /// Takes trees that outlive it. Throws std::bad_alloc.
    tsh_grammar_t(std::span<const tsh_grammar_tree_t> trees, const tsh_types_t *types);

    [[nodiscard]] uint32_t node_count() const { return static_cast<uint32_t>(facts_.size()); }
    [[nodiscard]] const NodeFacts &facts(NodeNumber node) const { return facts_[node]; }
    [[nodiscard]] const tree_node_t &record(NodeNumber node) const {
        if (trees_.size() == 1)
            return trees_[0].nodes[node];
        return *record_in_trees(node);
    }
    [[nodiscard]] NodeNumber child(NodeNumber node, uint32_t n) const {
        return facts_[node].tree + record(node).children[n];
    }

    /// Children with a keyword, with parameters only, and those that can be passed.
    [[nodiscard]] Links keywords(const NodeFacts &facts) const {
        return {&links_[facts.first_link], facts.keyword_count, facts.tree};
    }
    [[nodiscard]] Links values(const NodeFacts &facts) const {
        return {&links_[facts.first_link + facts.keyword_count], facts.value_count, facts.tree};
    }
    [[nodiscard]] Links passables(const NodeFacts &facts) const {
        return {&links_[facts.first_link + facts.keyword_count + facts.value_count],
                facts.passable_count, facts.tree};
    }

    /// The number of a record; node_count() for one of another grammar.
    [[nodiscard]] NodeNumber number_of(const tree_node_t *node) const;

    struct Tree {
        const tree_node_t *nodes;
        NodeNumber first;
        uint32_t node_count;
        bool begins_with_root;
    };
    [[nodiscard]] std::span<const Tree> trees() const { return trees_; }

    [[nodiscard]] size_t link_count() const { return links_.size(); }
    [[nodiscard]] bool begins_with_a_root() const { return begins_with_a_root_; }

    [[nodiscard]] const tsh::WordTable &words() const { return words_; }
    /// Whether a node of that keyword has a parameter, so that both may be joined.
    [[nodiscard]] bool is_joinable(tsh::WordNumber word) const { return joinable_[word]; }
    [[nodiscard]] bool has_joinable_words() const { return has_joinable_; }
    [[nodiscard]] const tsh_types_t *types() const { return types_; }

    [[nodiscard]] NodeNumber named(std::string_view name) const;
    [[nodiscard]] std::span<const char *const> functions() const { return functions_; }
    [[nodiscard]] int32_t function_of(NodeNumber node) const { return function_of_[node]; }

    /// A number that no other call gives: what a context admits, to know it again.
    [[nodiscard]] uint64_t next_admission() const { return ++admissions_; }

    /// Hands over a tree to be closed with the grammar.
    void own(OwnedTree tree) { owned_ = std::move(tree); }

private:
    [[nodiscard]] const tree_node_t *record_in_trees(NodeNumber node) const;
    void learn_nodes();
    void gather_links();
    void number_names_and_functions();

    std::vector<Tree> trees_;
    const tsh_types_t *types_;
    std::vector<NodeFacts> facts_;
    std::vector<uint16_t> links_;
    tsh::WordTable words_;
    std::vector<bool> joinable_;
    bool has_joinable_ = false;
    bool begins_with_a_root_ = false;
    std::vector<NodeNumber> names_; // open addressing, a power of two of slots
    std::vector<const char *> functions_;
    std::vector<int32_t> function_of_;
    mutable std::atomic<uint64_t> admissions_{0};
    OwnedTree owned_;
};
