// All readings of a line at once: a nondeterministic automaton over the tree, simulated word by
// word.
//
// Its states are places in the tree (a node, and how much of it has been read); layer k holds the
// states in which the line can be after k words. Which nodes a state leads to without a word (nodes
// without one, optional ones left out, submodes entered) is its closure. Of each state only the
// best readings are kept, as edges back to the layer before, so layers and edges form a graph of
// all readings that count. Preference is a rank: within a layer, two readings have the same rank if
// all their words are of the same kinds, and ranks are ordered as the readings are, word by word
// from the left. The rank of a state in the next layer follows from the pair (rank before, kind of
// the word), so comparing readings takes constant time.
//
// States are processed in the order of their ranks, and the closure of a node is computed for the
// first state that reaches it; worse ones add nothing, and later ones of the same rank an edge, but
// only if readings of that rank differ in spelling. So no node is looked at twice for a word,
// whatever shares it.
#pragma once

#include "resolve/context_internal.h"
#include "resolve/grammar_internal.h"
#include "resolve/line_words_internal.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace tsh {

using Index = uint32_t;
constexpr Index kNone = UINT32_MAX;

/// How much of a node has been read.
enum class Position : uint8_t {
    kKeyword,    ///< Its keyword, if it has one; no value.
    kOneValue,   ///< These values too.
    kTwoValues,  //
    kEntered,    ///< All, and its submode has been entered.
    kBefore,     ///< Nothing: its word comes next.
    kInOneValue, ///< As kOneValue, and the value goes on to the end of the line.
    kInTwoValues ///< Likewise.
};

constexpr Position after_value(uint32_t parameter) {
    return parameter == 0 ? Position::kOneValue : Position::kTwoValues;
}
constexpr Position within_rest(uint32_t parameter) {
    return parameter == 0 ? Position::kInOneValue : Position::kInTwoValues;
}

/// The parameter whose value was read last; of a position behind or within a value.
constexpr uint32_t last_parameter(Position position) {
    return position == Position::kOneValue || position == Position::kInOneValue ? 0 : 1;
}

constexpr bool is_within_rest(Position position) {
    return position == Position::kInOneValue || position == Position::kInTwoValues;
}

/// How many values were read.
constexpr uint32_t values_read(Position position) {
    switch (position) {
    case Position::kKeyword:
    case Position::kEntered:
    case Position::kBefore:
        return 0;
    default:
        return last_parameter(position) + 1;
    }
}

/// How a word was read.
enum class Kind : uint8_t { kSlash, kFull, kAbbreviated, kJoined, kValue, kRest };

/// An order of preference.
struct KindOrder {
    std::array<Kind, 6> kinds;
    std::array<uint8_t, 6> places{}; ///< By kind.

    constexpr explicit KindOrder(const std::array<Kind, 6> &order) : kinds(order) {
        for (size_t place = 0; place < kinds.size(); ++place)
            places[static_cast<size_t>(kinds[place])] = static_cast<uint8_t>(place);
    }
};

inline constexpr KindOrder kTypedKinds{
    {Kind::kSlash, Kind::kFull, Kind::kAbbreviated, Kind::kJoined, Kind::kValue, Kind::kRest}};
inline constexpr KindOrder kSavedKinds{
    {Kind::kSlash, Kind::kFull, Kind::kJoined, Kind::kValue, Kind::kRest, Kind::kAbbreviated}};

constexpr const KindOrder &kinds_for(uint32_t options) {
    return (options & TSH_SAVED_LINE) != 0 ? kSavedKinds : kTypedKinds;
}

/// Where a word was seen from: a state, or a closure.
class Source {
public:
    static Source state(Index index) { return Source{index << 1U}; }
    static Source closure(Index index) { return Source{index << 1U | 1U}; }
    [[nodiscard]] bool is_closure() const { return (bits_ & 1U) != 0; }
    [[nodiscard]] Index index() const { return bits_ >> 1U; }
    bool operator==(const Source &) const = default;

private:
    explicit Source(uint32_t bits) : bits_(bits) {}
    uint32_t bits_;
};

