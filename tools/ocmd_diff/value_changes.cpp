// Few values at a time: linear searches.
#include "tools/ocmd_diff/value_changes.h"

#include <algorithm>

namespace diff {

namespace {

std::string joined(const std::vector<std::string> &values) {
    std::string text;
    for (const std::string &value : values)
        (text += text.empty() ? "" : " | ") += value;
    return values.empty() ? "none" : text;
}

} // namespace

void ValueChanges::add(const NamedValues &values, size_t side) {
    for (const auto &[name, value] : values) {
        auto entry = std::ranges::find(entries_, name, &Entry::name);
        if (entry == entries_.end())
            entry = entries_.insert(entry, {name, {}});
        std::vector<std::string> &known = entry->sides[side];
        const auto place = std::ranges::lower_bound(known, value);
        if (place == known.end() || *place != value)
            known.insert(place, value);
    }
}

std::vector<std::string> ValueChanges::texts(std::string_view before_name) const {
    std::vector<std::string> texts;
    for (const Entry &entry : entries_) {
        std::string text{before_name};
        text += entry.name + ' ' + joined(entry.sides[0]) + " -> " + joined(entry.sides[1]);
        if (entry.sides[0] != entry.sides[1])
            texts.push_back(std::move(text));
    }
    return texts;
}

} // namespace diff
