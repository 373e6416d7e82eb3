// Beginnings are a trie. From its leaves up, equal branches become one node: the same word, after
// which the same may follow.
#include "tools/ocmd_compile/line_grammar.h"

#include "parse_tree/tree_node.h"
#include "tools/support/yaml_text.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace compiler {

namespace {

constexpr size_t kAddedNodes = 3; // the root and the two of the redirect root

uint64_t branch_key(uint32_t parent, uint32_t word, bool enters) {
    return uint64_t{parent} << 32U | uint64_t{word} << 1U | (enters ? 1U : 0U);
}

template <typename Item> void append_bytes(std::string &bytes, const Item &item) {
    bytes.append(reinterpret_cast<const char *>(&item), sizeof item);
}

} // namespace

// ---- Lines ----

void LineGrammar::add(const SourceFile &file) {
    ListedLines lines{file, messages_};
    const size_t errors = messages_.errors();
    bool is_empty = true;
    for (ListedLine line; lines.next(line);) {
        if (line.words.empty())
            continue;
        add_line(file, line);
        is_empty = false;
    }
    if (is_empty && messages_.errors() == errors)
        messages_.error(file, {}, "file contains no command line");
}

void LineGrammar::add_line(const SourceFile &file, const ListedLine &line) {
    Index branch = 0;
    for (const ListedLine::Word &word : line.words) {
        branch = branch_below(branch, file, word);
        if (branch == kNone)
            return;
    }
    branches_[branch].is_line = true;
    if (!line.help.empty())
        add_help(branches_[branch], file, line);
}

LineGrammar::Index LineGrammar::word_of(const SourceFile &file, const ListedLine::Word &word) {
    const auto [spelling, is_new] = spelling_index_.try_emplace(word.text, kNone);
    if (!is_new)
        return spelling->second;
    std::optional<ListedWord> read =
        read_listed_word(word.text, file, word.place, texts_, messages_);
    if (!read)
        return kNone;
    const auto [known, is_other] = word_index_.try_emplace(
        read->key + (read->is_optional ? "?" : "!"), static_cast<Index>(words_.size()));
    if (is_other)
        words_.push_back(std::move(*read));
    return spelling->second = known->second;
}

LineGrammar::Index LineGrammar::find_branch(Index parent, Index word, bool enters) const {
    const auto found = branch_index_.find(branch_key(parent, word, enters));
    return found == branch_index_.end() ? kNone : found->second;
}

LineGrammar::Index LineGrammar::branch_below(Index parent, const SourceFile &file,
                                             const ListedLine::Word &word) {
    const Index index = word_of(file, word);
    if (index == kNone)
        return kNone;
    const auto [known, is_new] = branch_index_.try_emplace(branch_key(parent, index, word.enters),
                                                           static_cast<Index>(branches_.size()));
    if (is_new) {
        branches_.push_back({index, word.enters, &file, word.place});
        branches_.back().parent = parent;
        branches_.back().previous = std::exchange(branches_[parent].last_child, known->second);
    }
    return known->second;
}

void LineGrammar::add_help(Branch &branch, const SourceFile &file, const ListedLine &line) {
    if (!branch.help.empty() && branch.help != line.help)
        messages_.error(file, line.help_place, "another help text for the same line",
                        {{branch.help_file, branch.help_place, "first given here"}});
    branch.help = line.help;
    branch.help_file = &file;
    branch.help_place = line.help_place;
}

// ---- Nodes ----

// The line that enters a submode belongs to the word that enters it.
void LineGrammar::join_submodes() {
    for (Branch &submode : branches_) {
        if (!submode.enters || submode.parent == kNone)
            continue;
        const Index index = find_branch(submode.parent, submode.word, false);
        if (index == kNone)
            continue;
        Branch &plain = branches_[index];
        plain.is_line = false;
        submode.help = std::exchange(plain.help, {});
        plain.is_dropped = plain.last_child == kNone;
    }
}

std::vector<LineGrammar::Index> LineGrammar::children_of(Index branch) const {
    std::vector<Index> children;
    for (Index child = branches_[branch].last_child; child != kNone;
         child = branches_[child].previous)
        if (!branches_[child].is_dropped)
            children.push_back(child);
    std::ranges::reverse(children);
    return children;
}

LineGrammar::Index LineGrammar::list_of(std::vector<Index> nodes) {
    std::string bytes;
    for (const Index node : nodes)
        append_bytes(bytes, node);
    const auto [known, is_new] =
        list_index_.try_emplace(std::move(bytes), static_cast<Index>(lists_.size()));
    if (is_new) {
        for (const Index node : nodes)
            ++nodes_[node].uses;
        lists_.push_back({std::move(nodes)});
    }
    return known->second;
}

