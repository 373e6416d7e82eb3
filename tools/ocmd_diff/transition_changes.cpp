// Changes are found once for transitions with the same values, labels and symbol.
#include "tools/ocmd_diff/transition_changes.h"

namespace diff {

const std::vector<Change> &TransitionChanges::of(const PairTransition &transition) {
    if (!transition.to.is_of_both())
        return none_;
    const Key key = key_of(transition);
    if (key[0] == key[1] && key[2] == key[3])
        return none_;
    const auto [place, is_new] = changes_.try_emplace(key);
    if (is_new)
        place->second = changes_of(key);
    return place->second;
}

// Values differ either where they are output, or where a line ends while they are pending.
TransitionChanges::Key TransitionChanges::key_of(const PairTransition &transition) {
    const auto &[before, after] = transition.to;
    Key key{kOnlyNoValues, kOnlyNoValues, dfa_.labels_of(before.state()),
            dfa_.labels_of(after.state()), transition.symbol};
    if (transition.before != transition.after) {
        key[0] = dfa_.set_of(transition.before);
        key[1] = dfa_.set_of(transition.after);
    } else if (dfa_.is_final(before) && dfa_.is_final(after)) {
        key[0] = dfa_.final_values(before.state());
        key[1] = dfa_.final_values(after.state());
    }
    return key;
}

std::vector<Change> TransitionChanges::changes_of(const Key &key) const {
    std::vector<Change> changes;
    if (key[0] != key[1])
        changes = dfa_.nfa().values().changes(key[0], key[1], dfa_.nfa().symbols().text(key[4]));
    if (key[2] == key[3])
        return changes;
    const auto fields = dfa_.labels()->changes(key[2], key[3]);
    changes.insert(changes.end(), fields.begin(), fields.end());
    return changes;
}

} // namespace diff
