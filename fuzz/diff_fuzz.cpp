// Fuzzer of ocmd_diff: the input is two small trees with bounds. The model lists all lines with the
// values of their parameters and compares them as sets.
//
// Reaches: diff::NodePool::index_old, diff::LineDfa::start_of, diff::ProductAutomaton::differs,
// diff::DifferenceCount::count, diff::DifferenceList::list
#include "fuzz/memory_file.h"
#include "fuzz/small_tree.h"
#include "param_reg/values.h"
#include "tools/ocmd_diff/difference_count.h"
#include "tools/ocmd_diff/difference_list.h"
#include "tools/ocmd_show/modes.h"
#include "tools/support/types.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>

namespace {

using Lines = std::set<std::string>;
using ValuesOfLines = std::map<std::string, std::set<std::string>>;

// Mark before and after the bounds in a token; only before them if there was no token.
constexpr char kMark = '#';
constexpr char kWithoutToken = '!';

Lines lines_of(const std::string &text) {
    Lines lines;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = text.find('\n', begin);
        lines.insert(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

// Returns the tree with the bounds of its parameters in its tokens.
std::string marked(std::string tree) {
    for (tree_node_t &node : nodes_in(tree)) {
        int64_t low = 0;
        int64_t high = 0;
        tsh_parameter_bounds(nullptr, &node.params[0], &low, &high);
        const std::string mark =
            kMark + std::to_string(high) + (node.token[0] == '\0' ? kWithoutToken : kMark);
        if (node.param_count > 0)
            strcat(node.token, mark.c_str());
    }
    return tree;
}

ValuesOfLines values_of(const Lines &marked_lines) {
    ValuesOfLines values;
    for (const std::string &marked_line : marked_lines) {
        std::string line = marked_line;
        std::string bounds;
        for (size_t begin; (begin = line.find(kMark)) != std::string::npos;) {
            const size_t end = line.find_first_of({kMark, kWithoutToken}, begin + 1);
            bounds += line.substr(begin, end - begin);
            const bool is_optional =
                line[end] == kWithoutToken && line.compare(end + 1, 3, "[o]") == 0;
            line.erase(begin, end + 1 - begin + (is_optional ? 3 : 0));
        }
        values[line].insert(bounds);
    }
    return values;
}

struct Tree {
    tool::TreeFile file;
    Lines lines;
    ValuesOfLines values;
};

Tree read_tree(int descriptor, const std::string &bytes, const CapturedOutput &output) {
    const auto list = [&](const tool::TreeFile &file) {
        tool::TextOutput text;
        show::show_commands(file, {}, text);
        text.flush();
        return lines_of(output.take());
    };
    tool::TreeFile file{store(descriptor, bytes)};
    Lines lines = list(file);
    const Lines marked_lines = list(tool::TreeFile{store(descriptor + 2, marked(bytes))});
    return {std::move(file), std::move(lines), values_of(marked_lines)};
}

// Moves the lines with this mark from one set to the other, which must not contain them.
void apply(const Lines &listed, const std::string &mark, Lines &from, Lines &to) {
    for (const std::string &line : listed)
        if (line.starts_with(mark)) {
            want(from.erase(line.substr(mark.size())) == 1);
            want(to.insert(line.substr(mark.size())).second);
        }
}

// Returns whether changes of this line are listed. "P: ..." is about the line P and usually about
// the lines that begin with it, "P ...: ..." about all of these.
enum class Changed { kNo, kMaybe, kYes };

Changed find_changes(const Lines &listed, const std::string &line) {
    constexpr std::string_view kMore = " ...";
    Changed changed = Changed::kNo;
    for (const std::string &text : listed) {
        std::string_view prefix{text};
        if (!text.starts_with("~ "))
            continue;
        prefix = prefix.substr(2, text.find(": ") - 2);
        const bool is_line = !prefix.ends_with(kMore);
        if (!is_line)
            prefix.remove_suffix(kMore.size());
        if (line == prefix && is_line)
            return Changed::kYes;
        if (line.starts_with(std::string{prefix} + ' '))
            changed = std::max(changed, is_line ? Changed::kMaybe : Changed::kYes);
    }
    return changed;
}

void want_difference(const Lines &listed, const diff::Extent &extent, const Tree &before,
                     const Tree &after) {
    Lines removed;
    Lines rest = before.lines;
    apply(listed, "- ", rest, removed);
    Lines added;
    Lines rest_after = after.lines;
    apply(listed, "+ ", rest_after, added);
    want(rest == rest_after);
    want(extent.only_before == tool::Count{removed.size()});
    want(extent.only_after == tool::Count{added.size()});
    want(extent.changed == tool::Count{listed.size() - removed.size() - added.size()});
}

void compare(const Tree &before, const Tree &after, diff::FieldLabels *labels,
             const CapturedOutput &output) {
    diff::LineNfa nfa{std::array{&before.file, &after.file}, labels};
    diff::LineDfa dfa{nfa, labels};
    diff::ProductAutomaton product{dfa};
    const diff::StatePair start = product.start();
    const bool differs = product.differs(start);
    want(differs || before.values == after.values);
    want(!differs || labels != nullptr || before.values != after.values);
    if (!differs)
        return;
    const diff::Extent extent = diff::DifferenceCount{product}.count(start);
    {
        tool::TextOutput text;
        diff::DifferenceList{product, diff::Form::kText, text}.list(start);
        text.flush();
    }
    const std::string listing = output.take();
    const Lines listed = lines_of(listing);
    want(listed.size() == static_cast<size_t>(std::ranges::count(listing, '\n')));
    want_difference(listed, extent, before, after);
    for (const auto &[line, values] : before.values)
        if (const auto same = after.values.find(line); same != after.values.end()) {
            const Changed changed = find_changes(listed, line);
            want(changed != Changed::kNo || same->second == values, line.c_str());
            want(changed != Changed::kYes || same->second != values || labels != nullptr,
                 line.c_str());
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
    const Tree before = read_tree(100, small_bounded_tree(input), output);
    const Tree after = read_tree(101, small_bounded_tree(input), output);
    compare(before, after, nullptr, output);
    diff::FieldLabels labels;
    compare(before, after, &labels, output);
    return 0;
}
