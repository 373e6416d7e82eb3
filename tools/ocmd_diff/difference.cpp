// Edges of two states, matched by atom and merged.
#include "tools/ocmd_diff/difference.h"

namespace diff {

void Difference::append_steps(const Pair &pair, std::vector<PairStep> &steps) {
    const auto olds = states_.edges_of(pair.before.state());
    const auto news = states_.edges_of(pair.after.state());
    match(olds, news);
    size_t next_new = 0; // edges of the new tree alone from there on come next
    for (size_t i = 0; i < olds.size(); ++i) {
        const uint32_t same = new_of_old_[i];
        if (same == kNotInBoth) {
            steps.push_back({olds[i].atom, {olds[i].to, {}}});
            continue;
        }
        append_new(news, next_new, steps);
        const Pair both{olds[i].to, news[same].to};
        if (is_at(both))
            steps.push_back({olds[i].atom, both});
        next_new = same + size_t{1};
    }
    append_new(news, next_new, steps);
}

void Difference::match(std::span<const Edge> olds, std::span<const Edge> news) {
    marks_.forget_all();
    for (size_t i = 0; i < news.size(); ++i)
        marks_.put(news[i].atom, static_cast<uint32_t>(i));
    is_new_alone_.assign(news.size(), true);
    new_of_old_.resize(olds.size());
    for (size_t i = 0; i < olds.size(); ++i) {
        const uint32_t *same = marks_.find(olds[i].atom);
        new_of_old_[i] = same == nullptr ? kNotInBoth : *same;
        if (same != nullptr)
            is_new_alone_[*same] = false;
    }
}

void Difference::append_new(std::span<const Edge> news, size_t from,
                            std::vector<PairStep> &steps) const {
    for (size_t i = from; i < news.size() && is_new_alone_[i]; ++i)
        steps.push_back({news[i].atom, {{}, news[i].to}});
}

} // namespace diff
