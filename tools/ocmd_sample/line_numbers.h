// Numbers of the command lines of a file, from 0 in the order of the listing, and the lines that
// have them. A line is found by descending from the root, without the lines before it.
#pragma once

#include "tools/ocmd_sample/random.h"
#include "tools/support/command_count.h"
#include "tools/support/tree_input.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
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

    /// Returns whether the file is one record with fewer than 2^64 - 1 lines, as LineCursor needs
    /// it.
    [[nodiscard]] bool fits_cursor() const {
        return records_.size() == 1 && count_ < tool::Count{UINT64_MAX};
    }

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

    /// How the lines below a node are divided among its children.
    struct Division {
        uint64_t each = 0;        ///< Lines of each child; 0: not the same number.
        uint32_t first_link = 0;  ///< In links.
        uint32_t first_start = 0; ///< In starts, if each is 0: one for each child and the end.
        uint16_t children = 0;
        bool has_line = false;      ///< A line ends at the node.
        bool leads_on = false;      ///< A line ends at a descendant.
        bool leads_to_ends = false; ///< One line ends at each child, none below the children.
    };

    /// The lines that end at a child or below it: their numbers, counted from 0 for the first line
    /// below its parent.
    struct Share {
        uint16_t child;
        uint64_t begin;
        uint64_t end;
    };

    /// The divisions of a record, with the arrays that they refer to.
    struct Divisions {
        const Division *of; ///< By node.
        const uint16_t *links;
        const uint64_t *starts;

        /// Finds the child whose lines include a number. Fewer than 2^64 - 1 lines are below the
        /// node.
        [[nodiscard]] Share share(const Division &division, uint64_t number) const {
            const uint16_t *children = links + division.first_link;
            if (division.each != 0) {
                const uint64_t child = division.each == 1 ? number : number / division.each;
                const uint64_t begin = child * division.each;
                return {children[child], begin, begin + division.each};
            }
            const uint64_t *all = starts + division.first_start;
            const size_t child = search(all, division.children, number);
            return {children[child], all[child], all[child + 1]};
        }
    };

    [[nodiscard]] Divisions divisions(size_t record) const { return records_[record].table(); }

private:
    /// Children of nodes with more lines than a number can express have ratios that begin at
    /// ratios[i]; ratios are empty if every number is exact.
    struct Record {
        Record(const tool::TreeRecord &record, bool has_root);

        [[nodiscard]] tool::Count lines_of(uint16_t node) const;
        [[nodiscard]] Divisions table() const {
            return {divisions.data(), links.below(0).data(), starts.data()};
        }
        void divide(uint16_t node, base::HugeVector<uint64_t> &lines);

        tool::LinkTable links;
        std::vector<uint16_t> order;
        base::HugeVector<tool::Count> below;
        base::HugeVector<Division> divisions;
        base::HugeVector<uint64_t> starts;
        std::vector<double> ratios; // by link
        bool begins_with_root;
        tool::Count count;
        double fraction = 0; // of all lines, with the exponent: fraction * 2^exponent
        int64_t exponent = 0;
    };

    static size_t search(const uint64_t *starts, size_t count, uint64_t number);
    static void measure(Record &record);
    static void find_in(const Record &record, tool::Count rest, Line &line);
    static void descend(const Record &record, uint16_t node, tool::Count rest, Line &line);

    std::vector<Record> records_;
    std::vector<tool::Count> starts_; // by record
    std::vector<double> ratios_;      // by record
    tool::Count count_;
};

// Interpolates, because siblings often have similar numbers of lines.
inline size_t LineNumbers::search(const uint64_t *starts, size_t count, uint64_t number) {
    if (count == 2)
        return number >= starts[1] ? 1 : 0;
    const double guess = static_cast<double>(count) * static_cast<double>(number) /
                         static_cast<double>(starts[count]);
    size_t at = std::min(static_cast<size_t>(guess), count - 1);
    while (starts[at] > number)
        --at;
    while (starts[at + 1] <= number)
        ++at;
    return at;
}

} // namespace sample
