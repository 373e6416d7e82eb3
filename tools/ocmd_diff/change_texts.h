// What differs between two trees at a transition that both have: accepted values and fields.
#pragma once

#include "tools/ocmd_diff/product_automaton.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace diff {

class ChangeTexts {
public:
    explicit ChangeTexts(LineDfa &dfa) : dfa_(dfa) {}

    /// A text for each difference, such as "max 24 -> 12"; none for a transition of one tree.
    const std::vector<std::string> &of(const PairTransition &transition);

private:
    // Value sets of both sides, label sets of both sides, symbol.
    using Key = std::array<uint32_t, 5>;

    Key key_of(const PairTransition &transition);
    [[nodiscard]] std::vector<std::string> texts_of(const Key &key) const;

    LineDfa &dfa_;
    const std::vector<std::string> none_;
    std::map<Key, std::vector<std::string>> texts_;
};

} // namespace diff