/// A state of one layer.
struct State {
    NodeNumber node;
    Position position;
    uint32_t rank;    ///< In the layer; for layer 0 the submodes between it and the innermost.
    Index first_edge; ///< Its words; none in layer 0.
    Index last_edge;
    Index next_of_node; ///< Another state of the node in the layer.
    uint64_t key;       ///< Of the rank: rank before and kind of the word.
};

/// A word that leads to a state.
struct Edge {
    Source from;
    Index next; ///< Of the same state.
    Kind kind;
    uint8_t keyword_length; ///< Of a joined word.
};

/// A node whose children may come next.
struct Closure {
    NodeNumber node;
    uint32_t rank;
    Index first_link; ///< States and closures that it follows without a word.
    Index last_link;
    bool leaves_out; ///< A word is left out on the way.
};

struct ClosureLink {
    Source from;
    Index next; ///< Of the same closure.
};

/// A node at which the line may end.
struct Ending {
    NodeNumber node;
    Source from;     ///< A state of the node itself, or the closure that the node follows.
    bool leaves_out; ///< A word is left out at the end of the line.
};

/// A value that was refused.
struct RefusedValue {
    NodeNumber node = 0;
    uint32_t parameter = 0;
    uint32_t keyword_length = 0; ///< Of a joined word.
    bool takes_rest = false;
    bool is_out_of_bounds = false;
    bool exists = false;
};

/// One reading of a line, state by state.
struct ChainPlace {
    NodeNumber node;
    Position position;
    bool operator==(const ChainPlace &) const = default;
};
struct ChainLayer {
    ChainPlace place{0, Position::kKeyword};
    Kind kind = Kind::kFull;          ///< Of the word that leads to it; not in the first layer.
    std::vector<NodeNumber> closures; ///< Behind it, in their order.
};
struct Chain {
    std::vector<ChainLayer> layers;
    NodeNumber end = 0;
    bool leaves_out = false;
};

/// Whether a word "/" may enter a submode.
bool may_use_slash(const tsh_context_t &context, uint32_t options);

/// Keywords that a typed word may stand for.
class TypedKeywords {
public:
    void look_up(const tsh_grammar_t &grammar, const LineWord &word);

    struct Joined {
        WordNumber word;
        uint8_t length;
    };
    [[nodiscard]] WordRange range() const { return range_; }
    /// The keyword that is the word itself; kNoWord if none is.
    [[nodiscard]] WordNumber full() const { return is_full_ ? range_.begin : kNoWord; }
    /// Keywords with a parameter that the word begins with, longest first.
    [[nodiscard]] const std::vector<Joined> &joined() const { return joined_; }

private:
    WordRange range_;
    bool is_full_ = false;
    std::vector<Joined> joined_;
};

class LineParser {
public:
    explicit LineParser(const tsh_grammar_t &grammar);

    /// Reads the words, at most the first count, of a line in the context's submode.
    void parse(const tsh_context_t &context, const LineWords &words, size_t count,
               uint32_t options);

    /// Takes over equal readings of the words, known by other means. The rank is that of the states
    /// that they begin with.
    void adopt(const std::vector<Chain> &chains, const LineWords &words, uint32_t rank);

    /// Words that were read; the next one, if any, was refused.
    [[nodiscard]] size_t words_read() const { return first_states_.size() - 1; }
    /// Nodes at which the line may end, those of the best rank.
    [[nodiscard]] const std::vector<Ending> &endings() const { return endings_; }
    [[nodiscard]] const RefusedValue &refused_value() const { return refused_value_; }

    [[nodiscard]] std::span<const State> layer(size_t number) const;
    /// Indices of the states of the last layer, best ones first.
    [[nodiscard]] std::span<const Index> last_states() const { return order_; }
    [[nodiscard]] Index first_state(size_t layer) const { return first_states_[layer]; }

