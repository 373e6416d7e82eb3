// Disjoint sets: a forest with path halving.
#pragma once

#include <cstdint>
#include <numeric>
#include <vector>

namespace diff {

class UnionFind {
public:
    /// Returns the representative of the element's set. Elements that were never united are alone.
    uint32_t find(uint32_t element) {
        if (element >= parents_.size())
            return element;
        while (parents_[element] != element)
            element = parents_[element] = parents_[parents_[element]];
        return element;
    }

    void unite(uint32_t one, uint32_t other) {
        one = find(one);
        other = find(other);
        const uint32_t least = one < other ? one : other; // the older state, usually the old tree's
        parents_at(one) = least;
        parents_at(other) = least;
    }

private:
    uint32_t &parents_at(uint32_t element) {
        if (element >= parents_.size()) {
            const size_t known = parents_.size();
            parents_.resize(2 * (element + size_t{1}));
            std::iota(parents_.begin() + static_cast<std::ptrdiff_t>(known), parents_.end(),
                      static_cast<uint32_t>(known));
        }
        return parents_[element];
    }

    std::vector<uint32_t> parents_;
};

} // namespace diff
