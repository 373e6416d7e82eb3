// Where a line may be after some words, and how it may go on.
//
// A word is looked up as the shell does it, as a case-insensitive prefix of the keywords below.
// Where the library's own look-up takes the first match, this one is exact: of several keywords the
// one that is typed in full is meant, else the word is ambiguous. A word that begins no keyword may
// be a value. Words that are marked optional may be left out, as the library's look-ahead walk
// passes them. Siblings that are spelled alike are one word, so a line may be at several places at
// once.
#pragma once

#include "tools/ocmd_find/forest.h"
#include "tools/ocmd_find/typed_line.h"
#include "tools/ocmd_find/value_check.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace find {

/// How far a line has been read at a node.
struct Place {
    static constexpr NodeNumber kStart = UINT32_MAX;

    NodeNumber node = kStart; ///< Its last word; kStart where lines begin.
    uint16_t values = 0;      ///< Parameters of the node that have been read.
    bool is_entered = false;  ///< The submode of the node has been entered.

    bool operator==(const Place &) const = default;
    bool operator<(const Place &other) const {
        return std::tie(node, values, is_entered) <
               std::tie(other.node, other.values, other.is_entered);
    }
};

/// A way from a place to a node, over nodes without a word and nodes whose word is left out.
struct Way {
    static constexpr uint32_t kNone = UINT32_MAX;

    NodeNumber node;
    uint32_t from;           ///< Which of the junction's places.
    uint32_t over = kNone;   ///< The last node that is passed, for Junction::passed.
    bool leaves_out = false; ///< A word is left out.
};

/// A word that may come next.
struct Candidate {
    Way way;
    std::string keyword;             ///< In lower case; empty when a value comes next.
    uint16_t value = 0;              ///< Which parameter of the node that is, or comes after it.
    std::optional<ValueCheck> check; ///< Of that value, if there is one.
};

/// A candidate that a word was taken for, and where the line is then.
struct Match {
    const Candidate *candidate;
    Place to;
};

/// What became of a word.
struct Reading {
    std::vector<Match> matches;       ///< The word alone was taken.
    std::vector<Match> rest_matches;  ///< All of the line from the word on was taken.
    std::vector<Match> ambiguous;     ///< What it may stand for, when it was not taken for that.
    const Candidate *value = nullptr; ///< For which it was not taken, for this reason:
    std::string value_fault;
};

class Junction {
public:
    Junction(const Forest &forest, std::vector<Place> places);

    [[nodiscard]] const std::vector<Place> &places() const { return places_; }

    /// All words that may come next, in the order of the trees.
    [[nodiscard]] const std::vector<Candidate> &candidates() const { return candidates_; }

    /// Ways to nodes at which the line may end; words are left out only where there are no others.
    [[nodiscard]] const std::vector<Way> &endings() const { return endings_; }

    /// The nodes that a way passes, from the last one back to the first.
    [[nodiscard]] std::vector<NodeNumber> passed(const Way &way) const;

    /// What the junction holds, in places, candidates and so on.
    [[nodiscard]] size_t size() const {
        return 1 + places_.size() + candidates_.size() + endings_.size() + passed_.size();
    }

    /// Takes a word of a line for what may come next.
    [[nodiscard]] Reading read(const TypedLine &line, size_t word) const;

private:
    friend class JunctionMaker;

    struct Passed {
        NodeNumber node;
        uint32_t before; // in passed_
    };

    [[nodiscard]] std::vector<const Candidate *>::const_iterator
    first_from(std::string_view keyword) const;
    bool read_keyword(std::string_view folded, Reading &reading) const;
    void read_joined(const TypedLine &line, size_t word, std::string_view folded,
                     Reading &reading) const;
    static void take_value(const Candidate &candidate, const TypedLine &line, size_t word,
                           size_t keyword, Reading &reading);

    std::vector<Place> places_;
    std::vector<Candidate> candidates_;
    std::vector<Way> endings_;
    std::vector<Passed> passed_;
    std::vector<const Candidate *> keywords_; // in alphabetic order
    std::vector<const Candidate *> values_;
};

} // namespace find