    [[nodiscard]] const State &state(Index index) const { return states_[index]; }
    [[nodiscard]] const Edge &edge(Index index) const { return edges_[index]; }
    [[nodiscard]] const Closure &closure(Index index) const { return closures_[index]; }
    [[nodiscard]] const ClosureLink &link(Index index) const { return links_[index]; }
    [[nodiscard]] size_t state_count() const { return states_.size(); }
    [[nodiscard]] size_t closure_count() const { return closures_.size(); }

    /// What was typed for a value of a node.
    [[nodiscard]] std::string_view value_text(size_t word, uint32_t keyword_length,
                                              bool takes_rest) const;

private:
    /// The entries of a node, and numbers that tell whether they are of this step.
    struct NodeMark {
        uint32_t state_number = 0;
        Index state = 0;
        uint32_t closure_number = 0;
        Index closure = 0;
    };

    /// A value of the word being read, checked for parameters of these types and bounds.
    struct CheckedValue {
        uint32_t type_mask;
        int32_t lowest;
        int32_t highest;
        uint32_t keyword_length;
        tsh_check_t result;
    };

    void clear(const LineWords &words);
    void start(const tsh_context_t &context);
    void add_first_state(NodeNumber node, Position position, uint32_t rank);
    bool read_word(size_t index);
    void find_endings();
    void begin_layer();
    void next_number();
    void rank_layer();
    [[nodiscard]] bool are_spelled_alike(const State &state, const State &other) const;
    template <typename Visit> void for_each_rank(Visit visit);
    void leave_state(Index index);
    void leave_closures();
    void leave_closure(Index index);
    void pass(NodeNumber node, Index closure);
    void meet(NodeNumber node, Source from);
    void add_keyword(NodeNumber node, Source from);
    void try_value(NodeNumber node, uint32_t parameter, uint32_t keyword_length, Source from);
    tsh_check_t check_value(const parameter_info_t &parameter, uint32_t keyword_length,
                            bool takes_rest);
    void add_edge(NodeNumber node, Position position, Kind kind, uint32_t keyword_length,
                  Source from);
    void add_closure(NodeNumber node, Source from, bool leaves_out);
    [[nodiscard]] uint64_t key_of(Kind kind, uint32_t keyword_length) const;
    [[nodiscard]] bool is_visible(NodeNumber node) const { return !hidden_->holds(node); }

    const tsh_grammar_t &grammar_;
    const HiddenNodes *hidden_ = nullptr;
    const LineWords *words_ = nullptr;
    uint32_t options_ = 0;
    bool may_enter_ = true; // by "/"

    std::vector<State> states_;
    std::vector<Edge> edges_;
    std::vector<Closure> closures_;
    std::vector<ClosureLink> links_;
    std::vector<Index> first_states_; // of each layer
    std::vector<Index> order_;        // the states of the last layer, best ones first
    std::vector<NodeMark> marks_;     // by node
    uint32_t number_ = 0;             // of the step

    // While a layer is left.
    size_t word_ = 0;
    bool is_slash_ = false;
    TypedKeywords keywords_;
    bool is_ending_ = false; // nothing is read, the line ends
    uint32_t rank_ = 0;
    bool keeps_equal_ = false;           // edges of equal readings, for they may differ
    bool has_slash_ = false;             // submodes entered by all readings are wanted
    std::vector<bool> is_one_spelling_;  // by rank in the last layer
    std::vector<bool> was_one_spelling_; // in the layer before
    std::vector<Index> kept_in_;         // closures to be left, nothing left out before them
    std::vector<Index> left_out_;        // those behind a word left out

    std::vector<Ending> endings_;
    RefusedValue refused_value_;
    std::vector<CheckedValue> checked_values_; // the first few
};

} // namespace tsh
