// Few values at a time: linear searches.
#include "tools/ocmd_diff/value_changes.h"

#include "tools/support/wording.h"

#include <algorithm>

namespace diff {

namespace {

std::string joined(const std::vector<std::string> &values, bool are_strings) {
    std::string text;
    for (const std::string &value : values)
        (text += text.empty() ? "" : " | ") += are_strings ? tool::double_quoted(value) : value;
    return values.empty() ? "none" : text;
}

} // namespace

void ValueChanges::add(const NamedValues &values, size_t side) {
    for (const auto &[name, value, is_string] : values) {
        auto entry = std::ranges::find(entries_, name, &Entry::name);
        if (entry == entries_.end())
            entry = entries_.insert(entry, {name, {}, is_string});
        std::vector<std::string> &known = entry->sides[side];
        const auto place = std::ranges::lower_bound(known, value);
        if (place == known.end() || *place != value)
            known.insert(place, value);
    }
}

std::vector<Change> ValueChanges::changes(const std::string &word) const {
    std::vector<Change> changes;
    for (const Entry &entry : entries_)
        if (entry.sides[0] != entry.sides[1])
            changes.push_back(
                {word, entry.name, entry.sides[0], entry.sides[1], {}, entry.is_string});
    return changes;
}

std::string Change::text() const {
    if (field.empty())
        return note;
    return (word.empty() ? "" : word + ' ') + field + ' ' + joined(before, is_string) + " -> " +
           joined(after, is_string);
}

} // namespace diff
