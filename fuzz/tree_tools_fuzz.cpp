// Fuzzer of the tools for trees: the input is two files of trees, for all modes of ocmd_show and
// for ocmd_diff.
//
// Reaches: tool::open_valid, show::show_summary, show::show_nodes, show::show_yaml,
// show::show_json, show::show_dot, show::show_commands, show::show_functions,
// show::show_html, show::write_page_data, show::write_page_reference, show::check_trees,
// diff::DifferenceCount::count, diff::DifferenceList::list, diff::DifferenceGroups::list
#include "base/escape.h"
#include "fuzz/input.h"
#include "fuzz/memory_file.h"
#include "tools/ocmd_diff/difference_count.h"
#include "tools/ocmd_diff/difference_groups.h"
#include "tools/ocmd_diff/difference_list.h"
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/page_text.h"
#include "tools/support/command_count.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

// Returns the file of these bytes, if all its trees are valid.
std::optional<tool::TreeFile> sound_file(const std::string &path) {
    try {
        return tool::open_valid(path);
    } catch (const tool::Stop &) {
        return std::nullopt;
    }
}

bool can_be_listed(const tool::TreeRecord &record) {
    constexpr uint64_t kFewLines = 10000;
    const tool::LinkTable links{record.nodes};
    const auto lines = tool::count_lines_below(links, tool::children_first(links)).front().text();
    return lines.size() < std::to_string(kFewLines).size();
}

void show_all(const tool::TreeFile &file) {
    tool::TextOutput output;
    const show::Request all;
    const show::Request part{.below = "a <STRING> / b", .levels = 2};
    show::show_summary(file, all, output);
    show::show_nodes(file, all, output);
    show::show_yaml(file, all, output);
    show::show_json(file, all, output);
    show::show_dot(file, all, output);
    show::show_dot(file, part, output);
    show::show_html(file, all, output);
    show::show_html(file, part, output);
    show::show_functions(file, {.as_c_header = true}, output);
    show::show_functions(file, part, output);
    show::show_faults(file, all, output);
    if (std::ranges::all_of(file.records(), can_be_listed))
        show::show_commands(file, all, output);
}

// No text of a page has a character that a browser obeys, or a mark of HTML.
void check_page_texts(const tool::TreeFile &file) {
    for (const tool::TreeRecord &record : file.records())
        for (const tree_node_t &node : record.nodes)
            for (const std::string_view text : {tool::text_of(node.name), tool::text_of(node.help),
                                                tool::text_of(node.func_id)}) {
                const std::string shown = show::visible(text);
                want(tool::is_utf8(shown), "a text is UTF-8");
                want(base::escaped(shown) == shown, "control characters are escaped");
                want(shown.find("\u202e") == std::string::npos, "directions are escaped");
                want(show::as_json(shown).find('<') == std::string::npos, "JSON has no tag");
                want(show::as_html(shown).find_first_of("<>\"") == std::string::npos,
                     "nor has HTML");
            }
}

void compare(const tool::TreeFile &before, const tool::TreeFile &after) {
    diff::FieldLabels labels;
    diff::LineNfa nfa{std::array{&before, &after}, &labels};
    diff::LineDfa dfa{nfa, &labels};
    diff::ProductAutomaton product{dfa};
    const diff::StatePair start = product.start();
    if (!product.differs(start))
        return;
    diff::DifferenceCount{product}.count(start);
    tool::TextOutput output;
    diff::DifferenceGroups{product, diff::Form::kText, output}.list(start);
    if (std::ranges::all_of(before.records(), can_be_listed) &&
        std::ranges::all_of(after.records(), can_be_listed))
        diff::DifferenceList{product, diff::Form::kText, output}.list(start);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/) {
    tool::register_types();
    return dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO) < 0 ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input{data, size};
    const auto one = sound_file(store(100, input.file()));
    const auto other = sound_file(store(101, input.file()));
    for (const auto &file : {&one, &other})
        if (*file) {
            show_all(**file);
            check_page_texts(**file);
        }
    if (one && other)
        compare(*one, *other);
    return 0;
}
