// A grammar made of command lines.
#pragma once

#include "tools/ocmd_compile/listed_line.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/source_file.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace compiler {

/// Common beginnings of lines become one word, equal endings one shared node. The words below a
/// word are in the order in which they were first added.
class LineGrammar {
public:
    explicit LineGrammar(Messages &messages) : messages_(messages) {}

    /// Adds all lines of a file, which must outlive this. Reports a file without lines. Needs the
    /// registry's types.
    void add(const SourceFile &file);

    /// Returns the grammar in YAML, after reporting words that a tree has no room for.
    std::string yaml();

private:
    using Index = uint32_t;
    static constexpr Index kNone = UINT32_MAX;

    // A word after a certain beginning of a line. A word that enters a submode is another one.
    struct Branch {
        Index word; // in words_
        bool enters;
        const SourceFile *file;
        SourceRange place;
        bool is_line = false;    // a line ends here
        bool is_dropped = false; // the submode of the same word stands for it
        std::string_view help = {};
        const SourceFile *help_file = nullptr;
        SourceRange help_place = {};
        Index parent = kNone;
        Index last_child = kNone;
        Index previous = kNone; // sibling
    };

    // One node for all equal endings.
    struct Node {
        Index branch; // the first one
        Index list;
        uint32_t uses = 0; // by lists
        bool is_written = false;
    };

    struct List {
        std::vector<Index> nodes;
        uint32_t uses = 0; // by nodes
        bool is_written = false;
    };

    void add_line(const SourceFile &file, const ListedLine &line);
    Index word_of(const SourceFile &file, const ListedLine::Word &word);
    Index branch_below(Index parent, const SourceFile &file, const ListedLine::Word &word);
    void add_help(Branch &branch, const SourceFile &file, const ListedLine &line);
    [[nodiscard]] Index find_branch(Index parent, Index word, bool enters) const;
    void join_submodes();
    void share();
    [[nodiscard]] std::vector<Index> children_of(Index branch) const;
    Index list_of(std::vector<Index> nodes);
    void write_list(Index list, size_t depth);
    void write_node(Index node, size_t depth, bool is_item);
    [[nodiscard]] std::vector<std::string> entries_of(const Branch &branch, bool is_item);

    Messages &messages_;
    TextStore texts_;
    std::vector<ListedWord> words_;
    std::unordered_map<std::string_view, Index> spelling_index_; // kNone: has an error
    std::unordered_map<std::string, Index> word_index_;          // by key, optional or not
    std::vector<Branch> branches_{{kNone, true, nullptr, {}}};   // the first one is the root
    std::unordered_map<uint64_t, Index> branch_index_;           // by parent, word and submode
    std::vector<Node> nodes_;
    std::vector<List> lists_;                           // the last one is that of the root
    std::unordered_map<std::string, Index> list_index_; // by the bytes of its nodes
    std::string yaml_;
    uint32_t repeated_ = 0; // words with the key of a sibling so far
};

} // namespace compiler
