// Any bytes as two small trees: their difference, applied to the lines of one, gives the lines of
// the other.
//
// Reaches: diff::LineStates::reach, diff::Difference::is_at, diff::DifferenceCount::count,
// diff::DifferenceList::list
#include "fuzz/memory_file.h"
#include "fuzz/small_tree.h"
#include "tools/ocmd_diff/difference_count.h"
#include "tools/ocmd_diff/difference_list.h"
#include "tools/ocmd_show/modes.h"
#include "tools/support/types.h"

#include <array>
#include <set>

namespace {

using Lines = std::set<std::string>;

Lines lines_of(const std::string &text) {
    Lines lines;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = text.find('\n', begin);
        lines.insert(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

// Moves the lines that are marked so from one set to the other, where they must not be yet.
void apply(const Lines &told, const std::string &mark, Lines &from, Lines &to) {
    for (const std::string &line : told)
        if (line.starts_with(mark)) {
            want(from.erase(line.substr(mark.size())) == 1);
            want(to.insert(line.substr(mark.size())).second);
        }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/) {
    tool::register_types();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input{data, size};
    const CapturedOutput output;
    std::array<Lines, 2> lines;
    std::vector<tool::TreeFile> files;
    for (int i = 0; i < 2; ++i) {
        files.emplace_back(store(100 + i, small_main_tree(input)));
        tool::TextOutput text;
        show::show_commands(files.back(), {}, text);
        text.flush();
        lines[static_cast<size_t>(i)] = lines_of(output.take());
    }

    diff::LineAutomaton automaton{std::array{&files[0], &files[1]}, true};
    const diff::FieldLabels labels{automaton};
    diff::LineStates states{automaton, nullptr};
    const diff::Pair start{states.reach(automaton.start_of(0)),
                           states.reach(automaton.start_of(1))};
    diff::Difference difference{states};
    want(difference.is_at(start) == (lines[0] != lines[1]));
    if (!difference.is_at(start))
        return 0;
    const diff::Extent extent = diff::DifferenceCount{difference}.count(start);
    {
        tool::TextOutput text;
        diff::DifferenceList{difference, labels, text}.list(start);
        text.flush();
    }
    const std::string listing = output.take();
    const Lines told = lines_of(listing);
    want(told.size() == static_cast<size_t>(std::count(listing.begin(), listing.end(), '\n')));
    Lines removed;
    Lines rest = lines[0];
    apply(told, "- ", rest, removed);
    Lines added;
    Lines rest_after = lines[1];
    apply(told, "+ ", rest_after, added);
    want(rest == rest_after);
    want(extent.only_before == tool::Count{removed.size()});
    want(extent.only_after == tool::Count{added.size()});
    return 0;
}
