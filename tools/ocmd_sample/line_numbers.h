// Numbers of the command lines of a file, from 0 in the order of the listing, and the lines that
// have them. A line is found by descending from the root, without the lines before it.
#pragma once

#include "tools/ocmd_sample/random.h"
#include "tools/support/command_count.h"
#include "tools/support/tree_input.h"
#include "tools/support/tree_shape.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sample {

/// A command line: nodes of a record from the first word to the last, those without a word
/// included.
struct Line {
    size_t record = 0;
    std::vector<uint16_t> nodes;
};

class LineNumbers {
public:
    /// Counts the lines of a valid file, which must outlive this.
    explicit LineNumbers(const tool::TreeFile &file);

    /// The number of all lines.
    [[nodiscard]] const tool::Count &count() const { return count_; }

    /// Finds the line of a number, which is less than count().
    void find(const tool::Count &number, Line &line) const;

    /// Finds a random line, each with the same probability. While more lines lie below a node than
    /// a Count can express, one of its children is chosen by the ratio of their lines, rounded to
    /// 53 bits. There is a line.
    void pick(Random &random, Line &line) const;

    /// The links of a record.
    [[nodiscard]] const tool::LinkTable &links(size_t record) const {
        return records_[record].links;
    }

    /// The nodes of a record that the root reaches, children first.
    [[nodiscard]] const std::vector<uint16_t> &children_first(size_t record) const {
        return records_[record].order;
    }

    /// Whether a line ends at the node or at one of its descendants.
    [[nodiscard]] bool has_lines(size_t record, uint16_t node) const {
        const Record &in = records_[record];
        return in.links.has_line(node) || !in.below[node].is_zero();
    }

    /// Whether lines of the record begin with its root.
    [[nodiscard]] bool begins_with_root(size_t record) const {
        return records_[record].begins_with_root;
    }

    [[nodiscard]] size_t record_count() const { return records_.size(); }

private:
    /// Alternatives of a choice have numbers that begin at starts[i], and ratios that begin at
    /// ratios[i]; ratios are empty if every number is exact.
    struct Record {
        Record(const tool::TreeRecord &record, bool has_root);

        tool::LinkTable links;
        std::vector<uint16_t> order;
        base::HugeVector<tool::Count> below;
        std::vector<tool::Count> starts; // by link
        std::vector<double> ratios;      // by link
        bool begins_with_root;
        tool::Count count;
        double fraction = 0; // of all lines, with the exponent: fraction * 2^exponent
        int64_t exponent = 0;
    };

    static void measure(Record &record);
    static void find_in(const Record &record, tool::Count rest, Line &line);
    static void descend(const Record &record, uint16_t node, tool::Count rest, Line &line);

    std::vector<Record> records_;
    std::vector<tool::Count> starts_; // by record
    std::vector<double> ratios_;      // by record
    tool::Count count_;
};

} // namespace sample
