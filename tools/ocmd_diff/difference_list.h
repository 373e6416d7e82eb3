// The listing of a difference: "- " and "+ " before the lines of one tree alone, "~ " before words
// that both trees have but that do not stand for the same.
#pragma once

#include "tools/ocmd_diff/difference.h"
#include "tools/ocmd_diff/field_labels.h"
#include "tools/ocmd_diff/pair_steps.h"
#include "tools/support/text_output.h"

#include <string_view>
#include <vector>

namespace diff {

/// What has been read of a line, with a mark and a blank before it.
class Beginning {
public:
    Beginning();

    void mark(char mark) { bytes_[0] = mark; }

    /// Adds an atom and the blank behind it.
    void append(std::string_view atom);
    void cut(size_t length) { length_ = length; }

    /// Readable in whole chunks.
    [[nodiscard]] std::string_view text() const { return {bytes_.data(), length_}; }

private:
    std::vector<char> bytes_;
    size_t length_ = 0;
};

class DifferenceList {
public:
    DifferenceList(Difference &difference, const FieldLabels &labels, tool::TextOutput &output)
        : states_(difference.states()), atoms_(states_.automaton().atoms()), steps_(difference),
          labels_(labels), output_(output) {}

    /// Lists all that differs from the start of lines on. Does not recurse; memory is in proportion
    /// to the line in hand, but for what PairSteps keeps.
    void list(const Pair &start);

private:
    // What comes next at one place of the way: edges of one tree alone, or steps of both.
    struct Level {
        size_t length; // of the beginning there
        const Edge *next = nullptr;
        const Edge *end = nullptr;
        PairSteps::Cursor steps{};
        bool is_of_both = false;
    };

    void enter(const Pair &pair);
    void enter_one_side(const Pair &pair);
    void enter(Target state);
    bool go_on_in_one();
    bool go_on_in_both();
    void take(const PairStep &step);
    void print_leaves(Level &level);
    void print(Atom atom);
    void tell_changes(const PairStep &step);

    const LineStates &states_;
    const AtomTable &atoms_;
    PairSteps steps_;
    const FieldLabels &labels_;
    tool::TextOutput &output_;
    Beginning beginning_;
    std::vector<Level> way_;
};

} // namespace diff
