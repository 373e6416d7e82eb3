// A walk over pairs and, where one tree stands alone, over its states. Most lines end in leaves, so
// runs of leaves are printed without further ado.
#include "tools/ocmd_diff/difference_list.h"

#include "cmd_gen/word.h"

namespace diff {

namespace {

using tool::copy_in_chunks;
using tool::TextOutput;

constexpr size_t kMostAtom = TSH_WORD_SIZE; // with a newline in place of the zero
constexpr char kOldMark = '-';
constexpr char kNewMark = '+';
constexpr char kChangedMark = '~';

} // namespace

Beginning::Beginning() {
    append({}); // the mark and
    append({}); // its blank
}

void Beginning::append(std::string_view atom) {
    const size_t needed = length_ + atom.size() + 1 + tool::kCopyChunk;
    if (needed > bytes_.size())
        bytes_.resize(2 * needed);
    length_ += atom.copy(bytes_.data() + length_, atom.size());
    bytes_[length_++] = ' ';
}

void DifferenceList::list(const Pair &start) {
    if (start.is_of_both())
        enter(start);
    else
        enter_one_side(start);
    while (!way_.empty()) {
        const bool goes_on = way_.back().is_of_both ? go_on_in_both() : go_on_in_one();
        if (!goes_on)
            way_.pop_back();
    }
}

// The mark stays as it is as long as one tree stands alone.
void DifferenceList::enter_one_side(const Pair &pair) {
    beginning_.mark(pair.before.exists() ? kOldMark : kNewMark);
    enter(pair.before.exists() ? pair.before : pair.after);
}

void DifferenceList::enter(Target state) {
    const auto edges = states_.edges_of(state.state());
    Level level{};
    level.length = beginning_.text().size();
    level.next = edges.data();
    level.end = edges.data() + edges.size();
    way_.push_back(level);
}

void DifferenceList::enter(const Pair &pair) {
    Level level{};
    level.length = beginning_.text().size();
    level.steps = steps_.from(pair);
    level.is_of_both = true;
    way_.push_back(level);
}

bool DifferenceList::go_on_in_one() {
    Level &level = way_.back();
    beginning_.cut(level.length);
    print_leaves(level);
    if (level.next == level.end)
        return false;
    const Edge edge = *level.next++;
    if (edge.to.ends())
        print(edge.atom);
    if (!edge.to.is_leaf()) {
        beginning_.append(atoms_.text(edge.atom));
        enter(edge.to);
    }
    return true;
}

bool DifferenceList::go_on_in_both() {
    Level &level = way_.back();
    beginning_.cut(level.length);
    const auto step = steps_.take(level.steps);
    if (step)
        take(*step);
    return step.has_value();
}

void DifferenceList::take(const PairStep &step) {
    const Target before = step.to.before;
    const Target after = step.to.after;
    const bool ends_before = before.exists() && before.ends();
    const bool ends_after = after.exists() && after.ends();
    if (ends_before != ends_after) {
        beginning_.mark(ends_before ? kOldMark : kNewMark);
        print(step.atom);
    }
    const std::string_view atom = atoms_.text(step.atom);
    if (step.to.is_of_both()) {
        tell_changes(step);
        beginning_.append(atom);
        enter(step.to);
    } else {
        beginning_.append(atom);
        enter_one_side(step.to);
    }
}

void DifferenceList::print_leaves(Level &level) {
    const std::string_view before = beginning_.text();
    if (before.size() > TextOutput::kMostRoom - kMostAtom)
        return;
    const Edge *next = level.next; // local, as what is written might be a member for all it seems
    const Edge *const end = level.end;
    char *place = output_.room();
    const char *full = output_.full();
    for (; next != end && next->to.ends_all(); ++next) {
        if (place >= full) {
            output_.take_until(place);
            place = output_.room();
        }
        const std::string_view atom = atoms_.text(next->atom);
        place = copy_in_chunks(place, before);
        place = copy_in_chunks(place, {atom.data(), atom.size() + 1});
    }
    output_.take_until(place);
    level.next = next;
}

void DifferenceList::print(Atom atom) {
    output_ << beginning_.text() << atoms_.text(atom) << '\n';
}

void DifferenceList::tell_changes(const PairStep &step) {
    const uint32_t before = states_.label_of(step.to.before.state());
    const uint32_t after = states_.label_of(step.to.after.state());
    if (before == after)
        return;
    beginning_.mark(kChangedMark);
    const bool is_line = step.to.before.ends() && step.to.after.ends();
    output_ << beginning_.text() << atoms_.text(step.atom) << (is_line ? "\n" : " ...\n")
            << labels_.changes(before, after);
}

} // namespace diff
