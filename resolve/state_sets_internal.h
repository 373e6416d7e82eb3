// The usual lines, read without searching: the automaton of line_parser_internal.h made
// deterministic, one state set at a time and only as lines need them.
//
// A state set holds the states that a line of equal readings may be in, with the merged closure of
// all of them: the words that may come next, sorted. A line is read by the best kind of each word,
// and by the next best where that does not finish the line. Readings of one kind that spell a word
// differently, because parameters of several types accept it, are followed side by side. Those that
// finish the line first are the best. If none does, or many would have to be tried, LineParser has
// to decide. Sets are kept for later lines, in proportion to the tree, and are given up all
// together.
#pragma once

#include "resolve/line_parser_internal.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace tsh {

class StateSets {
public:
    explicit StateSets(const tsh_grammar_t &grammar);

    enum class Result : uint8_t { kAccepted, kAmbiguous, kUndecided };

    /// Reads a line.
    Result read(const tsh_context_t &context, const LineWords &words, uint32_t options);

    /// The first word of an ambiguous line that its readings spell differently.
    [[nodiscard]] size_t ambiguous_word() const { return ambiguous_word_; }
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
        uint32_t domain; // its number
    };
    struct Domain { // what parameters accept
        uint32_t type_mask;
        int32_t lowest;
        int32_t highest;
        // The comparison that this makes has a literal 0.
        auto operator<=>(const Domain &) const = default; // NOLINT(modernize-use-nullptr)
    };
    struct AcceptedValue {
        uint32_t type_mask;
        Place place; // behind it
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
    struct Step {     // a word in one spelling
        Index before; // step of the word before it; kNone: the start
        Kind kind;
        Slice<Keyword> keywords; // those that were taken, if it is a keyword
        SetNumber next;          // behind it; kNone: not made, because the line ends at the word
    };
    struct Line {
        const LineWords &words;
        uint32_t options;
        bool has_slash; // "/" may enter a submode
    };

    Result read_outward(const tsh_context_t &context, const Line &line);
    std::optional<Result> read_from(SetNumber set, const Line &line);
    std::optional<Result> follow(Index first, size_t index, const Line &line);
    bool read_word(Kind kind, Index before, size_t index, const Line &line);
    const TypedKeywords &typed(size_t index, const Line &line);
    bool add_slash(Index before, const Line &line);
    bool add_keywords(Kind kind, Index before, size_t index, const Line &line);
    void add_values(Kind kind, Index before, size_t index, const Line &line);
    void find_values(SetNumber set, std::string_view text, bool takes_rest, uint32_t options);
    [[nodiscard]] bool accepts(const Domain &domain, std::string_view text) const;
    void find_submodes(const Set &set);
    std::optional<Result> judge_ends(Index first);
    bool can_end(Step &step);
    [[nodiscard]] bool needs_ways() const;
    [[nodiscard]] size_t first_difference(Index step, Index other) const;
    [[nodiscard]] Source source_of(const Step &step, Place place) const;
    [[nodiscard]] Chain chain_to(NodeNumber end) const;
    [[nodiscard]] Slice<Keyword> keywords_in(const Set &set, WordRange range) const;
    [[nodiscard]] bool is_one_word(Slice<Keyword> keywords) const;
    [[nodiscard]] bool may_end_behind(Slice<Keyword> keywords) const;
    [[nodiscard]] bool ends_at(Slice<Keyword> keywords);
    bool ends_in(SetNumber set);
    SetNumber after(Slice<Keyword> keywords);

    SetNumber set_of(std::vector<Place> &places);
    SetNumber make(std::span<const Place> places);
    void leave(Source from, const Place &place);
    void leave_closure(Index index, uint32_t first_closure);
    void add_closure(NodeNumber node, Source from, bool leaves_out);
    void add_value(NodeNumber node, uint32_t parameter, Source from);
    uint32_t domain_of(NodeNumber node, uint32_t parameter);
    void next_mark();
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
    size_t most_added_;      // entries for one line
    size_t most_kept_ = 0;
    bool is_too_large_ = false; // sets for the last line
    bool are_whole_ = false;    // no set is missing or half made

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
    std::vector<Domain> domains_;
    std::map<Domain, uint32_t> domain_numbers_;
    std::vector<uint32_t> domain_of_; // by node and parameter; kNone: not known
    std::vector<Index> kept_in_;
    std::vector<Index> left_out_;
    std::vector<Place> next_places_;

    // The last line.
    TypedKeywords typed_;
    size_t typed_word_ = 0;   // that they are those of
    std::vector<Step> steps_; // word by word; the first one leads to the start
    size_t abandoned_ = 0;    // kinds of words
    std::vector<AcceptedValue> accepted_;
    std::vector<std::optional<bool>> is_accepted_; // by domain
    bool enters_submode_ = false;
    bool first_is_refused_ = false;
    Index last_step_ = 0; // behind which it ends
    std::vector<NodeNumber> ends_;
    bool is_simple_ = false;
    uint32_t levels_left_ = 0;
    size_t ambiguous_word_ = 0;
};

} // namespace tsh
