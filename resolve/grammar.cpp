// Building the index of a grammar. Child lists come in the order of the words
// without being sorted one by one: the nodes are sorted once, and each is appended in that order to
// the lists of its parents.
#include "resolve/grammar_internal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <numeric>

namespace tsh {

namespace {

template <size_t Size> std::string_view text_of(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

// Eight bytes of a text as a number that sorts like it; missing ones are zero.
uint64_t key_of(std::string_view text) {
    std::array<unsigned char, 8> bytes{};
    memcpy(bytes.data(), text.data(), std::min(text.size(), bytes.size()));
    uint64_t key = 0;
    for (const unsigned char byte : bytes)
        key = key << 8U | byte;
    return key;
}

size_t hash_of(std::string_view text) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return static_cast<size_t>(hash ^ hash >> 32U);
}

size_t slots_for(size_t count) {
    return std::bit_ceil(2 * count + 1);
}

} // namespace

void WordTable::build(std::span<const std::string_view> texts, std::vector<WordNumber> &words) {
    struct Text {
        uint64_t key;
        uint32_t place;
        uint32_t length;
        uint32_t index;
    };
    std::string folded;
    std::vector<Text> sorted;
    for (uint32_t i = 0; i < texts.size(); ++i) {
        if (texts[i].empty())
            continue;
        const auto place = static_cast<uint32_t>(folded.size());
        for (const char c : texts[i])
            folded += in_lower_case(c);
        sorted.push_back({key_of(std::string_view{folded}.substr(place)), place,
                          static_cast<uint32_t>(texts[i].size()), i});
    }
    const auto text = [&](const Text &of) {
        return std::string_view{folded}.substr(of.place, of.length);
    };
    std::ranges::sort(sorted, [&](const Text &a, const Text &b) {
        return a.key != b.key ? a.key < b.key : text(a) < text(b);
    });
    words.assign(texts.size(), kNoWord);
    for (const Text &one : sorted) {
        if (words_.empty() || text_of(words_.back()) != text(one)) {
            words_.push_back({one.key, static_cast<uint32_t>(texts_.size()), one.length});
            texts_ += text(one);
        }
        words[one.index] = static_cast<WordNumber>(words_.size() - 1);
    }
}

WordNumber WordTable::lower_bound(uint64_t key, std::string_view folded) const {
    const auto found = std::ranges::partition_point(words_, [&](const Entry &entry) {
        return entry.key != key ? entry.key < key : text_of(entry) < folded;
    });
    return static_cast<WordNumber>(found - words_.begin());
}

WordRange WordTable::that_begin_with(std::string_view folded, bool &is_full) const {
    const WordNumber first = lower_bound(key_of(folded), folded);
    WordNumber last = first;
    if (folded.size() >= sizeof(uint64_t)) {
        while (last < words_.size() && text_of(words_[last]).starts_with(folded))
            ++last;
    } else { // all bytes behind the text may be anything
        const unsigned free_bits = 64 - 8 * static_cast<unsigned>(folded.size());
        const uint64_t greatest =
            free_bits == 64 ? UINT64_MAX : key_of(folded) | ((uint64_t{1} << free_bits) - 1);
        last = static_cast<WordNumber>(std::ranges::upper_bound(words_, greatest, {}, &Entry::key) -
                                       words_.begin());
    }
    is_full = first < last && words_[first].length == folded.size();
    return {first, last};
}

WordNumber WordTable::find(std::string_view folded) const {
    const WordNumber word = lower_bound(key_of(folded), folded);
    return word < words_.size() && text_of(words_[word]) == folded ? word : kNoWord;
}

} // namespace tsh

using tsh::NodeFacts;
using tsh::NodeNumber;

tsh_grammar_t::tsh_grammar_t(std::span<const tsh_grammar_tree_t> trees, const tsh_types_t *types)
    : types_(types != nullptr ? types : tsh_types_builtin()) {
    NodeNumber next = 0;
    for (const tsh_grammar_tree_t &tree : trees) {
        const uint32_t node_count = tsh_tree_node_count(tree.tree);
        trees_.push_back({tsh_tree_root(tree.tree), next, node_count, tree.begins_with_root != 0});
        next += node_count;
        begins_with_a_root_ = begins_with_a_root_ || tree.begins_with_root != 0;
    }
    facts_.resize(next);
    learn_nodes();
    gather_links();
    number_names_and_functions();
}

