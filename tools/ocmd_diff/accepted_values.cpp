// Everything interned: comparing what words accept is comparing numbers.
#include "tools/ocmd_diff/accepted_values.h"

#include "param_reg/values.h"
#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace diff {

namespace {

struct Accepted {
    uint32_t type_mask;
    tsh_bounds_t bounds = TSH_BOUNDS_NONE;
    int64_t low = 0;
    int64_t high = 0;
};

// Whether these bounds exclude no number of any type of the mask. Bounds have 32 bits.
bool are_limits_of_types(const Accepted &accepted) {
    const int64_t highest = tsh_mask_highest_bound(nullptr, accepted.type_mask);
    const bool is_signed = highest == INT32_MAX;
    if (accepted.low > (is_signed ? INT32_MIN : 0) || accepted.high < highest)
        return false;
    uint32_t mask = 0;
    while ((mask = tsh_mask_next_type(accepted.type_mask, mask)) != 0) {
        const tsh_type_t *type = tsh_type_by_mask(nullptr, mask);
        if (type == nullptr || type->bits != 32 || (type->is_signed != 0) != is_signed)
            return false;
    }
    return true;
}

Accepted accepted_by(const parameter_info_t &parameter) {
    Accepted accepted{.type_mask = parameter.type_mask};
    accepted.bounds = tsh_parameter_bounds(nullptr, &parameter, &accepted.low, &accepted.high);
    if (accepted.bounds != TSH_BOUNDS_NUMBERS || !are_limits_of_types(accepted))
        return accepted;
    return {.type_mask = parameter.type_mask};
}

std::string mask_text(uint32_t type_mask) {
    std::string text(tsh_mask_text(nullptr, type_mask, nullptr, 0) + 1, '\0');
    tsh_mask_text(nullptr, type_mask, text.data(), text.size());
    text.pop_back();
    return text;
}

NamedValues named_values(const Accepted &accepted, const std::string &prefix) {
    NamedValues values{{prefix + "type", mask_text(accepted.type_mask)}};
    const auto add = [&](const char *name, int64_t bound) {
        values.push_back({prefix + name, std::to_string(bound)});
    };
    if (accepted.bounds == TSH_BOUNDS_LENGTH)
        add("length", accepted.high);
    if (accepted.bounds != TSH_BOUNDS_NUMBERS)
        return values;
    add("min", accepted.low);
    add("max", accepted.high);
    return values;
}

} // namespace

AcceptedValues::AcceptedValues() {
    sequences_.number_of({}); // kNoValues
    set_of(kNoValues);        // kOnlyNoValues
}

Values AcceptedValues::of_word(const tree_node_t &node) {
    if (node.param_count == 0)
        return kNoValues;
    const std::string spelling = tool::spelled_word(node);
    Word word{spelling.substr(spelling.rfind(' ') + 1), {}};
    std::vector<uint64_t> key{word.symbol.begin(), word.symbol.end()};
    for (const parameter_info_t &parameter : tool::params_of(node)) {
        const Accepted accepted = accepted_by(parameter);
        key.insert(key.end(),
                   {accepted.type_mask, static_cast<uint64_t>(accepted.bounds),
                    static_cast<uint64_t>(accepted.low), static_cast<uint64_t>(accepted.high)});
        const NamedValues values =
            named_values(accepted, word.values.empty() ? "" : "second parameter ");
        word.values.insert(word.values.end(), values.begin(), values.end());
    }
    const uint32_t number = keys_.number_of(key);
    if (number == words_.size())
        words_.push_back(std::move(word));
    return sequences_.number_of(std::array{number});
}

Values AcceptedValues::joined(Values first, Values second) {
    if (first == kNoValues || second == kNoValues)
        return first + second;
    const auto head = sequences_[first];
    std::vector<uint32_t> all{head.begin(), head.end()};
    const auto tail = sequences_[second];
    all.insert(all.end(), tail.begin(), tail.end());
    return sequences_.number_of(all);
}

ValueSet AcceptedValues::set_of(std::vector<Values> &sequences) {
    std::ranges::sort(sequences);
    sequences.erase(std::unique(sequences.begin(), sequences.end()), sequences.end());
    return sets_.number_of(sequences);
}

ValueSet AcceptedValues::set_of(Values sequence) {
    return sets_.number_of(std::array{sequence});
}

std::vector<Change> AcceptedValues::changes(ValueSet before, ValueSet after,
                                            std::string_view last_symbol) const {
    std::vector<Change> all;
    const size_t length = sequences_[sets_[before].front()].size();
    if (have_length(before, length) && have_length(after, length))
        for (size_t i = 0; i < length; ++i) {
            const auto changes =
                changes_of_word(i, before, after, length == 1 ? last_symbol : std::string_view{});
            std::ranges::copy_if(changes, std::back_inserter(all), [&](const Change &change) {
                return std::ranges::find(all, change) == all.end(); // words may have one spelling
            });
        }
    if (all.empty())
        all.push_back({{}, {}, {}, {}, "the same values in other combinations"});
    return all;
}

bool AcceptedValues::have_length(ValueSet set, size_t length) const {
    return std::ranges::all_of(
        sets_[set], [&](Values sequence) { return sequences_[sequence].size() == length; });
}

std::vector<Change> AcceptedValues::changes_of_word(size_t index, ValueSet before, ValueSet after,
                                                    std::string_view last_symbol) const {
    const auto words_before = words_at(index, before);
    const auto words_after = words_at(index, after);
    ValueChanges changes;
    for (const uint32_t word : words_before)
        changes.add_before(words_[word].values);
    for (const uint32_t word : words_after)
        changes.add_after(words_[word].values);
    const std::string &symbol = words_[words_before.front()].symbol;
    return changes.changes(symbol == last_symbol ? "" : symbol);
}

std::vector<uint32_t> AcceptedValues::words_at(size_t index, ValueSet set) const {
    std::vector<uint32_t> words;
    for (const Values sequence : sets_[set])
        words.push_back(sequences_[sequence][index]);
    return words;
}

} // namespace diff
