// The nondeterministic finite automaton, without cycles, of the command lines of two files of
// trees.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_diff/accepted_values.h"
#include "tools/ocmd_diff/field_labels.h"
#include "tools/ocmd_diff/node_pool.h"
#include "tools/ocmd_diff/pair_map.h"
#include "tools/ocmd_diff/symbol_table.h"
#include "tools/ocmd_diff/word_table.h"
#include "tools/support/tree_input.h"
#include "tools/support/tree_shape.h"

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

namespace diff {

/// Either the node whose word has just been read, or one of the states between nodes.
using NfaState = uint32_t;
constexpr NfaState kFirstInnerState = 1U << 31U;

class LineNfa {
public:
    /// Reads files with valid trees, which must outlive this. Needs tool::register_types.
    /// @param labels null if the fields of nodes do not matter; all labels are 0 then.
    LineNfa(std::span<const tool::TreeFile *const> files, FieldLabels *labels);

    [[nodiscard]] const SymbolTable &symbols() const { return symbols_; }
    [[nodiscard]] AcceptedValues &values() { return values_; }
    [[nodiscard]] const AcceptedValues &values() const { return values_; }

    /// Returns the initial state of a file, by its index.
    [[nodiscard]] NfaState start_of(size_t file) const { return starts_[file]; }

    struct Transition {
        Symbol symbol;
        NfaState to;
        Values pending; ///< Those of the state that it leaves.
    };

    /// The transitions from several states, after all transitions without a symbol.
    struct Closure {
        bool ends = false;                   ///< The line may end.
        std::vector<Transition> transitions; ///< In the order of the trees.
        std::vector<Values> pending;         ///< Of the states in which the line may end.
        std::vector<uint32_t> labels;        ///< Of the nodes that may have the last word.
        size_t passed = 0;                   ///< Nodes without a word that were passed.
    };

    /// Returns the closure of a set of states, valid until the next call.
    const Closure &closure_of(std::span<const NfaState> states);

    /// Returns what the word that ends in this state accepts.
    [[nodiscard]] Values values_of(NfaState state) {
        return state < kFirstInnerState ? words_[nodes_[state].word].values : kNoValues;
    }

    /// Returns whether the line certainly ends in this state.
    [[nodiscard]] bool is_final_leaf(NfaState state) {
        return state < kFirstInnerState && nodes_[state].is_final && nodes_[state].link_count == 0;
    }

    /// Returns the state with values that are still to be compared; kNoValues for none.
    NfaState with_pending(NfaState state, Values values);
    [[nodiscard]] NfaState without_pending(NfaState state) const;

    [[nodiscard]] size_t node_count() const { return nodes_.size(); }

    /// Returns the number of nodes and links of the trees and of states between nodes.
    [[nodiscard]] size_t size() const { return tree_size_ + inner_states_.size(); }

private:
    struct InnerState {
        enum Kind : uint8_t {
            kStart,   // of the file `number`
            kSubmode, // of the node `number`, just entered
            kInWord,  // before the symbol `number`, which leads to `next`
            kEnd,     // of the line, at the node `number`
            kPending, // the state `next`, with the pending values `number`
        };
        Kind kind;
        uint32_t number;
        NfaState next;
    };

    struct Record {
        NodeNumber root;
        size_t file;
        bool begins_with_root;
    };

    // Links of one node that are being followed.
    struct Frame {
        uint32_t next_link;
        uint32_t last_link;
        bool is_fresh; // no word has been read since the line or the submode began
    };

    void add_file(const tool::TreeFile &file);
    NfaState add_inner_state(const InnerState &state);
    NfaState beyond(NodeNumber number);

    void follow(NfaState state);
    void follow(const InnerState &state);
    void begin_line(const Record &record);
    void end_word(NodeNumber number);
    void end_no_word(NodeNumber number);
    void follow_links(NodeNumber number, bool is_fresh);
    void walk();
    void read_word(NodeNumber number, bool is_fresh);
    void read_long_word(NodeNumber number);
    void pass_wordless(NodeNumber number, bool is_fresh);
    void add_transition(Symbol symbol, NfaState to);
    void end_line();

    SymbolTable symbols_;
    AcceptedValues values_;
    WordTable words_{symbols_, values_};
    NodePool nodes_;
    const Symbol slash_ = symbols_.number_of("/");
    const Symbol nothing_ = symbols_.number_of("");

    std::vector<Record> records_;
    size_t tree_size_ = 0;

    std::vector<InnerState> inner_states_;
    std::vector<NfaState> starts_;
    std::unordered_map<NodeNumber, NfaState> beyond_;
    PairMap<Transition> long_words_; // by node and 0: the first transition
    std::unordered_map<uint64_t, NfaState> pending_states_;

    Closure closure_;
    Values pending_ = kNoValues; // of the state that is being followed
    std::vector<Frame> stack_;
    uint64_t round_ = 0;
    std::vector<uint64_t> visited_; // by node without a word, fresh or not: the latest round
};

} // namespace diff