void tsh_grammar_t::learn_nodes() {
    std::vector<std::string_view> tokens(facts_.size());
    for (const Tree &tree : trees_) {
        for (uint32_t i = 0; i < tree.node_count; ++i) {
            const tree_node_t &node = tree.nodes[i];
            NodeFacts &facts = facts_[tree.first + i];
            tokens[tree.first + i] = tsh::text_of(node.token);
            facts.tree = tree.first;
            facts.param_count = static_cast<uint8_t>(node.param_count & 3U);
            for (uint32_t n = 0; n < node.param_count; ++n)
                if (tsh_mask_takes_rest(types_, node.params[n].type_mask) != 0)
                    facts.takes_rest = static_cast<uint8_t>(facts.takes_rest | 1U << n) & 3U;
            facts.is_optional = node.optional != 0;
            facts.is_submode = (node.flags & TREE_FLAG_SUBMODE) != 0;
            facts.has_line = (node.flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0;
            facts.hides_descendants =
                facts.is_submode && node.optional != TREE_OPTIONAL_SUBMODE_ENTERED;
        }
    }
    std::vector<tsh::WordNumber> words;
    words_.build(tokens, words);
    joinable_.resize(words_.size());
    for (NodeNumber node = 0; node < facts_.size(); ++node) {
        facts_[node].word = words[node];
        if (words[node] == tsh::kNoWord || facts_[node].param_count == 0)
            continue;
        joinable_[words[node]] = true;
        has_joinable_ = true;
    }
}

void tsh_grammar_t::gather_links() {
    // Who has a link to whom, parents of a node side by side.
    std::vector<uint32_t> first_parent(facts_.size() + 1);
    size_t link_count = 0;
    for (const Tree &tree : trees_)
        for (uint32_t i = 0; i < tree.node_count; ++i) {
            NodeFacts &facts = facts_[tree.first + i];
            facts.first_link = static_cast<uint32_t>(link_count);
            for (uint32_t n = 0; n < tree.nodes[i].child_count; ++n) {
                const NodeNumber child = tree.first + tree.nodes[i].children[n];
                const NodeFacts &below = facts_[child];
                ++first_parent[child + size_t{1}];
                if (below.word != tsh::kNoWord)
                    ++facts.keyword_count;
                else if (below.param_count > 0)
                    ++facts.value_count;
                if (below.is_passable())
                    ++facts.passable_count;
            }
            link_count += size_t{facts.keyword_count} + facts.value_count + facts.passable_count;
        }
    std::partial_sum(first_parent.begin(), first_parent.end(), first_parent.begin());
    std::vector<NodeNumber> parents(first_parent.back());
    std::vector<uint32_t> next_parent{first_parent.begin(), first_parent.end() - 1};
    for (const Tree &tree : trees_)
        for (uint32_t i = 0; i < tree.node_count; ++i)
            for (uint32_t n = 0; n < tree.nodes[i].child_count; ++n)
                parents[next_parent[tree.first + tree.nodes[i].children[n]]++] = tree.first + i;

    // Nodes in the order of their words, those of one word in the order of the array.
    std::vector<uint32_t> first_of_word(words_.size() + 1);
    for (const NodeFacts &facts : facts_)
        if (facts.word != tsh::kNoWord)
            ++first_of_word[facts.word + size_t{1}];
    std::partial_sum(first_of_word.begin(), first_of_word.end(), first_of_word.begin());
    std::vector<NodeNumber> in_order(first_of_word.back());
    for (NodeNumber node = 0; node < facts_.size(); ++node)
        if (facts_[node].word != tsh::kNoWord)
            in_order[first_of_word[facts_[node].word]++] = node;

    links_.resize(link_count + 1); // so that a first link exists
    std::vector<uint8_t> filled(facts_.size());
    for (const NodeNumber node : in_order)
        for (uint32_t n = first_parent[node]; n < first_parent[node + size_t{1}]; ++n) {
            const NodeNumber parent = parents[n];
            links_[facts_[parent].first_link + filled[parent]++] =
                static_cast<uint16_t>(node - facts_[node].tree);
        }
    for (const Tree &tree : trees_)
        for (uint32_t i = 0; i < tree.node_count; ++i) {
            const NodeFacts &facts = facts_[tree.first + i];
            uint32_t next_value = facts.first_link + facts.keyword_count;
            uint32_t next_passable = next_value + facts.value_count;
            for (uint32_t n = 0; n < tree.nodes[i].child_count; ++n) {
                const uint16_t link = tree.nodes[i].children[n];
                const NodeFacts &below = facts_[tree.first + link];
                if (below.word == tsh::kNoWord && below.param_count > 0)
                    links_[next_value++] = link;
                if (below.is_passable())
                    links_[next_passable++] = link;
            }
        }
}

void tsh_grammar_t::number_names_and_functions() {
    names_.assign(tsh::slots_for(facts_.size()), node_count());
    function_of_.assign(facts_.size(), -1);
    std::vector<int32_t> numbers(tsh::slots_for(facts_.size()), -1); // of functions, likewise
    const size_t mask = names_.size() - 1;
    for (NodeNumber node = 0; node < facts_.size(); ++node) {
        const std::string_view name = tsh::text_of(record(node).name);
        size_t slot = tsh::hash_of(name) & mask;
        while (names_[slot] != node_count() && tsh::text_of(record(names_[slot]).name) != name)
            slot = (slot + 1) & mask;
        if (names_[slot] == node_count())
            names_[slot] = node;

        const std::string_view function = tsh::text_of(record(node).func_id);
        if (function.empty())
            continue;
        slot = tsh::hash_of(function) & mask;
        while (numbers[slot] >= 0 && functions_[static_cast<size_t>(numbers[slot])] != function)
            slot = (slot + 1) & mask;
        if (numbers[slot] < 0) {
            numbers[slot] = static_cast<int32_t>(functions_.size());
            functions_.push_back(record(node).func_id);
        }
        function_of_[node] = numbers[slot];
    }
}

NodeNumber tsh_grammar_t::named(std::string_view name) const {
    const size_t mask = names_.size() - 1;
    for (size_t slot = tsh::hash_of(name) & mask; names_[slot] != node_count();
         slot = (slot + 1) & mask)
        if (tsh::text_of(record(names_[slot]).name) == name)
            return names_[slot];
    return node_count();
}

const tree_node_t *tsh_grammar_t::record_in_trees(NodeNumber node) const {
    const Tree &tree = *std::prev(std::ranges::upper_bound(trees_, node, {}, &Tree::first));
    return tree.nodes + (node - tree.first);
}

NodeNumber tsh_grammar_t::number_of(const tree_node_t *node) const {
    for (const Tree &tree : trees_)
        if (node >= tree.nodes && node < tree.nodes + tree.node_count)
            return tree.first + static_cast<NodeNumber>(node - tree.nodes);
    return node_count();
}

namespace {

void clear(tsh_error_t *error) {
    if (error != nullptr)
        *error = {TSH_ERROR_NONE, 0, ""};
}

tsh_grammar_t *fail(tsh_error_t *error, tsh_error_code_t code, const char *text) {
    if (error != nullptr) {
        clear(error);
        error->code = code;
        std::string_view{text}.copy(error->text, sizeof error->text - 1);
    }
    return nullptr;
}

} // namespace

tsh_grammar_t *tsh_grammar_open(const char *path, const tsh_types_t *types, tsh_error_t *error) {
    tsh_grammar_t::OwnedTree tree{tsh_tree_open(path, error)};
    if (tree == nullptr)
        return nullptr;
    tsh_grammar_t *grammar = tsh_grammar_new(tree.get(), types, error);
    if (grammar != nullptr)
        grammar->own(std::move(tree));
    return grammar;
}

tsh_grammar_t *tsh_grammar_new(const tsh_tree_t *tree, const tsh_types_t *types,
                               tsh_error_t *error) {
    const tsh_grammar_tree_t only{tree, 0};
    return tsh_grammar_of_trees(&only, 1, types, error);
}

tsh_grammar_t *tsh_grammar_of_trees(const tsh_grammar_tree_t *trees, uint32_t tree_count,
                                    const tsh_types_t *types, tsh_error_t *error) {
    clear(error);
    if (tree_count == 0)
        return fail(error, TSH_ERROR_FORMAT, "no tree");
    try {
        return new tsh_grammar_t{{trees, tree_count}, types};
    } catch (const std::bad_alloc &) {
        return fail(error, TSH_ERROR_NO_MEMORY, "not enough memory");
    }
}

void tsh_grammar_close(tsh_grammar_t *grammar) {
    delete grammar;
}

const tree_node_t *tsh_grammar_root(const tsh_grammar_t *grammar) {
    return grammar->trees()[0].nodes;
}

const tree_node_t *tsh_grammar_child(const tsh_grammar_t *grammar, const tree_node_t *node,
                                     uint32_t n) {
    const NodeNumber number = grammar->number_of(node);
    if (number == grammar->node_count() || n >= node->child_count)
        return nullptr;
    return &grammar->record(grammar->child(number, n));
}

const tree_node_t *tsh_grammar_named(const tsh_grammar_t *grammar, const char *name) {
    const NodeNumber node = grammar->named(name);
    return node == grammar->node_count() ? nullptr : &grammar->record(node);
}

uint32_t tsh_grammar_function_count(const tsh_grammar_t *grammar) {
    return static_cast<uint32_t>(grammar->functions().size());
}

const char *tsh_grammar_function_id(const tsh_grammar_t *grammar, uint32_t number) {
    return number < grammar->functions().size() ? grammar->functions()[number] : nullptr;
}

int32_t tsh_grammar_function_of(const tsh_grammar_t *grammar, const tree_node_t *node) {
    const NodeNumber number = grammar->number_of(node);
    return number == grammar->node_count() ? -1 : grammar->function_of(number);
}
