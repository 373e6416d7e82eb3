// The usual lines, read without searching: the automaton of line_parser_internal.h made
// deterministic, one state set at a time and only as lines need them.
//
// A state set holds the states that a line of equal readings may be in, with the merged closure of
// all of them: the words that may come next, sorted. A line is read by the best kind of each word.
// If that finishes the line, no other reading can be better, whatever else it could mean. If it
// does not, or if the best kind is not one spelling, LineParser has to decide. Sets are kept for
// later lines, in proportion to the tree, and are given up all together.
#pragma once

#include "resolve/line_parser_internal.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tsh {

class StateSets {
public:
    explicit StateSets(const tsh_grammar_t &grammar);

    /// Reads a line. @return whether it is accepted; if not, nothing is known of it.
    bool accepts(const tsh_context_t &context, const LineWords &words, uint32_t options);

    /// Nodes at which the accepted line ends.
    [[nodiscard]] const std::vector<NodeNumber> &ends() const { return ends_; }
    /// Whether each end is the node of the last word.
    [[nodiscard]] bool is_simple() const { return is_simple_; }
    /// Submodes between the innermost one and the one that accepts the line.
    [[nodiscard]] uint32_t levels_left() const { return levels_left_; }

    /// Hands one reading for each end to the parser, as if it had parsed the line.
    void hand_to(LineParser &parser, const LineWords &words) const;

private:
    using SetNumber = uint32_t;

    using Place = ChainPlace;
    struct Passed { // a closure
        NodeNumber node;
        Source from; // a state or closure of the set
        bool leaves_out;
    };
    struct Keyword { // that may come next
        WordNumber word;
        NodeNumber node;
        Index from;     // closure
        SetNumber next; // behind all of the same word, of the first of them; kNone: not known
    };
    struct Value { // likewise
        NodeNumber node;
        uint8_t parameter;
        bool takes_rest;
        Source from;
    };
    struct Last { // a node at which the line may end
        NodeNumber node;
        Source from;
        bool leaves_out;
    };
    template <typename T> struct Slice { // of the pool of all sets
        uint32_t first = 0;
        uint32_t count = 0;
    };
    struct Set {
        Slice<Place> places;
        Slice<Passed> closures;
        Slice<Keyword> keywords;
        Slice<Value> values;
        Slice<Last> endings;
        bool has_joinable = false;
    };
    struct Step { // one word of the line
        SetNumber from;
        Kind kind;
        Slice<Keyword> keywords; // those that were taken, if it is a keyword
    };
    enum class Result : uint8_t { kAccepted, kUndecided, kRefusedAtOnce };

    bool read_outward(const tsh_context_t &context, const LineWords &words, uint32_t options);
    Result read(SetNumber set, const LineWords &words, uint32_t options, bool may_use_slash);
    std::optional<SetNumber> read_value(SetNumber set, const LineWords &words, size_t index,
                                        uint32_t options, Step &step);
    [[nodiscard]] Source source_of(const Step &step, Place place) const;
    [[nodiscard]] Chain chain_to(size_t end) const;
    [[nodiscard]] Slice<Keyword> keywords_in(const Set &set, WordRange range) const;
    [[nodiscard]] bool is_one_word(Slice<Keyword> keywords) const;
    [[nodiscard]] bool ends_at(Slice<Keyword> keywords);
    bool ends_in(SetNumber set);
    SetNumber after(Slice<Keyword> keywords);

    SetNumber set_of(std::vector<Place> &places);
    SetNumber make(std::span<const Place> places);
    void leave(Source from, const Place &place);
    void leave_closure(Index index, uint32_t first_closure);
    void add_closure(NodeNumber node, Source from, bool leaves_out);
    void forget_all();
    [[nodiscard]] size_t kept() const;
    [[nodiscard]] size_t slot_of(std::span<const Place> places) const;
    template <typename T>
    [[nodiscard]] std::span<const T> all(const std::vector<T> &pool, Slice<T> slice) const {
        return {pool.data() + slice.first, slice.count};
    }

    const tsh_grammar_t &grammar_;
    const HiddenNodes *hidden_ = nullptr;
    uint64_t admission_ = 0; // that the sets are good for
    size_t most_kept_;
    bool are_whole_ = false; // no set is missing or half made

    std::vector<Set> sets_;
    std::vector<Place> places_;
    std::vector<Passed> closures_;
    std::vector<Keyword> keywords_;
    std::vector<Value> values_;
    std::vector<Last> endings_;
    std::vector<SetNumber> slots_;   // sets by their places: open addressing, a power of two
    std::vector<SetNumber> of_node_; // sets of one place behind a node's keyword
    struct Mark {
        uint32_t word = 0;
        uint32_t closure = 0;
    };
    std::vector<Mark> marks_; // by node: the set that has met it as a word, as a closure
    uint32_t mark_ = 0;
    std::vector<Index> kept_in_;
    std::vector<Index> left_out_;
    std::vector<Place> next_places_;

    // The last line.
    TypedKeywords typed_;
    std::vector<Step> steps_;
    SetNumber last_set_ = 0;
    std::vector<NodeNumber> ends_;
    bool is_simple_ = false;
    uint32_t levels_left_ = 0;
};

} // namespace tsh
