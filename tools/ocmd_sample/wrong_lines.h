// Lines that must be refused.
#pragma once

#include "tools/ocmd_sample/line_numbers.h"
#include "tools/ocmd_sample/line_speller.h"
#include "tools/ocmd_sample/line_writer.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace sample {

/// Writes one line for each way in which a word of a covering line can be wrong: a value past each
/// bound, a value in the wrong form, a misspelt keyword, a missing word, a word too many. The
/// comment above a line is the column and the message with which the resolver refuses it; lines
/// that it accepts, or refuses elsewhere, are not written.
class WrongLines {
public:
    WrongLines(const LineSpeller &speller, LineChecker &checker, LineWriter &writer)
        : speller_(speller), checker_(checker), writer_(writer) {}

    void write(const Line &line);

private:
    struct Word {
        std::string text;
        size_t node_index;                 ///< In the line.
        const parameter_info_t *parameter; ///< Null: the keyword.
    };

    [[nodiscard]] bool gather(const Line &line);
    [[nodiscard]] bool begins_part(const Line &line, size_t word) const;
    [[nodiscard]] size_t end_of_part(const Line &line, size_t word) const;
    [[nodiscard]] Spelling join(const Line &line, size_t count) const;
    void make_wrong(const Line &line, size_t word);
    bool replace(const Line &line, size_t word, const std::string &text);
    bool refuses(const Line &line, const Spelling &spelling, size_t place, tsh_verdict_t verdict);

    const LineSpeller &speller_;
    LineChecker &checker_;
    LineWriter &writer_;
    std::vector<Word> words_;
    std::set<std::pair<size_t, uint16_t>> seen_; // record and node
    std::set<std::string> cut_;                  // lines with a word missing
};

} // namespace sample
