// The graph of the words of a tree: what may follow a word in a command line, and the symbols that
// stand for words. Two words have one symbol if they are spelled alike: keywords without regard to
// case, or parameters of the same types.
#pragma once

#include "tools/support/tree_shape.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace show {

using Symbol = uint32_t;
constexpr Symbol kNoSymbol = UINT32_MAX;

class LineGraph {
public:
    /// What walks need to know of a node, without its record.
    struct Facts {
        Symbol first = kNoSymbol; ///< Symbol of its first word.
        uint8_t words = 0;        ///< Its keyword and its parameters.
        bool ends_line : 1 = false;
        bool is_submode : 1 = false;
        bool is_passable : 1 = false;    ///< It has no word, or an optional one.
        bool hides_children : 1 = false; ///< A submode that cannot be passed.
    };

    /// Takes a valid tree, which must outlive this object.
    explicit LineGraph(tool::Nodes nodes);

    [[nodiscard]] size_t node_count() const { return facts_.size(); }
    [[nodiscard]] const tree_node_t &node(uint32_t number) const { return nodes_[number]; }
    [[nodiscard]] const Facts &facts(uint32_t number) const { return facts_[number]; }
    [[nodiscard]] const tool::LinkTable &links() const { return links_; }

    [[nodiscard]] size_t symbol_count() const { return keywords_.size() + masks_.size(); }
    [[nodiscard]] bool is_keyword(Symbol symbol) const { return symbol < keywords_.size(); }
    /// The type mask of a symbol that is not a keyword.
    [[nodiscard]] uint32_t mask(Symbol symbol) const { return masks_[symbol - keywords_.size()]; }
    /// The symbol of a word of a node, by its position in the node.
    [[nodiscard]] Symbol symbol(uint32_t number, uint32_t word) const;
    /// The word of a symbol; a keyword as its first node spells it.
    [[nodiscard]] std::string text(Symbol symbol) const;

    /// The longest keyword with which this one begins, apart from itself; kNoSymbol if none.
    [[nodiscard]] Symbol prefix(Symbol keyword) const { return keywords_[keyword].prefix; }

private:
    struct Keyword {
        uint32_t begin; // in folded_
        uint32_t length;
        uint32_t node; // the first one
        Symbol prefix;
    };
    struct Slot {
        uint32_t hash;
        Symbol keyword;
    };

    void prefetch(size_t number) const;
    void learn(uint32_t number);
    Symbol keyword_symbol(std::string_view token, uint32_t number);
    uint32_t mask_number(uint32_t mask);
    [[nodiscard]] std::string_view folded(const Keyword &keyword) const {
        return {folded_.data() + keyword.begin, keyword.length};
    }
    [[nodiscard]] size_t slot_of(uint32_t hash, std::string_view folded) const;
    void find_prefixes();

    tool::Nodes nodes_;
    std::vector<Facts> facts_;
    tool::LinkTable links_;
    std::vector<Keyword> keywords_;
    std::string folded_;
    std::vector<Slot> slots_; // open addressing
    std::vector<uint32_t> masks_;
    std::unordered_map<uint32_t, uint32_t> mask_numbers_; // positions in masks_
};

} // namespace show
