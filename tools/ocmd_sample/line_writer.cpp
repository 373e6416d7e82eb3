// Which submodes are entered follows from the nodes of the last line.
#include "tools/ocmd_sample/line_writer.h"

#include <algorithm>

namespace sample {

namespace {

constexpr size_t kIndentation = 2; // for each submode

} // namespace

void LineWriter::write_comment(std::string_view comment) {
    if (!comment.empty())
        output_ << "# " << comment << '\n';
}

// ---- Complete lines ----

void FlatWriter::write(const Line & /*line*/, const Spelling &spelling, bool /*may_enter*/,
                       std::string_view comment) {
    write_comment(comment);
    output_ << spelling.text << '\n';
}

bool FlatWriter::is_accepted(LineChecker &checker, const Spelling &spelling) const {
    return checker.accepts_typed(spelling);
}

tsh_verdict_t FlatWriter::resolve(LineChecker &checker, const Spelling &spelling,
                                  size_t &begin) const {
    begin = 0;
    return checker.resolve(spelling.text);
}

// ---- Configurations ----

void ConfigWriter::write(const Line &line, const Spelling &spelling, bool may_enter,
                         std::string_view comment) {
    leave_others(line);
    const size_t last = spelling.parts.size() - 1;
    for (size_t i = entered_.size(); i < last; ++i) {
        write_part(spelling.part(i), i);
        entered_.push_back(spelling.parts[i].node_count);
    }
    write_comment(comment);
    write_part(spelling.part(last), last);
    last_ = line;
    if (may_enter)
        entered_.push_back(line.nodes.size());
    if (leaves_submode(spelling.part(last)))
        entered_.clear();
}

// A line must have its own nodes in the submodes that it shares with the last line.
void ConfigWriter::leave_others(const Line &line) {
    if (line.record != last_.record)
        entered_.clear();
    const auto common = static_cast<size_t>(std::ranges::mismatch(line.nodes, last_.nodes).in1 -
                                            line.nodes.begin());
    while (!entered_.empty() && (entered_.back() > common || entered_.back() >= line.nodes.size()))
        entered_.pop_back();
}

void ConfigWriter::write_part(std::string_view part, size_t depth) {
    output_.blanks(kIndentation * depth);
    output_ << part << '\n';
}

size_t ConfigWriter::indentation(const Spelling &spelling) const {
    return kIndentation * (spelling.parts.size() - 1);
}

bool ConfigWriter::is_accepted(LineChecker &checker, const Spelling &spelling) const {
    return checker.accepts_saved(spelling);
}

tsh_verdict_t ConfigWriter::resolve(LineChecker &checker, const Spelling &spelling,
                                    size_t &begin) const {
    begin = spelling.parts.back().begin;
    return checker.resolve_saved(spelling);
}

} // namespace sample
