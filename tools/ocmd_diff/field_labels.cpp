// Loops over the tables of fields: everything that a table lists is compared.
#include "tools/ocmd_diff/field_labels.h"

#include "param_reg/values.h"
#include "tools/ocmd_diff/value_changes.h"
#include "tools/support/record_tables.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <span>
#include <utility>

namespace diff {

namespace {

using Field = const tsh_field_t *;
using Fields = std::vector<Field>;

constexpr uint32_t kBitsOfByte = 8;

const Fields &node_fields() {
    static const Fields fields = tool::listed(tool::node_record_fields());
    return fields;
}

const Fields &parameter_fields() {
    static const Fields fields = tool::listed(tool::parameter_record_fields());
    return fields;
}

// Whether the field bounds the values that the word accepts.
bool is_bound(Field field, const parameter_info_t &parameter) {
    const uint32_t bounds = tsh_mask_bounds(nullptr, parameter.type_mask);
    if (field->offset == offsetof(parameter_info_t, int_min))
        return (bounds & (TSH_BOUNDS_NUMBERS | TSH_BOUNDS_LENGTH)) != 0;
    return field->offset == offsetof(parameter_info_t, int_max) &&
           (bounds & TSH_BOUNDS_NUMBERS) != 0;
}

std::string_view bytes_of(Field field, const void *record) {
    const char *bytes = static_cast<const char *>(record) + field->offset;
    const size_t size = size_t{field->width} * field->count;
    return {bytes, field->kind == TSH_FIELD_TEXT ? strnlen(bytes, size) : size};
}

std::string name_of(Field field) {
    return field->key != nullptr ? field->key : field->name;
}

std::string yes_or_no(uint64_t number) {
    constexpr std::array kTexts{"no", "yes"};
    return number < kTexts.size() ? kTexts[number] : std::to_string(number);
}

template <typename Contains> std::string set_text(Field field, Contains contains) {
    std::string text = "[";
    const uint32_t bits = kBitsOfByte * field->width * field->count;
    for (uint32_t number = 0; number < bits; ++number)
        if (contains(number))
            (text += text.size() > 1 ? ", " : "") += std::to_string(number);
    return text + ']';
}

// Hexadecimal digits up to the last byte that is not zero.
std::string digits_of(std::string_view bytes) {
    std::string text;
    const size_t last = bytes.find_last_not_of('\0');
    for (const char byte : bytes.substr(0, last == std::string_view::npos ? 0 : last + 1)) {
        std::array<char, 3> digits;
        snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned>(byte) & 0xFFU);
        text += digits.data();
    }
    return text.empty() ? "none" : text;
}

std::string value_text(Field field, const void *record) {
    switch (field->kind) {
    case TSH_FIELD_TEXT:
        return std::string{bytes_of(field, record)};
    case TSH_FIELD_SET:
        return set_text(
            field, [&](uint32_t number) { return tsh_field_contains(field, record, number) != 0; });
    case TSH_FIELD_SIGNED:
        return std::to_string(static_cast<int64_t>(tsh_field_number(field, record)));
    case TSH_FIELD_BYTES:
        return digits_of(bytes_of(field, record));
    default:
        return (field->traits & TSH_FIELD_YES_NO) != 0
                   ? yes_or_no(tsh_field_number(field, record))
                   : std::to_string(tsh_field_number(field, record));
    }
}

// Flags with keys are named, the others are numbers of a set.
void add_flags(Field field, const void *record, NamedValues &values) {
    const auto has_key = [](uint32_t bit) {
        return std::ranges::any_of(tool::node_flags(), [&](const tsh_flag_t &flag) {
            return flag.bit == bit && flag.key != nullptr;
        });
    };
    for (const tsh_flag_t &flag : tool::node_flags())
        if (flag.key != nullptr)
            values.push_back({flag.key, yes_or_no(static_cast<uint64_t>(
                                            tsh_field_contains(field, record, flag.bit)))});
    values.push_back({name_of(field), set_text(field, [&](uint32_t bit) {
                          return tsh_field_contains(field, record, bit) != 0 && !has_key(bit);
                      })});
}

NamedValues values_of(const tree_node_t &node) {
    NamedValues values;
    const auto add = [&](std::string name, Field field, const void *record) {
        values.push_back(
            {std::move(name), value_text(field, record), field->kind == TSH_FIELD_TEXT});
    };
    for (const Field field : node_fields())
        if (field->kind == TSH_FIELD_FLAGS)
            add_flags(field, &node, values);
        else
            add(name_of(field), field, &node);
    std::string prefix = "parameter ";
    for (const parameter_info_t &parameter : tool::params_of(node)) {
        for (const Field field : parameter_fields())
            if (!is_bound(field, parameter))
                add(prefix + name_of(field), field, &parameter);
        prefix = "second parameter ";
    }
    return values;
}

} // namespace

uint32_t FieldLabels::label_of(const tree_node_t &node) {
    const auto append = [this](Field field, const void *record) {
        bytes_.append(bytes_of(field, record)).append(1, '\0');
    };
    bytes_.clear();
    for (const Field field : node_fields())
        append(field, &node);
    for (const parameter_info_t &parameter : tool::params_of(node))
        for (const Field field : parameter_fields())
            if (!is_bound(field, parameter))
                append(field, &parameter);
    const uint32_t label = values_.number_of(bytes_);
    if (label == first_with_.size())
        first_with_.push_back(&node);
    return label;
}

uint32_t FieldLabels::set_of(std::vector<uint32_t> &labels) {
    std::ranges::sort(labels);
    labels.erase(std::unique(labels.begin(), labels.end()), labels.end());
    return sets_.number_of(labels);
}

std::vector<Change> FieldLabels::changes(uint32_t before, uint32_t after) const {
    ValueChanges changes;
    for (const uint32_t label : sets_[before])
        changes.add_before(values_of(*first_with_[label]));
    for (const uint32_t label : sets_[after])
        changes.add_after(values_of(*first_with_[label]));
    auto all = changes.changes();
    if (all.empty())
        all.push_back({{}, {}, {}, {}, "the same fields in other combinations"});
    return all;
}

} // namespace diff
