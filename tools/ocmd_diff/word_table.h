// The words of nodes, each spelled once.
#pragma once

#include "parse_tree/tree_node.h"
#include "tools/ocmd_diff/accepted_values.h"
#include "tools/ocmd_diff/sequence_table.h"
#include "tools/ocmd_diff/symbol_table.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace diff {

struct Word {
    Symbol spelling; ///< The complete word as one symbol, even if it has spaces.
    Values values;   ///< What its parameters accept.
    enum Kind : uint8_t { kEmpty, kOneSymbol, kManySymbols } kind;
    uint32_t symbols = 0; ///< kManySymbols: their index.
};

class WordTable {
public:
    WordTable(SymbolTable &symbols, AcceptedValues &values)
        : symbols_(symbols), values_(values), slots_(kFirstSlots, kFree) {}

    /// Returns the number of the node's word; equal for words of the same spelling that accept the
    /// same values. Needs tool::register_types.
    uint32_t number_of(const tree_node_t &node);

    /// Returns whether two nodes have equal bytes in the fields that determine their words, so that
    /// the words are equal; and a hash of those fields. Neither reads the words.
    static bool have_same_word(const tree_node_t &one, const tree_node_t &other);
    static uint64_t hash_of(const tree_node_t &node) { return hash_of(key_of(node)); }

    const Word &operator[](uint32_t number) const { return words_[number]; }

    /// Returns the symbols of a word that has several.
    [[nodiscard]] const std::vector<Symbol> &symbols_of(uint32_t number) const {
        return long_words_[words_[number].symbols];
    }

private:
    // The fields of a record that determine its word.
    using Key = std::array<uint64_t, 8>;
    struct KeyedWord {
        Key key;
        uint32_t word;
    };
    static constexpr uint32_t kFree = UINT32_MAX;
    static constexpr size_t kFirstSlots = 1024; // a power of two, as all sizes are

    static Key key_of(const tree_node_t &node);
    static uint64_t hash_of(const Key &key);
    uint32_t &slot_of(const Key &key);
    void grow();
    uint32_t intern(const tree_node_t &node);
    Word spell(const tree_node_t &node);
    uint32_t split(std::string_view text);

    SymbolTable &symbols_;
    AcceptedValues &values_;
    std::vector<KeyedWord> keyed_words_;
    std::vector<uint32_t> slots_;     // open addressing by the key
    SequenceTable<uint32_t> spelled_; // spelling and values
    std::vector<Word> words_;
    std::vector<std::vector<Symbol>> long_words_;
};

} // namespace diff
