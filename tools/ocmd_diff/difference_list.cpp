// A walk over pairs and, where one tree is alone, over its states. Most lines end in leaves, so
// runs of leaves are printed in a loop of their own.
#include "tools/ocmd_diff/difference_list.h"

#include "base/chunk_copy.h"
#include "cmd_gen/word.h"

namespace diff {

namespace {

using base::copy_in_chunks;
using tool::TextOutput;

// With a newline, and every byte escaped as \xNN.
constexpr size_t kLongestSymbol = size_t{4} * TSH_WORD_SIZE;

} // namespace

Prefix::Prefix() {
    append({}); // the mark and
    append({}); // its space
}

void Prefix::append(std::string_view symbol) {
    const size_t needed = length_ + symbol.size() + 1 + base::kCopyChunk;
    if (needed > bytes_.size())
        bytes_.resize(2 * needed);
    length_ += symbol.copy(bytes_.data() + length_, symbol.size());
    bytes_[length_++] = ' ';
}

void DifferenceList::list(const StatePair &start) {
    if (start.is_of_both())
        enter(start);
    else
        enter_one_tree(start);
    while (!stack_.empty()) {
        const bool goes_on = stack_.back().is_of_both ? go_on_in_both() : go_on_in_one();
        if (!goes_on)
            stack_.pop_back();
    }
}

// The mark stays the same as long as one tree is alone.
void DifferenceList::enter_one_tree(const StatePair &pair) {
    prefix_.mark(pair.before.exists() ? kOldMark : kNewMark);
    enter(pair.before.exists() ? pair.before : pair.after);
}

void DifferenceList::enter(Target target) {
    stack_.push_back({.length = prefix_.text().size(), .state = target.state()});
}

void DifferenceList::enter(const StatePair &pair) {
    stack_.push_back({.length = prefix_.text().size(),
                      .cursor = product_.transitions_of(pair),
                      .is_of_both = true});
}

bool DifferenceList::go_on_in_one() {
    Frame &frame = stack_.back();
    prefix_.truncate(frame.length);
    const auto edges = dfa_.edges_of(frame.state);
    const size_t next = print_leaves(edges, frame.next_edge);
    frame.next_edge = static_cast<uint32_t>(next) + 1;
    if (next == edges.size())
        return false;
    const Symbol symbol = edges[next].symbol;
    const Target to = dfa_.without_pending(edges[next].to);
    if (dfa_.is_final(to))
        print(symbol);
    if (!to.is_final_leaf()) {
        prefix_.append(symbols_.text(symbol));
        enter(to);
    }
    return true;
}

bool DifferenceList::go_on_in_both() {
    Frame &frame = stack_.back();
    prefix_.truncate(frame.length);
    const auto transition = product_.next(frame.cursor);
    if (transition)
        take(*transition);
    return transition.has_value();
}

void DifferenceList::take(const PairTransition &transition) {
    const auto &[before, after] = transition.to;
    const bool ends_before = before.exists() && dfa_.is_final(before);
    const bool ends_after = after.exists() && dfa_.is_final(after);
    if (ends_before != ends_after) {
        prefix_.mark(ends_before ? kOldMark : kNewMark);
        print(transition.symbol);
    }
    print_changes(transition);
    prefix_.append(symbols_.text(transition.symbol));
    if (!transition.to.is_of_both())
        enter_one_tree(transition.to);
    else if (product_.differs(transition.to))
        enter(transition.to);
}

// @return the index of the first edge that is not printed.
size_t DifferenceList::print_leaves(std::span<const Edge> edges, size_t next) {
    const std::string_view prefix = prefix_.text();
    if (form_ == Form::kJson || prefix.size() > TextOutput::kMostRoom - kLongestSymbol)
        return next;
    char *end = output_.room();
    const char *full = output_.full();
    for (; next < edges.size() && edges[next].to.is_final_leaf(); ++next) {
        if (end >= full) {
            output_.take_until(end);
            end = output_.room();
        }
        const std::string_view symbol = symbols_.text(edges[next].symbol);
        end = copy_in_chunks(end, prefix);
        end = copy_in_chunks(end, {symbol.data(), symbol.size() + 1});
    }
    output_.take_until(end);
    return next;
}

void DifferenceList::print(Symbol symbol) {
    if (form_ == Form::kJson)
        begin_json(symbol).end_object().end_line();
    else
        output_ << prefix_.text() << symbols_.text(symbol) << '\n';
}

void DifferenceList::print_changes(const PairTransition &transition) {
    const std::vector<Change> &changes = changes_.of(transition);
    if (changes.empty())
        return;
    prefix_.mark(kChangedMark);
    const bool is_line = dfa_.is_final(transition.to.before) && dfa_.is_final(transition.to.after);
    for (const Change &change : changes)
        if (form_ == Form::kJson) {
            write_change(change, is_line, begin_json(transition.symbol));
            json_.end_object().end_line();
        } else {
            output_ << prefix_.text() << symbols_.text(transition.symbol)
                    << (is_line ? ": " : " ...: ") << change.text() << '\n';
        }
}

tool::JsonOutput &DifferenceList::begin_json(Symbol symbol) {
    return json_.begin_object()
        .member("difference", difference_name(prefix_.mark()))
        .member("line", std::string{prefix_.line()}.append(symbols_.text(symbol)));
}

const char *difference_name(char mark) {
    return mark == kOldMark ? "removed" : mark == kNewMark ? "added" : "changed";
}

void write_change(const Change &change, bool is_line, tool::JsonOutput &json) {
    const auto write_values = [&](const char *name, const std::vector<std::string> &values) {
        json.member(name).begin_list();
        for (const std::string &value : values)
            json.text(value);
        json.end_list();
    };
    json.member("is_line").boolean(is_line).member("text", change.text());
    if (change.field.empty())
        return;
    if (!change.word.empty())
        json.member("word", change.word);
    json.member("field", change.field);
    write_values("before", change.before);
    write_values("after", change.after);
}

} // namespace diff
