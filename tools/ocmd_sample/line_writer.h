// Sample lines on standard output.
#pragma once

#include "tools/ocmd_sample/line_numbers.h"
#include "tools/ocmd_sample/line_speller.h"
#include "tools/support/text_output.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace sample {

class LineWriter {
public:
    explicit LineWriter(tool::TextOutput &output) : output_(output) {}
    virtual ~LineWriter() = default;
    LineWriter(const LineWriter &) = delete;
    LineWriter &operator=(const LineWriter &) = delete;

    /// Writes a line.
    /// @param may_enter whether lines below the submode that the line enters may follow it.
    /// @param comment is written above the line, unless it is empty.
    virtual void write(const Line &line, const Spelling &spelling, bool may_enter,
                       std::string_view comment = {}) = 0;

    /// The column before the last part of a line.
    [[nodiscard]] virtual size_t indentation(const Spelling &spelling) const = 0;

    /// Whether ocmd_find accepts a line in this form.
    virtual bool is_accepted(LineChecker &checker, const Spelling &spelling) const = 0;

    /// Resolves a line whose parts before the last are accepted. @param begin takes the offset of
    /// what was resolved in the text.
    virtual tsh_verdict_t resolve(LineChecker &checker, const Spelling &spelling,
                                  size_t &begin) const = 0;

    void write_comment(std::string_view comment);

protected:
    tool::TextOutput &output_;
};

/// Each line complete, its parts with " / " between them.
class FlatWriter final : public LineWriter {
public:
    using LineWriter::LineWriter;
    void write(const Line &line, const Spelling &spelling, bool may_enter,
               std::string_view comment) override;
    [[nodiscard]] size_t indentation(const Spelling &) const override { return 0; }
    bool is_accepted(LineChecker &checker, const Spelling &spelling) const override;
    tsh_verdict_t resolve(LineChecker &checker, const Spelling &spelling,
                          size_t &begin) const override;
};

/// The form of a saved configuration: the last part of each line, below the lines that enter its
/// submodes and indented more than they are.
class ConfigWriter final : public LineWriter {
public:
    using LineWriter::LineWriter;
    void write(const Line &line, const Spelling &spelling, bool may_enter,
               std::string_view comment) override;
    [[nodiscard]] size_t indentation(const Spelling &spelling) const override;
    bool is_accepted(LineChecker &checker, const Spelling &spelling) const override;
    tsh_verdict_t resolve(LineChecker &checker, const Spelling &spelling,
                          size_t &begin) const override;

private:
    void leave_others(const Line &line);
    void write_part(std::string_view part, size_t depth);

    Line last_;                   // that was written
    std::vector<size_t> entered_; // submodes of the last line: their numbers of nodes
};

} // namespace sample