// Children stand after their parents. The root is the first, and is never dropped.
void LineGrammar::share() {
    std::vector<Index> node_of(branches_.size());
    std::unordered_map<std::string, Index> known;
    for (auto index = static_cast<Index>(branches_.size() - 1);; --index) {
        const Branch &branch = branches_[index];
        if (branch.is_dropped)
            continue;
        std::vector<Index> below = children_of(index);
        const size_t most = TREE_MAX_CHILDREN - (index == 0 ? 1U : 0U); // with the redirect root
        if (below.size() > most) {
            const Branch &surplus = branches_[below[most]];
            messages_.error(
                *surplus.file, surplus.place,
                "too many words after the same beginning: " + std::to_string(below.size()) +
                    " (limit: " + std::to_string(most) + ")");
        }
        std::ranges::transform(below, below.begin(), [&](Index child) { return node_of[child]; });
        const Index list = list_of(std::move(below));
        if (index == 0)
            return;
        std::string bytes{branch.help};
        append_bytes(bytes, list);
        append_bytes(bytes, branch.word);
        append_bytes(bytes, branch.enters);
        append_bytes(bytes, branch.is_line);
        const auto [node, is_new] =
            known.try_emplace(std::move(bytes), static_cast<Index>(nodes_.size()));
        if (is_new) {
            ++lists_[list].uses;
            nodes_.push_back({index, list});
        }
        node_of[index] = node->second;
    }
}

std::string LineGrammar::yaml() {
    join_submodes();
    share();
    if (nodes_.size() + kAddedNodes > TREE_MAX_NODES) {
        const Branch &last = branches_.back();
        messages_.error(*last.file, last.place,
                        "too many nodes: " + std::to_string(nodes_.size() + kAddedNodes) +
                            " (limit: " + std::to_string(TREE_MAX_NODES) + " per tree)");
    }
    if (messages_.errors() > 0)
        return {};
    yaml_ = "words:\n";
    write_list(static_cast<Index>(lists_.size() - 1), 1);
    return std::move(yaml_);
}

// ---- YAML ----

// A mapping has no key twice; a sequence may.
void LineGrammar::write_list(Index index, size_t depth) {
    lists_[index].is_written = true;
    const std::vector<Index> &nodes = lists_[index].nodes;
    std::vector<std::string_view> keys;
    keys.reserve(nodes.size());
    for (const Index node : nodes)
        keys.emplace_back(words_[branches_[nodes_[node].branch].word].key);
    std::ranges::sort(keys);
    const bool is_sequence = std::ranges::adjacent_find(keys) != keys.end();
    for (const Index node : nodes)
        write_node(node, depth, is_sequence);
}

void LineGrammar::write_node(Index index, size_t depth, bool is_item) {
    constexpr size_t kIndentation = 2;
    Node &node = nodes_[index];
    const Branch &branch = branches_[node.branch];
    yaml_.append(kIndentation * depth, ' ').append(is_item ? "- " : "");
    yaml_.append(words_[branch.word].key).append(":");
    if (std::exchange(node.is_written, true)) {
        yaml_.append(" *n").append(std::to_string(index)).append("\n");
        return;
    }
    if (node.uses > 1)
        yaml_.append(" &n").append(std::to_string(index));
    const std::vector<std::string> entries = entries_of(branch, is_item);
    const List &list = lists_[node.list];
    if (list.nodes.empty()) {
        for (const std::string &entry : entries)
            yaml_.append(&entry == entries.data() ? " {" : ", ").append(entry);
        yaml_.append("}\n");
        return;
    }
    yaml_ += '\n';
    depth += is_item ? 2 : 1;
    for (const std::string &entry : entries)
        yaml_.append(kIndentation * depth, ' ').append(entry).append("\n");
    yaml_.append(kIndentation * depth, ' ').append("words:");
    const bool is_shared = list.uses > 1;
    if (is_shared)
        yaml_.append(list.is_written ? " *w" : " &w").append(std::to_string(node.list));
    yaml_ += '\n';
    if (!list.is_written)
        write_list(node.list, depth + 1);
}

// The keys of a word but its words. Siblings with the same key would have the same name.
std::vector<std::string> LineGrammar::entries_of(const Branch &branch, bool is_item) {
    std::vector<std::string> entries;
    if (is_item)
        entries.push_back("name: repeated%" + std::to_string(++repeated_));
    if (!branch.help.empty())
        entries.push_back("help: " + tool::yaml_value(branch.help));
    if (words_[branch.word].is_optional)
        entries.emplace_back("optional: yes");
    if (branch.enters)
        entries.emplace_back("submode: yes");
    if (branch.is_line)
        entries.emplace_back("terminal: yes");
    return entries;
}

} // namespace compiler
