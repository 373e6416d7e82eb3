// The differences between two trees, each once with the places where it is: words of one tree
// alone with the number of their lines, renamed words, moved branches, and changed words.
//
// Pairs of states that differ are visited once, however many prefixes lead to them. A place is
// such a prefix. Equal states are the same change, so they need no comparison of lines. Time and
// memory grow with the pairs and the differences at them, which are limited in proportion to the
// trees.
#pragma once

#include "tools/ocmd_diff/difference_count.h"
#include "tools/ocmd_diff/difference_list.h"
#include "tools/ocmd_diff/pair_map.h"
#include "tools/ocmd_diff/product_automaton.h"
#include "tools/ocmd_diff/transition_changes.h"
#include "tools/support/command_count.h"
#include "tools/support/json_output.h"
#include "tools/support/text_output.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace diff {

class DifferenceGroups {
public:
    DifferenceGroups(ProductAutomaton &product, Form form, tool::TextOutput &output)
        : product_(product), dfa_(product.dfa()), lines_(dfa_), changes_(dfa_), form_(form),
          output_(output), json_(output) {}

    /// Lists all that differs from a pair on. If there is too much, exits with kError, after a
    /// message.
    void list(const StatePair &start);

private:
    using PairNumber = uint32_t;

    struct Link {
        PairNumber from;
        Symbol symbol;
    };

    struct PairFacts {
        std::vector<Link> parents;
        tool::Count prefixes = 0;
    };

    enum class Kind : uint8_t {
        kLine,    // The line that ends at a word of both trees.
        kBranch,  // All lines that begin with a word.
        kRenamed, // The same, with equal lines after another word.
        kChanged,
        kMatched // Part of another difference.
    };

    struct Difference {
        Kind kind;
        char mark;
        Symbol symbol;
        Target to = {};            // of a branch
        Values output = kNoValues; // what the word of a branch accepts
        tool::Count lines = 0;     // of a branch
        Symbol new_symbol = 0;     // of a renamed word
        bool is_line = false;      // of a change
        std::optional<Change> change = {};
        std::vector<PairNumber> places = {};
        std::vector<PairNumber> new_places = {}; // of a moved branch
    };

    struct Frame {
        PairNumber number;
        std::vector<PairTransition> transitions;
        std::vector<Difference> branches; // of the transitions of one tree, in their order
        size_t next = 0;
        size_t next_branch = 0;
    };

    // ---- Visiting pairs ----
    void visit(const StatePair &start);
    PairNumber add_pair(const StatePair &pair);
    void enter(PairNumber number, const StatePair &pair);
    void leave();
    void take(const PairTransition &transition);
    void take_next_branch();
    void take_start_of_one_tree(const StatePair &start);
    [[nodiscard]] std::vector<Difference>
    branches_of(const StatePair &pair, const std::vector<PairTransition> &transitions);
    [[nodiscard]] Difference branch(char mark, const Edge &edge);
    void count_prefixes();
    void grow();

    // ---- Grouping ----
    using Key = std::tuple<Kind, char, Symbol, Symbol, State, Values, std::string>;
    [[nodiscard]] Key key_of(const Difference &difference);
    void add(Difference difference, PairNumber number);
    void find_renamed(std::vector<Difference> &branches);
    void find_renamed(const std::vector<Difference *> &olds, const std::vector<Difference *> &news);
    void find_moved();
    [[nodiscard]] bool has_equal_lines(const Difference &old_branch, const Difference &new_branch);
    [[nodiscard]] bool is_leaf(Target target);

    // ---- Writing ----
    void write(const Difference &difference);
    void write_json(const Difference &difference);
    void write_places_as_json(const char *count_name, const char *name,
                              const std::vector<PairNumber> &places);
    void write_places(const char *margin, const std::vector<PairNumber> &places);
    struct Words {
        std::string text;
        bool are_whole; // they are the rest of the line
    };
    [[nodiscard]] Words words_of(const Difference &difference);
    [[nodiscard]] std::string text_of(const Difference &difference);
    [[nodiscard]] tool::Count count(const std::vector<PairNumber> &places) const;
    [[nodiscard]] std::vector<std::string> prefixes_of(const std::vector<PairNumber> &places) const;
    void add_prefixes(PairNumber number, std::vector<std::string> &prefixes) const;
    [[nodiscard]] std::string symbol_text(Symbol symbol) const {
        return std::string{dfa_.nfa().symbols().text(symbol)};
    }

    ProductAutomaton &product_;
    LineDfa &dfa_;
    LineCount lines_;
    TransitionChanges changes_;
    Form form_;
    tool::TextOutput &output_;
    tool::JsonOutput json_;

    PairMap<PairNumber> pair_numbers_;
    std::vector<PairFacts> pairs_;
    std::vector<PairNumber> children_first_;
    std::vector<Frame> stack_;
    std::vector<Difference> differences_; // in the order of the listing
    std::map<Key, size_t> index_;
    size_t size_ = 0; // links and places of differences
};

} // namespace diff
