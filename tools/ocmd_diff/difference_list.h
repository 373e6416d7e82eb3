// The listing of the differences between two trees, as text or JSON: "- " and "+ " before lines of
// one tree alone, "~ " before words for which the trees accept other values, or have other fields.
#pragma once

#include "tools/ocmd_diff/product_automaton.h"
#include "tools/ocmd_diff/transition_changes.h"
#include "tools/support/json_output.h"
#include "tools/support/text_output.h"

#include <string_view>
#include <vector>

namespace diff {

/// The prefix of a line, with a mark and a space before it.
class Prefix {
public:
    Prefix();

    void mark(char mark) { bytes_[0] = mark; }
    [[nodiscard]] char mark() const { return bytes_[0]; }

    /// Adds a symbol and a space.
    void append(std::string_view symbol);
    void truncate(size_t length) { length_ = length; }

    /// Returns the bytes, which may be read in complete chunks.
    [[nodiscard]] std::string_view text() const { return {bytes_.data(), length_}; }
    /// Returns the prefix alone, without the mark.
    [[nodiscard]] std::string_view line() const { return text().substr(2); }

private:
    std::vector<char> bytes_;
    size_t length_ = 0;
};

/// Marks of lines of the old tree alone, of the new one alone, and of changed words.
constexpr char kOldMark = '-';
constexpr char kNewMark = '+';
constexpr char kChangedMark = '~';

enum class Form : uint8_t { kText, kJson };

/// Returns "removed", "added" or "changed".
const char *difference_name(char mark);
/// Writes the members of a change.
void write_change(const Change &change, bool is_line, tool::JsonOutput &json);

class DifferenceList {
public:
    DifferenceList(ProductAutomaton &product, Form form, tool::TextOutput &output)
        : product_(product), dfa_(product.dfa()), symbols_(dfa_.nfa().symbols()), changes_(dfa_),
          form_(form), output_(output), json_(output) {}

    /// Lists all that differs from a pair on. Does not recurse.
    void list(const StatePair &start);

private:
    // Transitions that come next after a prefix: those of a state of one tree, or of a pair.
    struct Frame {
        size_t length; // of the prefix
        State state = 0;
        uint32_t next_edge = 0;
        ProductAutomaton::Cursor cursor{};
        bool is_of_both = false;
    };

    void enter(const StatePair &pair);
    void enter_one_tree(const StatePair &pair);
    void enter(Target target);
    bool go_on_in_one();
    bool go_on_in_both();
    void take(const PairTransition &transition);
    size_t print_leaves(std::span<const Edge> edges, size_t next);
    void print(Symbol symbol);
    tool::JsonOutput &begin_json(Symbol symbol);
    void print_changes(const PairTransition &transition);

    ProductAutomaton &product_;
    LineDfa &dfa_;
    const SymbolTable &symbols_;
    TransitionChanges changes_;
    Form form_;
    tool::TextOutput &output_;
    tool::JsonOutput json_;
    Prefix prefix_;
    std::vector<Frame> stack_;
};

} // namespace diff
