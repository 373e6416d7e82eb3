// ocmd_diff: the differences between the command lines that two trees accept.
#include "tools/ocmd_diff/difference_count.h"
#include "tools/ocmd_diff/difference_groups.h"
#include "tools/ocmd_diff/difference_list.h"
#include "tools/ocmd_diff/field_labels.h"
#include "tools/ocmd_diff/product_automaton.h"
#include "tools/support/program.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"
#include "tools/support/types.h"

#include <array>
#include <cstring>

namespace diff {

namespace {

using tool::CommandLine;
using tool::Option;
using tool::refuse;
using tool::Status;
using tool::Stop;
using tool::TextOutput;
using tool::TreeFile;

constexpr std::array kOptions{
    Option{0, "fields", nullptr,
           "Also report words that exist in both trees but differ in a field."},
    Option{0, "stat", nullptr, "Print only the numbers of differences."},
    Option{0, "group", nullptr, "Print each difference once, with the places where it is."},
    Option{0, "json", nullptr, "Print one JSON object per difference, for scripts."},
    Option{'q', "quiet", nullptr, "Print no differences; report only through the exit status."},
};

constexpr tool::Program kProgram{
    "ocmd_diff", "OLD NEW",
    "Lists the differences between the command lines that two trees accept: \"- \" before lines "
    "of\n"
    "OLD alone, \"+ \" before lines of NEW alone, \"~ \" before words that accept other values.\n"
    "Files are main par files or subtree files; - is standard input.\n"
    "Exit status: 0 if the trees are equal, 1 if they differ, 2 on error.",
    kOptions};

constexpr Status kSame = tool::kDone;
constexpr Status kDiffer = tool::kNegative;

// An invalid or incomplete file equals no other one.
TreeFile open_file(const char *path) {
    try {
        return tool::open_valid(path);
    } catch (const Stop &) {
        throw Stop{tool::kError};
    }
}

void print(const Extent &extent, Form form, TextOutput &output) {
    if (form == Form::kJson) {
        tool::JsonOutput{output}
            .begin_object()
            .member("removed", extent.only_before.text())
            .member("added", extent.only_after.text())
            .member("changed", extent.changed.text())
            .end_object()
            .end_line();
        return;
    }
    output << "- " << extent.only_before.text() << "\n+ " << extent.only_after.text() << "\n~ "
           << extent.changed.text() << '\n';
}

Status compare(const CommandLine &line) {
    const auto operands = line.operands();
    if (operands.size() != 2)
        refuse("missing operand; expected OLD and NEW");
    if (strcmp(operands[0], "-") == 0 && strcmp(operands[1], "-") == 0)
        refuse("standard input cannot be both files");
    if (line.has("group") && line.has("stat"))
        refuse("--group and --stat exclude each other");
    const TreeFile old_file = open_file(operands[0]);
    const TreeFile new_file = open_file(operands[1]);
    tool::register_types();

    FieldLabels field_labels;
    FieldLabels *const labels = line.has("fields") ? &field_labels : nullptr;
    LineNfa nfa{std::array{&old_file, &new_file}, labels};
    LineDfa dfa{nfa, labels};
    ProductAutomaton product{dfa};
    const StatePair start = product.start();
    if (!product.differs(start))
        return kSame;
    const Form form = line.has("json") ? Form::kJson : Form::kText;
    TextOutput output;
    if (line.has("quiet"))
        return kDiffer;
    if (line.has("stat"))
        print(DifferenceCount{product}.count(start), form, output);
    else if (line.has("group"))
        DifferenceGroups{product, form, output}.list(start);
    else
        DifferenceList{product, form, output}.list(start);
    return kDiffer;
}

} // namespace

} // namespace diff

int main(int argc, char **argv) {
    return tool::run(diff::kProgram, argc, argv, diff::compare);
}
