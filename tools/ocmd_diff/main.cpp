// ocmd_diff: the command lines that only one of two trees accepts.
#include "tools/ocmd_diff/difference.h"
#include "tools/ocmd_diff/difference_count.h"
#include "tools/ocmd_diff/difference_list.h"
#include "tools/ocmd_diff/field_labels.h"
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
    Option{0, "fields", nullptr, "Also tell where words of both trees do not stand for the same."},
    Option{0, "stat", nullptr, "Only count what would be listed."},
    Option{'q', "quiet", nullptr, "List nothing; the status tells whether the trees differ."},
};

constexpr tool::Program kProgram{
    "ocmd_diff", "OLD NEW",
    "Lists the command lines that only one of two trees accepts: \"- \" before those of OLD,\n"
    "\"+ \" before those of NEW. Files are main par files or subtree files; - is standard input.\n"
    "The status is 0 when nothing differs, 1 when something does, and 2 in case of trouble.",
    kOptions};

constexpr Status kSame = tool::kDone;
constexpr Status kDiffer = tool::kFaults;

// A file that does not hold what it should is never called equal to another.
TreeFile open_file(const char *path) {
    try {
        return tool::open_sound(path);
    } catch (const Stop &) {
        throw Stop{tool::kTrouble};
    }
}

void print(const Extent &extent, bool has_changed, TextOutput &output) {
    output << "- " << extent.only_before.text() << "\n+ " << extent.only_after.text() << '\n';
    if (has_changed)
        output << "~ " << extent.changed.text() << '\n';
}

Status compare(const CommandLine &line) {
    const auto operands = line.operands();
    if (operands.size() != 2)
        refuse("two files are needed, OLD and NEW");
    if (strcmp(operands[0], "-") == 0 && strcmp(operands[1], "-") == 0)
        refuse("standard input cannot be both files");
    const TreeFile old_file = open_file(operands[0]);
    const TreeFile new_file = open_file(operands[1]);
    tool::register_types();

    const bool has_labels = line.has("fields");
    LineAutomaton automaton{std::array{&old_file, &new_file}, !has_labels};
    FieldLabels labels{automaton};
    LineStates states{automaton, has_labels ? &labels : nullptr};
    const Pair start{states.reach(automaton.start_of(0)), states.reach(automaton.start_of(1))};
    Difference difference{states};
    if (!difference.is_at(start))
        return kSame;
    TextOutput output;
    if (line.has("quiet"))
        return kDiffer;
    if (line.has("stat"))
        print(DifferenceCount{difference}.count(start), has_labels, output);
    else
        DifferenceList{difference, labels, output}.list(start);
    output.flush();
    return kDiffer;
}

} // namespace

} // namespace diff

int main(int argc, char **argv) {
    return tool::run(diff::kProgram, argc, argv, diff::compare);
}
