// Keywords are numbered by a hash table of their folded text; their prefixes are looked up there.
#include "tools/ocmd_show/line_graph.h"

#include "tools/support/command_lines.h"

#include <bit>

namespace show {

namespace {

// FNV-1a: the hashes of all prefixes come along with that of a text.
constexpr uint32_t kHashOfNothing = 2166136261U;

uint32_t add_to_hash(uint32_t hash, char c) {
    return (hash ^ static_cast<unsigned char>(c)) * 16777619U;
}

constexpr size_t kAhead = 8; // nodes: what is read comes from memory in the meantime

char to_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

LineGraph::LineGraph(tool::Nodes nodes)
    : nodes_(nodes), facts_(nodes.size()), links_(nodes),
      slots_(std::bit_ceil(2 * nodes.size() + 1), Slot{0, kNoSymbol}) {
    for (uint32_t number = 0; number < nodes.size(); ++number) {
        prefetch(number + kAhead);
        learn(number);
    }
    for (Facts &facts : facts_) // parameters come after all keywords
        if (facts.first != kNoSymbol && (facts.first & 1U) != 0)
            facts.first = static_cast<Symbol>(keywords_.size()) + (facts.first >> 1U);
        else if (facts.first != kNoSymbol)
            facts.first >>= 1U;
    find_prefixes();
}

// A record has 16 cache lines, of which three are read; the CPU does not foresee them.
void LineGraph::prefetch(size_t number) const {
    if (number >= nodes_.size())
        return;
    __builtin_prefetch(nodes_[number].token);
    __builtin_prefetch(&nodes_[number].optional);
    __builtin_prefetch(&nodes_[number].param_count);
}

void LineGraph::learn(uint32_t number) {
    const tree_node_t &node = nodes_[number];
    Facts &facts = facts_[number];
    const std::string_view token = tool::text_of(node.token);
    facts.words = static_cast<uint8_t>((token.empty() ? 0 : 1) + node.param_count);
    facts.ends_line = tool::has_line(node);
    facts.is_submode = tool::is_submode(node);
    facts.is_passable = facts.words == 0 || node.optional != 0;
    facts.hides_children = facts.is_submode && node.optional != TREE_OPTIONAL_SUBMODE_ENTERED;
    if (!token.empty())
        facts.first = keyword_symbol(token, number) << 1U;
    for (const parameter_info_t &parameter : tool::params_of(node)) {
        const uint32_t mask = mask_number(parameter.type_mask);
        if (facts.first == kNoSymbol)
            facts.first = mask << 1U | 1U;
    }
}

Symbol LineGraph::keyword_symbol(std::string_view token, uint32_t number) {
    const auto begin = static_cast<uint32_t>(folded_.size());
    uint32_t hash = kHashOfNothing;
    for (const char c : token) {
        folded_ += to_lower(c);
        hash = add_to_hash(hash, folded_.back());
    }
    const Keyword keyword{begin, static_cast<uint32_t>(token.size()), number, kNoSymbol};
    Slot &slot = slots_[slot_of(hash, folded(keyword))];
    if (slot.keyword == kNoSymbol) {
        slot = {hash, static_cast<Symbol>(keywords_.size())};
        keywords_.push_back(keyword);
    } else {
        folded_.resize(begin);
    }
    return slot.keyword;
}

// The slot of a keyword, or the free one where it belongs.
size_t LineGraph::slot_of(uint32_t hash, std::string_view text) const {
    const size_t last = slots_.size() - 1;
    size_t slot = (hash ^ hash >> 15U) & last;
    while (slots_[slot].keyword != kNoSymbol &&
           (slots_[slot].hash != hash || folded(keywords_[slots_[slot].keyword]) != text))
        slot = (slot + 1) & last;
    return slot;
}

uint32_t LineGraph::mask_number(uint32_t mask) {
    const auto [found, is_new] =
        mask_numbers_.try_emplace(mask, static_cast<uint32_t>(masks_.size()));
    if (is_new)
        masks_.push_back(mask);
    return found->second;
}

// Most prefixes are no keywords. A filter of the hashes, which fits into the second-level cache,
// excludes nearly all of them.
void LineGraph::find_prefixes() {
    constexpr uint32_t kFilterBits = uint32_t{1} << 20U;
    uint32_t lengths = 0; // of all keywords: a bit each
    std::vector<bool> filter(kFilterBits);
    for (const Keyword &keyword : keywords_)
        lengths |= 1U << keyword.length;
    for (const Slot &slot : slots_)
        if (slot.keyword != kNoSymbol)
            filter[slot.hash % kFilterBits] = true;
    for (Keyword &keyword : keywords_) {
        const std::string_view text = folded(keyword);
        uint32_t hash = kHashOfNothing;
        for (size_t length = 1; length < text.size(); ++length) {
            hash = add_to_hash(hash, text[length - 1]);
            if ((lengths >> length & 1U) == 0 || !filter[hash % kFilterBits])
                continue;
            const Slot &slot = slots_[slot_of(hash, text.substr(0, length))];
            if (slot.keyword != kNoSymbol)
                keyword.prefix = slot.keyword;
        }
    }
}

Symbol LineGraph::symbol(uint32_t number, uint32_t word) const {
    if (word == 0)
        return facts_[number].first;
    const tree_node_t &node = nodes_[number];
    const uint32_t parameter = word - (node.token[0] == '\0' ? 0 : 1);
    return static_cast<Symbol>(keywords_.size()) +
           mask_numbers_.at(tool::params_of(node)[parameter].type_mask);
}

std::string LineGraph::text(Symbol symbol) const {
    if (is_keyword(symbol))
        return std::string{tool::text_of(nodes_[keywords_[symbol].node].token)};
    tree_node_t node{};
    node.param_count = 1;
    node.params[0].type_mask = mask(symbol);
    return tool::word_of(node);
}

} // namespace show
