// Plain model of the resolver: lists all readings of a line one by one and compares them. Slow, and
// without an index.
#pragma once

#include "parse_tree/tree_node.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace model {

using Words = std::vector<std::string>;

// Results on which model and resolver must agree.
struct Meaning {
    std::string verdict; // "accepted", "incomplete", "ambiguous N", "refused N": N a word's index
    std::set<int> nodes; // last nodes of an accepted line
    bool operator==(const Meaning &) const = default;
};

inline void PrintTo(const Meaning &meaning, std::ostream *stream) {
    *stream << meaning.verdict;
    for (const int node : meaning.nodes)
        *stream << ' ' << node;
}

class Resolver {
public:
    Resolver(const std::vector<tree_node_t> &tree, bool is_saved)
        : tree_(tree), is_saved_(is_saved) {}

    // Levels are nodes whose submodes were entered, the innermost first; node 0 is the root.
    Meaning resolve(const std::vector<std::set<int>> &levels, const Words &words) {
        words_ = words;
        complete_.clear();
        read_.clear();
        furthest_ = 0;
        for (size_t level = 0; level < levels.size(); ++level)
            for (const int node : levels[level])
                go_below(node, {{{static_cast<int>(level), 0}, ""}}, 0, false);
        if (furthest_ < words.size())
            return {"refused " + std::to_string(furthest_), {}};
        std::vector<Reading> &readings = complete_.empty() ? read_ : complete_;
        const auto least = std::min_element(readings.begin(), readings.end(),
                                            [](auto &a, auto &b) { return ranks(a) < ranks(b); });
        const auto best_ranks = ranks(*least);
        std::erase_if(readings, [&](auto &reading) { return ranks(reading) != best_ranks; });
        for (size_t word = 0; word <= words.size(); ++word)
            for (const Reading &reading : readings)
                if (reading.words[word].spelling != readings.front().words[word].spelling)
                    return {"ambiguous " + std::to_string(word - 1), {}};
        if (complete_.empty())
            return {"incomplete", {}};
        if (std::any_of(readings.begin(), readings.end(), [](auto &r) { return !r.leaves_out; }))
            std::erase_if(readings, [](auto &reading) { return reading.leaves_out; });
        Meaning meaning{"accepted", {}};
        for (const Reading &reading : readings)
            meaning.nodes.insert(reading.end);
        return meaning;
    }

private:
    struct Word {
        std::pair<int, int> rank; // kind of the word; for a joined word, how short the keyword is
        std::string spelling;
    };
    using Read = std::vector<Word>;
    struct Reading {
        Read words;
        int end;
        bool leaves_out;
    };
    static std::vector<std::pair<int, int>> ranks(const Reading &reading) {
        std::vector<std::pair<int, int>> ranks;
        for (const Word &word : reading.words)
            ranks.push_back(word.rank);
        return ranks;
    }

    enum Kind { kSlash, kFull, kAbbreviated, kJoined, kValue, kRest };
    [[nodiscard]] Read with(const Read &read, Kind kind, const std::string &spelling,
                            int shortness = 0) const {
        const int kSaved[] = {0, 1, 5, 2, 3, 4};
        Read next = read;
        next.push_back({{is_saved_ ? kSaved[kind] : kind, shortness}, spelling});
        return next;
    }

    // The children of a node may come next; left_out: words were omitted since the last one.
    void go_below(int parent, const Read &read, size_t word, bool left_out) {
        for (int i = 0; i < node_at(parent).child_count; ++i) {
            const int child = node_at(parent).children[i];
            const tree_node_t &node = node_at(child);
            const bool has_word = node.token[0] != '\0' || node.param_count > 0;
            if (has_word && word < words_.size())
                take(child, read, word);
            if (has_word && node.optional == 0)
                continue;
            const bool leaves_out = left_out || has_word;
            if (word == words_.size() && has_line(node) && word > 0)
                complete_.push_back({read, child, leaves_out});
            enter(child, read, word);
            if (!is_submode(node) || node.optional == TREE_OPTIONAL_SUBMODE_ENTERED)
                go_below(child, read, word, leaves_out);
        }
    }

    void take(int child, const Read &read, size_t word) {
        const tree_node_t &node = node_at(child);
        const std::string token = lower(node.token);
        const std::string typed = lower(words_[word]);
        if (token.empty()) {
            take_value(child, 0, words_[word], read, word, kValue, "");
            return;
        }
        if (token.starts_with(typed))
            go_on(child, 0, with(read, token == typed ? kFull : kAbbreviated, token), word + 1);
        if (node.param_count > 0 && typed.starts_with(token) && typed != token)
            take_value(child, 0, words_[word].substr(token.size()), read, word, kJoined, token);
    }

    void take_value(int index, int parameter, const std::string &value, const Read &read,
                    size_t word, Kind kind, const std::string &token) {
        const uint32_t type = node_at(index).params[parameter].type_mask;
        const std::string spelling = token + std::to_string(type);
        const int shortness = kind == kJoined ? -static_cast<int>(token.size()) : 0;
        const bool is_line = type == 2;
        if (type == 0x40100001 && value.find_first_not_of("0123456789") != std::string::npos)
            return;
        Read next = with(read, is_line && kind == kValue ? kRest : kind, spelling, shortness);
        if (!is_line) {
            go_on(index, parameter + 1, next, word + 1);
            return;
        }
        for (size_t rest = word + 1; rest < words_.size(); ++rest)
            next = with(next, kRest, std::to_string(type));
        go_on(index, parameter + 1, next, words_.size());
    }

    // The position after a node's keyword and some of its values.
    void go_on(int index, int values, const Read &read, size_t word) {
        const tree_node_t &node = node_at(index);
        furthest_ = std::max(furthest_, word);
        if (word == words_.size())
            read_.push_back({read, index, false});
        if (values < node.param_count) {
            if (word < words_.size())
                take_value(index, values, words_[word], read, word, kValue, "");
            return;
        }
        if (word == words_.size() && has_line(node))
            complete_.push_back({read, index, false});
        enter(index, read, word);
        if (!is_submode(node))
            go_below(index, read, word, false);
    }

    void enter(int index, const Read &read, size_t word) {
        if (is_saved_ || !is_submode(node_at(index)) || word == words_.size() ||
            words_[word] != "/")
            return;
        furthest_ = std::max(furthest_, word + 1);
        const Read next = with(read, kSlash, "/");
        if (word + 1 == words_.size())
            read_.push_back({next, index, false});
        go_below(index, next, word + 1, false);
    }

    [[nodiscard]] const tree_node_t &node_at(int index) const {
        return tree_[static_cast<size_t>(index)];
    }
    static bool is_submode(const tree_node_t &node) {
        return (node.flags & TREE_FLAG_SUBMODE) != 0;
    }
    static bool has_line(const tree_node_t &node) {
        return (node.flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0;
    }
    static std::string lower(std::string text) {
        for (char &c : text)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return text;
    }

    const std::vector<tree_node_t> &tree_;
    bool is_saved_;
    Words words_;
    std::vector<Reading> complete_;
    std::vector<Reading> read_;
    size_t furthest_ = 0;
};

} // namespace model
