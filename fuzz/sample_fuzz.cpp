// Any bytes as a small tree, all of whose lines are sampled. The lines are those of the listing, in
// its order, a cursor has the same ones, and those that are printed without being resolved are
// accepted.
//
// Reaches: sample::LineNumbers::find, sample::LineSpeller::spell, sample::LineCursor::move_to,
// sample::WrongLines::write
#include "fuzz/memory_file.h"
#include "fuzz/small_tree.h"
#include "tools/ocmd_sample/covering_lines.h"
#include "tools/ocmd_sample/line_cursor.h"
#include "tools/ocmd_sample/line_numbers.h"
#include "tools/ocmd_sample/line_speller.h"
#include "tools/ocmd_sample/line_writer.h"
#include "tools/ocmd_sample/wrong_lines.h"
#include "tools/support/command_lines.h"
#include "tools/support/types.h"

namespace {

using namespace sample;

constexpr uint64_t kMostLines = 300;

std::string first_lines(const std::string &text, uint64_t count) {
    size_t end = 0;
    for (; count > 0; --count)
        end = text.find('\n', end) + 1;
    return text.substr(0, end);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool is_registered = (tool::register_types(), true);
    want(is_registered);
    Input input{data, size};
    const tool::TreeFile file{store(100, small_bounded_tree(input))};
    const LineNumbers numbers{file};
    Random random{input()};
    LineSpeller types{file, numbers, ValueStyle::kTypes, random};
    LineSpeller values{file, numbers, ValueStyle::kRandom, random};
    LineSpeller typical{file, numbers, ValueStyle::kTypical, random};
    LineCursor type_cursor{numbers, &types};
    LineCursor cursor{numbers, &typical};
    LineChecker checker{file};
    Line line;
    Spelling spelling;
    std::string spelled;
    const uint64_t count = std::min(numbers.count().low(), kMostLines);
    for (uint64_t number = 0; number < count; ++number) {
        numbers.find(number, line);
        types.spell(line, OptionalWords::kWith, spelling);
        spelled += spelling.text + '\n';
        type_cursor.move_to(number);
        want(type_cursor.text() == spelling.text + '\n' && type_cursor.line().nodes == line.nodes,
             spelling.text.c_str());
        cursor.move_to((number ^ 1U) % count);
        const std::string text{cursor.text()};
        want(!cursor.is_certain() ||
                 checker.resolve(std::string_view{text}.substr(0, text.size() - 1)) == TSH_ACCEPTED,
             text.c_str());
        values.spell(line, OptionalWords::kRandom, spelling);
        want(
            spelling.is_doubtful || !spelling.has_value ||
                (checker.resolve(spelling.text) == TSH_ACCEPTED && checker.accepts_saved(spelling)),
            spelling.text.c_str());
    }
    const CapturedOutput output;
    tool::TextOutput text;
    tool::list_lines(file, file.records()[0], text);
    text.flush();
    want(first_lines(output.take(), count) == spelled);

    FlatWriter writer{text};
    WrongLines wrong{values, checker, writer};
    for_each_covering_line(numbers, [&](const Line &covering) { wrong.write(covering); });
    return 0;
}
