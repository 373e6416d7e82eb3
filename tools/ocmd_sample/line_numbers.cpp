// Unranking: at each node the number of the line, less the lines before a child, chooses the child.
#include "tools/ocmd_sample/line_numbers.h"

#include "tools/support/command_lines.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace sample {

namespace {

using tool::Count;

// A number of any size, with the precision of double; its fraction is 0 or from 0.5 to 1.
struct Magnitude {
    double fraction = 0;
    int64_t exponent = 0;

    static Magnitude scaled(double fraction, int64_t exponent) {
        int shift = 0;
        fraction = frexp(fraction, &shift);
        return {fraction, fraction == 0 ? 0 : exponent + shift};
    }

    // Their ratio; for a number that is not greater.
    [[nodiscard]] double part_of(const Magnitude &whole) const {
        const int64_t shift = std::max<int64_t>(exponent - whole.exponent, -2000);
        return fraction == 0 ? 0 : ldexp(fraction / whole.fraction, static_cast<int>(shift));
    }

    Magnitude &operator+=(const Magnitude &other) {
        if (other.fraction == 0)
            return *this;
        if (fraction == 0)
            return *this = other;
        const auto aligned = [&](const Magnitude &number, int64_t to) {
            return ldexp(number.fraction,
                         static_cast<int>(std::max<int64_t>(number.exponent - to, -2000)));
        };
        const int64_t greater = std::max(exponent, other.exponent);
        return *this = scaled(aligned(*this, greater) + aligned(other, greater), greater);
    }
};

constexpr uint64_t kMany = UINT64_MAX; // lines: this number or more

// The alternative that a position falls into: the last that begins at or before it.
template <typename Number> size_t choose(std::span<const Number> starts, const Number &position) {
    return static_cast<size_t>(std::ranges::upper_bound(starts, position) - starts.begin()) - 1;
}

double approximation_of(const Count &number) {
    return static_cast<double>(number.high()) * 0x1p64 + static_cast<double>(number.low());
}

size_t first_link(const tool::LinkTable &links, uint16_t node) {
    return static_cast<size_t>(links.below(node).data() - links.below(0).data());
}

} // namespace

LineNumbers::Record::Record(const tool::TreeRecord &record, bool has_root)
    : links(record.nodes), order(tool::children_first(links)), below(links.node_count()),
      divisions(links.node_count()), begins_with_root(has_root) {
    base::HugeVector<uint64_t> lines(links.node_count());
    for (const uint16_t node : order)
        divide(node, lines);
    count = below[0];
    if (begins_with_root && links.has_line(0))
        count += 1;
    measure(*this);
}

// The lines that end at a node or below it.
Count LineNumbers::Record::lines_of(uint16_t node) const {
    Count lines = below[node];
    return lines += links.has_line(node) ? 1 : 0;
}

// Leaves of one parent have equally many lines; so have their parents, if they have equally many.
// @param lines at nodes and below them, known of the children; kMany for so many or more.
void LineNumbers::Record::divide(uint16_t node, base::HugeVector<uint64_t> &lines) {
    const auto children = links.below(node);
    Division &division = divisions[node];
    division.first_link = static_cast<uint32_t>(first_link(links, node));
    division.children = static_cast<uint16_t>(children.size());
    division.has_line = links.has_line(node);
    const uint64_t each = children.empty() ? 0 : lines[children.front()];
    uint64_t sum = 0;
    bool is_equal = true;
    bool overflows = false;
    for (const uint16_t child : children) {
        is_equal &= lines[child] == each;
        overflows |= __builtin_add_overflow(sum, lines[child], &sum);
    }
    if (overflows || sum == kMany) {
        for (const uint16_t child : children)
            below[node] += lines_of(child);
        lines[node] = kMany;
        division.leads_on = true;
        return;
    }
    below[node] = sum;
    lines[node] = sum + (division.has_line ? 1 : 0);
    division.leads_on = sum > 0;
    if (is_equal) {
        division.each = each;
        division.leads_to_ends = each == 1 && std::ranges::all_of(children, [&](uint16_t child) {
                                     return links.has_line(child);
                                 });
        return;
    }
    division.first_start = static_cast<uint32_t>(starts.size());
    uint64_t before = 0;
    for (const uint16_t child : children) {
        starts.push_back(before);
        before += lines[child];
    }
    starts.push_back(before);
}

