// A lookup by the bytes of a record that decide about its word, so that few words are spelled.
#include "tools/ocmd_diff/word_table.h"

#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"

#include <array>
#include <bit>
#include <cstring>
#include <string>

namespace diff {

namespace {

struct ParameterKey {
    uint32_t type_mask;
    int32_t int_min;
    int32_t int_max;
};

struct WordKey {
    std::array<char, TREE_TOKEN_SIZE> token;
    uint32_t is_optional;
    uint32_t param_count;
    std::array<ParameterKey, TREE_MAX_PARAMS> params;
};

constexpr uint64_t kFactor = 0x9E3779B97F4A7C15;

// Quicker than a call that could end at the first difference: most keys are equal.
bool are_equal(const std::array<uint64_t, 8> &one, const std::array<uint64_t, 8> &other) {
    uint64_t difference = 0;
    for (size_t i = 0; i < one.size(); ++i)
        difference |= one[i] ^ other[i];
    return difference == 0;
}

} // namespace

WordTable::Key WordTable::key_of(const tree_node_t &node) {
    WordKey key{};
    memcpy(key.token.data(), node.token, sizeof node.token);
    key.is_optional = node.optional != 0 ? 1 : 0;
    key.param_count = node.param_count;
    ParameterKey *place = key.params.data();
    for (const parameter_info_t &parameter : tool::params_of(node))
        *place++ = {parameter.type_mask, parameter.int_min, parameter.int_max};
    return std::bit_cast<Key>(key);
}

uint32_t WordTable::number_of(const tree_node_t &node) {
    const Key key = key_of(node);
    uint32_t &slot = slot_of(key);
    if (slot != kFree)
        return keyed_words_[slot].word;
    slot = static_cast<uint32_t>(keyed_words_.size());
    const uint32_t word = intern(node);
    keyed_words_.push_back({key, word});
    if (2 * keyed_words_.size() > slots_.size())
        grow();
    return word;
}

bool WordTable::have_same_word(const tree_node_t &one, const tree_node_t &other) {
    return memcmp(one.token, other.token, sizeof one.token) == 0 &&
           (one.optional != 0) == (other.optional != 0) && one.param_count == other.param_count &&
           (one.param_count == 0 || key_of(one) == key_of(other));
}

uint64_t WordTable::hash_of(const Key &key) {
    uint64_t hash = 0;
    uint64_t factor = kFactor;
    for (const uint64_t part : key) {
        hash += (part ^ part >> 32U) * factor;
        factor *= kFactor;
    }
    return hash;
}

uint32_t &WordTable::slot_of(const Key &key) {
    const size_t mask = slots_.size() - 1;
    size_t index = hash_of(key) >> 40U & mask;
    while (slots_[index] != kFree && !are_equal(keyed_words_[slots_[index]].key, key))
        index = (index + 1) & mask;
    return slots_[index];
}

void WordTable::grow() {
    slots_.assign(2 * slots_.size(), kFree);
    for (uint32_t i = 0; i < keyed_words_.size(); ++i)
        slot_of(keyed_words_[i].key) = i;
}

// Different keys may have one word: bytes after the end of a token are in the key.
uint32_t WordTable::intern(const tree_node_t &node) {
    const Word word = spell(node);
    const uint32_t number = spelled_.number_of(std::array{word.spelling, word.values});
    if (number == words_.size())
        words_.push_back(word);
    return number;
}

Word WordTable::spell(const tree_node_t &node) {
    const std::string text = tool::spelled_word(node);
    Word word{symbols_.number_of(text), values_.of_word(node), Word::kOneSymbol};
    if (text.empty())
        word.kind = Word::kEmpty;
    if (text.find(' ') != std::string::npos) {
        word.kind = Word::kManySymbols;
        word.symbols = split(text);
    }
    return word;
}

uint32_t WordTable::split(std::string_view text) {
    std::vector<Symbol> &symbols = long_words_.emplace_back();
    for (size_t space; (space = text.find(' ')) != std::string_view::npos;) {
        symbols.push_back(symbols_.number_of(text.substr(0, space)));
        text.remove_prefix(space + 1);
    }
    symbols.push_back(symbols_.number_of(text));
    return static_cast<uint32_t>(long_words_.size() - 1);
}

} // namespace diff
