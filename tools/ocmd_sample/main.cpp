// ocmd_sample: command lines to test a device with.
#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_sample/covering_lines.h"
#include "tools/ocmd_sample/line_cursor.h"
#include "tools/ocmd_sample/line_numbers.h"
#include "tools/ocmd_sample/line_speller.h"
#include "tools/ocmd_sample/line_writer.h"
#include "tools/ocmd_sample/random_numbers.h"
#include "tools/ocmd_sample/wrong_lines.h"
#include "tools/support/command_lines.h"
#include "tools/support/program.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"
#include "tools/support/types.h"

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace sample {

namespace {

using tool::CommandLine;
using tool::Count;
using tool::Option;
using tool::refuse;
using tool::Status;

constexpr std::array kOptions{
    Option{0, "random", "N", "Print N random lines, each with the same probability."},
    Option{0, "seed", "S", "Begin the random numbers at S, by default 1."},
    Option{0, "cover", nullptr, "Print few lines that contain every word."},
    Option{0, "lines", "A-B", "Print the lines that the listing has at these numbers, from 1."},
    Option{0, "wrong", nullptr, "Print lines to be refused, each with the reason above it."},
    Option{0, "optional", "WHICH", "Print optional words (with, without or random)."},
    Option{0, "values", "WHICH",
           "Choose values of parameters (typical, lowest, highest, random or types)."},
    Option{0, "flat", nullptr, "Print each line complete, with \" / \" after each submode."},
};

constexpr tool::Program kProgram{
    "ocmd_sample", "FILE",
    "Prints command lines of a tree with values for the parameters, to test a device with: all,\n"
    "or those that an option selects. The output is a configuration: a line that enters a submode\n"
    "stands before the lines below it. FILE is a main par file or a subtree file. Exit status: 0\n"
    "if successful, 1 if the tree is not valid or a line cannot be typed, 2 on error.",
    kOptions};

constexpr uint64_t kMostAtOnce = 1U << 20U; // random lines, which are printed in their order
constexpr int kMostDraws = 4;               // to find values that make a line unambiguous

constexpr std::array<std::pair<std::string_view, ValueStyle>, 5> kValueStyles{
    {{"typical", ValueStyle::kTypical},
     {"lowest", ValueStyle::kLowest},
     {"highest", ValueStyle::kHighest},
     {"random", ValueStyle::kRandom},
     {"types", ValueStyle::kTypes}}};

constexpr std::array<std::pair<std::string_view, OptionalWords>, 3> kOptionalWords{
    {{"with", OptionalWords::kWith},
     {"without", OptionalWords::kWithout},
     {"random", OptionalWords::kRandom}}};

// The meaning of an option's argument; the first one if the option is not given.
template <typename Table> auto chosen(const CommandLine &line, const char *option, Table &table) {
    const char *value = line.value(option);
    if (value == nullptr)
        return table.front().second;
    const auto *const entry = std::ranges::find(table, std::string_view{value},
                                                [](const auto &row) { return row.first; });
    if (entry != table.end())
        return entry->second;
    std::string choices;
    for (const auto &[name, choice] : table)
        choices.append(choices.empty() ? "" : ", ").append(name);
    refuse("invalid argument '%s' of --%s: expected one of %s", value, option, choices.c_str());
}

Count number_of(std::string_view text, const char *option) {
    const std::optional<Count> number = Count::parse(text);
    if (!number)
        refuse("invalid argument '%.*s' of --%s: expected a number", static_cast<int>(text.size()),
               text.data(), option);
    return *number;
}

// Numbers of lines from 0; end is not included.
struct Range {
    Count begin;
    Count end;
};

Range range_of(std::string_view text) {
    const size_t dash = text.find('-');
    if (dash == std::string_view::npos || dash == 0 || dash + 1 == text.size())
        refuse("invalid argument '%.*s' of --lines: expected A-B", static_cast<int>(text.size()),
               text.data());
    Range range{number_of(text.substr(0, dash), "lines"),
                number_of(text.substr(dash + 1), "lines")};
    if (range.begin.is_zero() || range.end < range.begin)
        refuse("invalid argument '%.*s' of --lines: expected A from 1 to B",
               static_cast<int>(text.size()), text.data());
    range.begin -= 1;
    return range;
}

class Sampler {
public:
    Sampler(const tool::TreeFile &file, const CommandLine &line)
        : file_(file), options_(line),
          random_(line.has("seed") ? number_of(line.value("seed"), "seed").low() : 1),
          optional_(chosen(line, "optional", kOptionalWords)),
          values_(chosen(line, "values", kValueStyles)), numbers_(file),
          speller_(file, numbers_, values_, random_), checker_(file) {
        has_texts_ =
            line.has("flat") && optional_ == OptionalWords::kWith && speller_.has_fixed_words();
        if (numbers_.fits_cursor())
            cursor_.emplace(numbers_, has_texts_ ? &speller_ : nullptr);
        if (line.has("flat"))
            writer_ = std::make_unique<FlatWriter>(output_);
        else
            writer_ = std::make_unique<ConfigWriter>(output_);
    }

    Status run() {
        if (options_.has("wrong"))
            write_wrong();
        else if (options_.has("cover"))
            write_cover();
        else if (options_.has("random"))
            write_random(number_of(options_.value("random"), "random"));
        else
            write_range();
        return is_complete_ ? tool::kDone : tool::kNegative;
    }

private:
    void write_wrong() {
        WrongLines wrong{speller_, checker_, *writer_};
        for_each_covering_line(numbers_, [&](const Line &line) { wrong.write(line); });
    }

    void write_cover() {
        std::set<std::pair<size_t, uint16_t>> left_out; // optional submodes
        for_each_covering_line(numbers_, [&](const Line &line) {
            write(line, OptionalWords::kWith);
            write_without(line);
            // The line of a submode may lack the word that lines below it need.
            for (Line above = line; above.nodes.size() > 1;) {
                above.nodes.pop_back();
                const uint16_t node = above.nodes.back();
                const Word &word = speller_.word(above.record, node);
                if (word.has(Word::kSubmode) && word.has(Word::kOptional) &&
                    left_out.insert({above.record, node}).second)
                    write_without(above);
            }
        });
    }

    // Writes the line without its optional words, if it has some.
    void write_without(const Line &line) {
        speller_.spell(line, OptionalWords::kWithout, spelling_);
        if (spelling_.leaves_out)
            write(line, OptionalWords::kWithout);
    }

    void write_random(Count rest) {
        if (cursor_) {
            write_random_numbers(rest);
            return;
        }
        Line line;
        for (; !rest.is_zero() && !numbers_.count().is_zero(); rest -= 1) {
            numbers_.pick(random_, line);
            write(line, optional_);
        }
    }

    void write_random_numbers(Count rest) {
        const uint64_t limit = numbers_.count().low();
        if (has_texts_ && rest > Count{file_.records().front().nodes.size()})
            speller_.learn_all(0);
        while (!rest.is_zero() && limit > 0) {
            const auto drawn = static_cast<size_t>(std::min(rest, Count{kMostAtOnce}).low());
            random_numbers_.draw(drawn, limit, random_,
                                 [this](auto numbers) { write_numbered(numbers); });
            rest -= drawn;
        }
    }

    void write_range() {
        Range range{0, numbers_.count()};
        if (const char *given = options_.value("lines"); given != nullptr) {
            range = range_of(given);
            if (range.begin >= numbers_.count())
                tool::fail("%s: no line %s: the file has %s", file_.name().c_str(),
                           (range.begin += 1).text().c_str(), numbers_.count().text().c_str());
            range.end = std::min(range.end, numbers_.count());
        }
        if (cursor_) {
            write_numbers(range.begin.low(), range.end.low());
            return;
        }
        Line line;
        for (Count number = range.begin; number < range.end; number += 1) {
            numbers_.find(number, line);
            write(line, optional_);
        }
    }

    void write_numbers(uint64_t begin, uint64_t end) {
        constexpr uint64_t kAtOnce = 1024;
        std::vector<uint64_t> numbers;
        for (; begin < end; begin += numbers.size()) {
            numbers.resize(std::min(end - begin, kAtOnce));
            std::iota(numbers.begin(), numbers.end(), begin);
            write_numbered(std::span<const uint64_t>{numbers});
        }
    }

    template <typename Number> void write_numbered(std::span<const Number> numbers) {
        if (has_texts_) {
            cursor_->write(numbers, output_, [this](const Line &line) { write(line, optional_); });
            return;
        }
        for (const Number number : numbers) {
            cursor_->move_to(number);
            write(cursor_->line(), optional_);
        }
    }

    // A value that is the keyword of a sibling would make the line another command.
    bool is_accepted(const Line &line) {
        if (!spelling_.has_value || !spelling_.is_doubtful)
            return spelling_.has_value;
        return writer_->is_accepted(checker_, spelling_) &&
               (spelling_.leaves_out || tsh_answer_reading(checker_.answer(), 0)->command ==
                                            &speller_.node(line, line.nodes.size() - 1));
    }

    // A value that a sibling accepts, too, makes the line ambiguous; other values may not.
    bool spell(const Line &line, OptionalWords optional) {
        for (int attempt = 0; attempt < kMostDraws; ++attempt) {
            speller_.spell(line, optional, spelling_, attempt > 0);
            if (is_accepted(line))
                return true;
        }
        return false;
    }

    void write(const Line &line, OptionalWords optional) {
        if (spell(line, optional)) {
            const tree_node_t &last = speller_.node(line, line.nodes.size() - 1);
            writer_->write(line, spelling_, !spelling_.leaves_out && tool::is_submode(last));
            return;
        }
        is_complete_ = false;
        if (spelling_.has_value && checker_.has_too_many_submodes()) {
            writer_->write_comment("more than " + std::to_string(find::kMostSubmodes) +
                                   " submodes inside one another: " +
                                   std::string{spelling_.part(spelling_.parts.size() - 1)});
            return;
        }
        std::string comment = "cannot be typed:";
        for (size_t i = 0; i < line.nodes.size(); ++i)
            if (const std::string word = tool::spelled_word(speller_.node(line, i)); !word.empty())
                comment += ' ' + word;
        writer_->write_comment(comment);
    }

    const tool::TreeFile &file_;
    const CommandLine &options_;
    tool::TextOutput output_;
    Random random_;
    OptionalWords optional_;
    ValueStyle values_;
    LineNumbers numbers_;
    LineSpeller speller_;
    bool has_texts_ = false; // of the cursor are what is printed
    std::optional<LineCursor> cursor_;
    RandomNumbers random_numbers_;
    LineChecker checker_;
    std::unique_ptr<LineWriter> writer_;
    Spelling spelling_;
    bool is_complete_ = true;
};

Status sample_lines(const CommandLine &line) {
    if (line.operands().size() != 1)
        refuse(line.operands().empty() ? "no file" : "more than one file");
    constexpr std::array kSelections{"random", "cover", "lines", "wrong"};
    if (std::ranges::count_if(kSelections, [&](const char *name) { return line.has(name); }) > 1)
        refuse("only one of --random, --cover, --lines and --wrong may be given");
    for (const char *selection : {"cover", "wrong"})
        if (line.has("optional") && line.has(selection))
            refuse("--optional has no effect with --%s", selection);
    if (line.has("wrong") && chosen(line, "values", kValueStyles) == ValueStyle::kTypes)
        refuse("--wrong needs values, not types");
    tool::register_types();
    const tool::TreeFile file = tool::open_valid(line.operands()[0]);
    return Sampler{file, line}.run();
}

} // namespace

} // namespace sample

int main(int argc, char **argv) {
    return tool::run(sample::kProgram, argc, argv, sample::sample_lines);
}
