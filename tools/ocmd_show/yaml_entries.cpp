// Keys of words and of parameters, by the table of fields.
#include "tools/ocmd_show/yaml_entries.h"

#include "tools/ocmd_show/record_bytes.h"
#include "tools/support/grammar_fields.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"
#include "tools/support/yaml_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string_view>

namespace show {

namespace {

using tool::FieldKind;
using tool::GrammarField;
using tool::yaml_value;

// Numbers in a list, or as a mask when the list would be long.
std::string set_text(std::span<const uint32_t> numbers) {
    constexpr size_t kMostListed = 12;
    std::string text;
    if (numbers.size() <= kMostListed) {
        for (const uint32_t number : numbers)
            text += (text.empty() ? "[" : ", ") + std::to_string(number);
        return text + "]";
    }
    std::array<uint8_t, 32> digits{};
    for (const uint32_t number : numbers)
        digits[number / 4] = static_cast<uint8_t>(digits[number / 4] | 1U << number % 4);
    for (uint32_t digit = numbers.back() / 4 + 1; digit-- > 0;)
        text += "0123456789abcdef"[digits[digit]];
    return "0x" + text;
}

// Bits of the flags that have keys of their own, and interface kinds that kind 0 brings along.
bool goes_without_saying(const void *record, const GrammarField &field, uint32_t number) {
    if ((field.traits & TSH_FIELD_INTERFACES) != 0)
        return (uint64_t{TREE_INTF_IMPLIED} >> number & 1U) != 0 &&
               tool::set_holds(record, field, 0);
    return std::ranges::any_of(tool::word_fields(), [&](const GrammarField &other) {
        return other.kind == FieldKind::kFlag && other.offset == field.offset &&
               field.kind == FieldKind::kSet && other.bit == number;
    });
}

std::string set_in(const void *record, const GrammarField &field) {
    std::vector<uint32_t> numbers;
    for (uint32_t number = 0; number < field.size * 8U; ++number)
        if (tool::set_holds(record, field, number) && !goes_without_saying(record, field, number))
            numbers.push_back(number);
    return numbers.empty() ? "" : set_text(numbers);
}

std::string bytes_in(const void *record, const GrammarField &field) {
    const auto *bytes = static_cast<const uint8_t *>(record) + field.offset;
    std::string text;
    for (const uint8_t byte : without_zeros_at_end({bytes, field.size})) {
        std::array<char, 4> digits;
        snprintf(digits.data(), digits.size(), "%02x", byte);
        text += digits.data();
    }
    return text.empty() ? "" : '"' + text + '"';
}

// A field's value as written; empty when it is what a grammar need not say.
std::string value_of(const void *record, const GrammarField &field) {
    const auto number = [&] { return tool::number_in(record, field); };
    switch (field.kind) {
    case FieldKind::kText: {
        const std::string_view text = tool::text_in(record, field);
        return text.empty() ? "" : yaml_value(text);
    }
    case FieldKind::kNumber:
        return number() == 0 ? "" : std::to_string(number());
    case FieldKind::kSigned:
        return number() == 0 ? "" : std::to_string(static_cast<int64_t>(number()));
    case FieldKind::kFlag:
    case FieldKind::kYesNo:
        return number() == 0 ? "" : number() == 1 ? "yes" : std::to_string(number());
    case FieldKind::kSet:
        return set_in(record, field);
    case FieldKind::kBytes:
        return bytes_in(record, field);
    }
    return "";
}

// Bounds. Those of a text are its longest length, which lies where a lowest value would.
void add_bounds(Entries &entries, const parameter_info_t &parameter) {
    const uint32_t mask = parameter.type_mask;
    const int64_t min = tsh_mask_bound(nullptr, mask, parameter.int_min);
    const int64_t max = tsh_mask_bound(nullptr, mask, parameter.int_max);
    if (tool::has_length(parameter)) {
        add_entry(entries, "length", min == 0 ? "" : std::to_string(min));
        return;
    }
    const bool to_the_greatest = min != 0 && max == tsh_mask_highest_bound(nullptr, mask);
    add_entry(entries, "min", min == 0 ? "" : std::to_string(min));
    add_entry(entries, "max", (min == 0 && max == 0) || to_the_greatest ? "" : std::to_string(max));
}

Entries entries_of_parameter(const parameter_info_t &parameter) {
    Entries entries;
    add_bounds(entries, parameter);
    for (const GrammarField &field : tool::parameter_fields())
        if (field.kind != FieldKind::kSigned)
            add_entry(entries, field.key, value_of(&parameter, field));
    return entries;
}

// The bounds of a word's only parameter stand beside the word's own keys.
void add_parameters(Entries &entries, const tree_node_t &node) {
    std::string list;
    bool all_empty = true;
    bool all_bounds = node.param_count == 1;
    for (const parameter_info_t &parameter : tool::params_of(node)) {
        const Entries own = entries_of_parameter(parameter);
        Entries bounds;
        add_bounds(bounds, parameter);
        all_empty &= own.empty();
        all_bounds &= own == bounds;
        list += (list.empty() ? "[" : ", ") + in_braces(own);
        if (all_bounds)
            entries.insert(entries.end(), bounds.begin(), bounds.end());
    }
    if (!all_empty && !all_bounds)
        add_entry(entries, "parameters", list + "]");
}

std::string submode_value(const tree_node_t &node) {
    Entries texts;
    const auto fields = tool::word_fields();
    add_entry(texts, "help", value_of(&node, tool::field_of(fields, "submode_help")));
    add_entry(texts, "mode", value_of(&node, tool::field_of(fields, "mode")));
    return texts.empty() ? "yes" : in_braces(texts);
}

void add_field(Entries &entries, const tree_node_t &node, const GrammarField &field) {
    const std::string_view key = field.key;
    const bool ends_command = (node.flags & TREE_FLAG_TERMINAL) != 0;
    const bool is_submode = tool::is_submode(node);
    const bool said_by_command = key == "terminal" && node.func_id[0] != '\0';
    const bool said_by_submode = is_submode && (key == "submode_help" || key == "mode");
    if (key == "name" || said_by_command || said_by_submode)
        return;
    if (key == "function" && ends_command)
        add_entry(entries, "command", value_of(&node, field));
    else if (key == "submode" && is_submode)
        add_entry(entries, "submode", submode_value(node));
    else
        add_entry(entries, field.key, value_of(&node, field));
}

} // namespace

void add_entry(Entries &entries, std::string key, std::string value) {
    if (!value.empty())
        entries.emplace_back(std::move(key), std::move(value));
}

std::string in_braces(const Entries &entries) {
    std::string text;
    for (const auto &[key, value] : entries)
        text.append(text.empty() ? "{" : ", ").append(key).append(": ").append(value);
    return text.empty() ? "{}" : text + "}";
}

Entries entries_of(const tree_node_t &node) {
    Entries entries;
    for (const GrammarField &field : tool::word_fields())
        add_field(entries, node, field);
    add_parameters(entries, node);
    return entries;
}

} // namespace show