// Ratios are needed only where numbers do not suffice.
void LineNumbers::measure(Record &record) {
    if (!record.count.is_beyond()) {
        const Magnitude all = Magnitude::scaled(approximation_of(record.count), 0);
        record.fraction = all.fraction;
        record.exponent = all.exponent;
        return;
    }
    const auto last = static_cast<uint16_t>(record.links.node_count() - 1);
    record.ratios.resize(first_link(record.links, last) + record.links.below(last).size());
    std::vector<Magnitude> below(record.links.node_count());
    for (const uint16_t node : record.order) {
        const size_t first = first_link(record.links, node);
        const auto children = record.links.below(node);
        const auto lines_of = [&](uint16_t child) {
            Magnitude lines = below[child];
            return lines += Magnitude::scaled(record.links.has_line(child) ? 1 : 0, 0);
        };
        for (const uint16_t child : children)
            below[node] += lines_of(child);
        if (!record.below[node].is_beyond())
            continue;
        Magnitude before;
        for (size_t i = 0; i < children.size(); ++i) {
            record.ratios[first + i] = before.part_of(below[node]);
            before += lines_of(children[i]);
        }
    }
    record.fraction = below[0].fraction;
    record.exponent = below[0].exponent;
}

LineNumbers::LineNumbers(const tool::TreeFile &file) {
    records_.reserve(file.records().size());
    Magnitude all;
    for (const tool::TreeRecord &record : file.records()) {
        const Record &added = records_.emplace_back(record, tool::begins_with_root(file, record));
        starts_.push_back(count_);
        count_ += added.count;
        all += {added.fraction, added.exponent};
    }
    if (!count_.is_beyond())
        return;
    Magnitude before;
    for (const Record &record : records_) {
        ratios_.push_back(before.part_of(all));
        before += {record.fraction, record.exponent};
    }
}

void LineNumbers::find(const Count &number, Line &line) const {
    line.record = choose<Count>(starts_, number);
    Count rest = number;
    find_in(records_[line.record], rest -= starts_[line.record], line);
}

void LineNumbers::find_in(const Record &record, Count rest, Line &line) {
    line.nodes.clear();
    if (record.begins_with_root) {
        line.nodes.push_back(0);
        if (record.links.has_line(0)) {
            if (rest.is_zero())
                return;
            rest -= 1;
        }
    }
    descend(record, 0, rest, line);
}

void LineNumbers::descend(const Record &record, uint16_t node, Count rest, Line &line) {
    for (;;) {
        const auto children = record.links.below(node);
        if (record.below[node] < Count{kMany}) {
            const Share share = record.table().share(record.divisions[node], rest.low());
            rest -= share.begin;
            node = share.child;
        } else {
            auto child = children.begin();
            for (Count lines; (lines = record.lines_of(*child)) <= rest; ++child)
                rest -= lines;
            node = *child;
        }
        line.nodes.push_back(node);
        if (!record.links.has_line(node))
            continue;
        if (rest.is_zero())
            return;
        rest -= 1;
    }
}

// The lines that end at a node with more lines below it than a number can express are too rare to
// be drawn.
void LineNumbers::pick(Random &random, Line &line) const {
    if (!count_.is_beyond()) {
        find(random.below(count_), line);
        return;
    }
    line.record = choose<double>(ratios_, random.ratio());
    const Record &record = records_[line.record];
    if (!record.count.is_beyond()) {
        find_in(record, random.below(record.count), line);
        return;
    }
    line.nodes.clear();
    if (record.begins_with_root)
        line.nodes.push_back(0);
    uint16_t node = 0;
    while (record.below[node].is_beyond()) {
        const auto children = record.links.below(node);
        const size_t first = first_link(record.links, node);
        node =
            children[choose(std::span<const double>{record.ratios}.subspan(first, children.size()),
                            random.ratio())];
        line.nodes.push_back(node);
    }
    Count lines = record.below[node];
    const uint64_t own = record.links.has_line(node) ? 1 : 0;
    Count rest = random.below(lines += own);
    if (own != 0 && rest.is_zero())
        return;
    descend(record, node, rest -= own, line);
}

} // namespace sample
