// Fields are read by the table that grammars are written and read by, under the same names.
#include "tools/ocmd_diff/field_labels.h"

#include "tools/support/grammar_fields.h"
#include "tools/support/types.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <utility>

namespace diff {

namespace {

using tool::FieldKind;
using tool::GrammarField;

constexpr std::array<std::string_view, 11> kWordKeys{
    "help",        "function",   "terminal", "submode",    "submode_help", "mode",
    "permissions", "interfaces", "token_id", "command_id", "message_type"};

constexpr const char *kNone = "none";

/// Names of fields with their values in text.
using Values = std::vector<std::pair<std::string, std::string>>;

std::string set_text(const void *record, const GrammarField &field) {
    std::string text = "[";
    for (uint32_t number = 0; number < field.size * 8U; ++number)
        if (tool::set_holds(record, field, number))
            (text += text.size() > 1 ? ", " : "") += std::to_string(number);
    return text + ']';
}

std::string value_text(const void *record, const GrammarField &field) {
    switch (field.kind) {
    case FieldKind::kText:
        return tool::double_quoted(tool::text_in(record, field));
    case FieldKind::kSet:
        return set_text(record, field);
    case FieldKind::kFlag:
        return tool::number_in(record, field) != 0 ? "yes" : "no";
    default:
        return std::to_string(tool::number_in(record, field));
    }
}

void add_bounds(const parameter_info_t &parameter, const std::string &name, Values &values) {
    const bool is_unbounded = parameter.int_min == 0 && parameter.int_max == 0;
    const auto add = [&](const char *key, int32_t bound) {
        values.emplace_back(name + key, is_unbounded ? kNone
                                                     : std::to_string(tsh_mask_bound(
                                                           nullptr, parameter.type_mask, bound)));
    };
    if (tool::has_length(parameter)) {
        add(" length", parameter.int_min);
    } else {
        add(" min", parameter.int_min);
        add(" max", parameter.int_max);
    }
}

void add_parameter(const parameter_info_t &parameter, const std::string &name, Values &values) {
    const GrammarField &interfaces = tool::field_of(tool::parameter_fields(), "interfaces");
    values.emplace_back(name + " type", tool::types_text(parameter.type_mask));
    add_bounds(parameter, name, values);
    values.emplace_back(name + " interfaces", value_text(&parameter, interfaces));
}

Values values_of(const tree_node_t &node) {
    Values values;
    for (const std::string_view key : kWordKeys) {
        const GrammarField &field = tool::field_of(tool::word_fields(), key);
        values.emplace_back(field.key, value_text(&node, field));
    }
    for (int i = 0; i < node.param_count; ++i)
        add_parameter(node.params[i], i == 0 ? "parameter" : "second parameter", values);
    return values;
}

std::string joined(const std::set<std::string> &texts) {
    std::string all;
    for (const std::string &text : texts)
        (all += all.empty() ? "" : " | ") += text;
    return texts.empty() ? kNone : all;
}

} // namespace

uint32_t FieldLabels::label_of(std::span<const NodeNumber> nodes) {
    Sayings sayings;
    for (const NodeNumber node : nodes)
        sayings.push_back(saying_of(node));
    std::ranges::sort(sayings);
    sayings.erase(std::unique(sayings.begin(), sayings.end()), sayings.end());
    const auto [place, is_new] =
        labels_.try_emplace(std::move(sayings), static_cast<uint32_t>(sets_.size()));
    if (is_new)
        sets_.push_back(&place->first);
    return place->second;
}

FieldLabels::Saying FieldLabels::saying_of(NodeNumber node) {
    std::string key;
    for (const auto &[name, value] : values_of(automaton_.node(node)))
        key.append(name).append(" ").append(value).append("\n");
    const auto [place, is_new] =
        sayings_.try_emplace(std::move(key), static_cast<Saying>(first_with_.size()));
    if (is_new)
        first_with_.push_back(node);
    return place->second;
}

std::string FieldLabels::changes(uint32_t before, uint32_t after) const {
    struct Sides {
        std::set<std::string> before;
        std::set<std::string> after;
    };
    std::vector<std::string> names; // in the order of the table
    std::map<std::string, Sides> fields;
    const auto gather = [&](uint32_t label, std::set<std::string> Sides::*side) {
        for (const Saying saying : *sets_[label])
            for (auto &[name, value] : values_of(automaton_.node(first_with_[saying]))) {
                const auto [place, is_new] = fields.try_emplace(name);
                if (is_new)
                    names.push_back(name);
                (place->second.*side).insert(value);
            }
    };
    gather(before, &Sides::before);
    gather(after, &Sides::after);

    std::string text;
    for (const std::string &name : names) {
        const Sides &sides = fields[name];
        if (joined(sides.before) != joined(sides.after))
            text +=
                "    " + name + ": " + joined(sides.before) + " -> " + joined(sides.after) + '\n';
    }
    return text.empty() ? "    fields of the same values, put together in other ways\n" : text;
}

} // namespace diff
