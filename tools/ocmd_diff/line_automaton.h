// The command lines of files of trees as a nondeterministic automaton without cycles: it reads a
// line atom by atom and may be at several positions at once.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_diff/atom_table.h"
#include "tools/support/tree_input.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace diff {

/// A node of any of the trees. Those of one tree follow one another.
using NodeNumber = uint32_t;

/// How far a line has been read: the node whose word is the last one read, or a special place.
using Position = uint32_t;
constexpr Position kFirstSpecial = 1U << 31U;

class LineAutomaton {
public:
    /// Takes files with sound trees, which must outlive this. Words are spelled by the registry,
    /// which must be filled.
    /// @param by_words_alone whether one node may stand for others that the same lines follow,
    ///        whatever else their records say.
    LineAutomaton(std::span<const tool::TreeFile *const> files, bool by_words_alone);

    [[nodiscard]] const AtomTable &atoms() const { return atoms_; }

    /// Where the lines of a file begin, by its place among the files.
    [[nodiscard]] Position start_of(size_t file) const { return starts_[file]; }

    struct Step {
        Atom atom;
        Position to;
    };

    /// What a line can do that may be at any of several positions.
    struct Outlook {
        bool ends = false;             ///< It may end.
        std::vector<Step> steps;       ///< It may read on; in the order of the trees.
        std::vector<NodeNumber> nodes; ///< Those that the last word may stand for.
        size_t passed = 0;             ///< Nodes without a word that were gone through for it.
    };

    /// The outlook stays as it is until the next call.
    const Outlook &look_from(std::span<const Position> positions);

    [[nodiscard]] const tree_node_t &node(NodeNumber number) const;

    /// Nodes, links and places within words.
    [[nodiscard]] size_t size() const { return words_.size() + links_.size() + specials_.size(); }

private:
    // The word of a node as the nodes above see it. Most have one atom.
    class Word {
    public:
        enum Kind : uint32_t { kOneAtom, kManyAtoms, kNoAtom };
        Word(Kind kind, uint32_t number) : bits_(kind << kNumberBits | number) {}
        [[nodiscard]] Kind kind() const { return static_cast<Kind>(bits_ >> kNumberBits); }
        /// The atom, or the word's number among those of its kind.
        [[nodiscard]] uint32_t number() const { return bits_ & ((1U << kNumberBits) - 1); }

    private:
        static constexpr uint32_t kNumberBits = 30;
        uint32_t bits_;
    };

    // Places that are no nodes.
    struct Special {
        enum Kind : uint8_t {
            kStart,   // of a file, with this number
            kSubmode, // of the node of this number, just entered
            kWithin,  // a word whose next atom has this number
            kEnd      // the line ends at the node of this number
        };
        Kind kind;
        uint32_t number;
        Position next; // kWithin: after that atom
    };

    // What is asked of a node again and again, while its record spans a thousand bytes.
    struct Facts {
        size_t first_link;
        uint8_t link_count;
        bool ends_line;
        bool is_submode;
    };

    struct Record {
        NodeNumber root;
        const tool::TreeRecord *record;
        size_t file;
        bool begins_with_root;
    };

    // Links that are being followed, of one node on the way.
    struct Level {
        const NodeNumber *next;
        const NodeNumber *end;
        bool is_fresh; // no word has been read since the line or the submode began
    };

    void reserve_nodes(std::span<const tool::TreeFile *const> files);
    void add_file(const tool::TreeFile &file);
    void add_node(const tree_node_t &node, NodeNumber root);
    Word word_of(std::string_view text);
    Word long_word(std::string_view text);
    void unite_alike();
    Position add_special(const Special &special);
    Position beyond(NodeNumber number);

    void look_from(Position position);
    void look_from(const Special &special);
    void begin_line(const Record &record);
    void end_word(NodeNumber number);
    void end_no_word(NodeNumber number);
    void follow_links(NodeNumber number, bool is_fresh);
    void walk();
    void pass(NodeNumber child, bool is_fresh);
    void meet_wordless(NodeNumber number, uint32_t wordless, bool is_fresh);

    AtomTable atoms_;
    const Atom slash_ = atoms_.number_of("/");
    const Atom nothing_ = atoms_.number_of("");
    std::vector<Record> records_;
    base::HugeVector<Word> words_;     // by node
    base::HugeVector<Atom> spellings_; // by node: its whole word as if it were one atom
    base::HugeVector<Facts> facts_;    // by node
    base::HugeVector<NodeNumber> links_;
    std::vector<Step> long_words_; // their first step
    uint32_t wordless_count_ = 0;
    std::vector<Special> specials_;
    std::vector<Position> starts_;
    std::unordered_map<NodeNumber, Position> beyond_;

    Outlook outlook_;
    std::vector<Level> way_;
    uint64_t round_ = 0;
    std::vector<uint64_t> met_; // by wordless node, fresh or not: the round it was met in
};

} // namespace diff
