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

// The alternative that a position falls into: the last that begins at or before it.
template <typename Number> size_t choose(std::span<const Number> starts, const Number &position) {
    return static_cast<size_t>(std::ranges::upper_bound(starts, position) - starts.begin()) - 1;
}

double approximation_of(const Count &number) {
    return static_cast<double>(number.high()) * 0x1p64 + static_cast<double>(number.low());
}

// The same by interpolation: siblings often have about as many lines as one another.
size_t interpolate(std::span<const Count> starts, const Count &number, const Count &end) {
    const auto count = static_cast<double>(starts.size());
    const double guess = count * approximation_of(number) / approximation_of(end);
    size_t at = std::min(static_cast<size_t>(guess), starts.size() - 1);
    while (starts[at] > number)
        --at;
    while (at + 1 < starts.size() && starts[at + 1] <= number)
        ++at;
    return at;
}

size_t first_link(const tool::LinkTable &links, uint16_t node) {
    return static_cast<size_t>(links.below(node).data() - links.below(0).data());
}

} // namespace

LineNumbers::Record::Record(const tool::TreeRecord &record, bool has_root)
    : links(record.nodes), order(tool::children_first(links)),
      below(tool::count_lines_below(links, order)), begins_with_root(has_root), count(below[0]) {
    if (begins_with_root && links.has_line(0))
        count += 1;
    starts.resize(first_link(links, static_cast<uint16_t>(links.node_count() - 1)) +
                  links.below(static_cast<uint32_t>(links.node_count() - 1)).size());
    for (const uint16_t node : order) {
        size_t link = first_link(links, node);
        Count before;
        for (const uint16_t child : links.below(node)) {
            starts[link++] = before;
            before += below[child];
            before += links.has_line(child) ? 1 : 0;
        }
    }
    measure(*this);
}

// Ratios are needed only where numbers do not suffice.
void LineNumbers::measure(Record &record) {
    if (!record.count.is_beyond()) {
        const Magnitude all = Magnitude::scaled(approximation_of(record.count), 0);
        record.fraction = all.fraction;
        record.exponent = all.exponent;
        return;
    }
    record.ratios.resize(record.starts.size());
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
        const size_t first = first_link(record.links, node);
        const std::span<const Count> starts{record.starts};
        const size_t child =
            interpolate(starts.subspan(first, children.size()), rest, record.below[node]);
        rest -= record.starts[first + child];
        node = children[child];
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
