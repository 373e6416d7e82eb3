// The table of fields, and the words and names that follow from a record.
#include "tools/support/grammar_fields.h"

#include "base/bit_array.h"
#include "tools/support/record_tables.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdio>
#include <cstring>

namespace tool {

namespace {

FieldKind kind_of(const tsh_field_t &field) {
    switch (field.kind) {
    case TSH_FIELD_TEXT:
        return FieldKind::kText;
    case TSH_FIELD_SIGNED:
        return FieldKind::kSigned;
    case TSH_FIELD_SET:
    case TSH_FIELD_FLAGS:
        return FieldKind::kSet;
    case TSH_FIELD_BYTES:
        return FieldKind::kBytes;
    default:
        return (field.traits & TSH_FIELD_YES_NO) != 0 ? FieldKind::kYesNo : FieldKind::kNumber;
    }
}

using GrammarFields = std::vector<GrammarField>;

GrammarFields fields_with_keys(std::span<const tsh_field_t> fields,
                               std::span<const tsh_flag_t> flags) {
    GrammarFields keyed;
    for (const tsh_field_t &field : fields) {
        const auto size = static_cast<uint16_t>(field.width * field.count);
        if (field.key != nullptr)
            keyed.push_back(
                {field.key, kind_of(field), field.offset, size, 0, field.traits, field.key_order});
        if (field.kind != TSH_FIELD_FLAGS)
            continue;
        for (const tsh_flag_t &flag : flags)
            if (flag.key != nullptr)
                keyed.push_back({flag.key, FieldKind::kFlag, field.offset, size,
                                 static_cast<uint8_t>(flag.bit), 0, flag.key_order});
    }
    std::ranges::sort(keyed, {}, &GrammarField::order);
    return keyed;
}

const uint8_t *place(const void *record, const GrammarField &field) {
    return static_cast<const uint8_t *>(record) + field.offset;
}

uint8_t *place(void *record, const GrammarField &field) {
    return static_cast<uint8_t *>(record) + field.offset;
}

template <typename Word> Word load(const uint8_t *bytes) {
    Word word;
    memcpy(&word, bytes, sizeof word);
    return word;
}

uint64_t whole_number(const void *record, const GrammarField &field) {
    const uint8_t *bytes = place(record, field);
    switch (field.size) {
    case sizeof(uint16_t):
        return load<uint16_t>(bytes);
    case sizeof(uint32_t):
        return load<uint32_t>(bytes);
    default:
        return load<uint64_t>(bytes);
    }
}

void put_whole_number(void *record, const GrammarField &field, uint64_t number) {
    uint8_t *bytes = place(record, field);
    const auto half = static_cast<uint16_t>(number);
    const auto word = static_cast<uint32_t>(number);
    switch (field.size) {
    case sizeof half:
        memcpy(bytes, &half, sizeof half);
        break;
    case sizeof word:
        memcpy(bytes, &word, sizeof word);
        break;
    default:
        memcpy(bytes, &number, sizeof number);
    }
}

// Sets of more numbers than a word has bits are bit arrays.
bool is_bit_array(const GrammarField &field) {
    return field.size > sizeof(uint64_t);
}

// Returns whether the character is escaped in names: it would make names ambiguous, or break attach
// paths or output lines.
bool needs_escape(char c) {
    return is_control(c) || c == ' ' || c == '.' || c == ',' || c == '%' || c == '<';
}

void append_escaped(std::string &text, std::string_view keyword) {
    while (!keyword.empty()) {
        const auto *const end = std::ranges::find_if(keyword, needs_escape);
        const auto size = static_cast<size_t>(end - keyword.begin());
        text += keyword.substr(0, size);
        if (size == keyword.size())
            return;
        char code[4];
        snprintf(code, sizeof code, "%%%02x", static_cast<unsigned char>(*end));
        text += code;
        keyword.remove_prefix(size + 1);
    }
}

std::string parameter_keys(std::span<const uint32_t> type_masks, const char *between) {
    std::string text;
    for (const uint32_t mask : type_masks) {
        text += text.empty() ? "" : between;
        text.append("<").append(types_text(mask)).append(">");
    }
    return text;
}

// FNV-1a of 64 bits.
uint64_t hash_of(std::string_view text) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return hash;
}

// A name within its field. Cuts fall between characters of UTF-8.
std::string fitting(std::string name) {
    constexpr size_t kMostBytes = TREE_NAME_SIZE - 1;
    constexpr size_t kHead = 34;
    constexpr size_t kTail = 15;
    if (name.size() <= kMostBytes)
        return name;
    size_t head = kHead;
    while (head > 0 && is_inside_character(name[head]))
        --head;
    size_t tail = name.size() - kTail;
    while (tail < name.size() && is_inside_character(name[tail]))
        ++tail;
    constexpr uint64_t kTwelveDigits = 0xFFFFFFFFFFFF;
    char digits[16];
    snprintf(digits, sizeof digits, "~%012llx~",
             static_cast<unsigned long long>(hash_of(name) & kTwelveDigits));
    return name.substr(0, head) + digits + name.substr(tail);
}

} // namespace

std::span<const GrammarField> word_fields() {
    static const GrammarFields fields = fields_with_keys(node_record_fields(), node_flags());
    return fields;
}

std::span<const GrammarField> parameter_fields() {
    static const GrammarFields fields = fields_with_keys(parameter_record_fields(), {});
    return fields;
}

const GrammarField &field_of(std::span<const GrammarField> fields, std::string_view key) {
    const auto found =
        std::ranges::find_if(fields, [&](const GrammarField &field) { return field.key == key; });
    assert(found != fields.end());
    return *found;
}

std::string_view text_in(const void *record, const GrammarField &field) {
    const auto *text = reinterpret_cast<const char *>(place(record, field));
    return {text, strnlen(text, field.size)};
}

uint64_t number_in(const void *record, const GrammarField &field) {
    const uint64_t number = whole_number(record, field);
    if (field.kind == FieldKind::kFlag)
        return number >> field.bit & 1U;
    if (field.kind == FieldKind::kSigned)
        return static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(number)));
    return number;
}

bool set_holds(const void *record, const GrammarField &field, uint32_t number) {
    if (is_bit_array(field))
        return base::is_in_set(place(record, field), number);
    return (whole_number(record, field) >> number & 1U) != 0;
}

void put_text(void *record, const GrammarField &field, std::string_view text) {
    memcpy(place(record, field), text.data(), text.size());
}

void put_number(void *record, const GrammarField &field, uint64_t number) {
    if (field.kind != FieldKind::kFlag) {
        put_whole_number(record, field, number);
        return;
    }
    const uint64_t others = whole_number(record, field) & ~(uint64_t{1} << field.bit);
    put_whole_number(record, field, others | number << field.bit);
}

void put_in_set(void *record, const GrammarField &field, uint32_t number) {
    if (is_bit_array(field)) {
        base::put_in_set(place(record, field), number);
        return;
    }
    put_whole_number(record, field, whole_number(record, field) | uint64_t{1} << number);
}

std::string name_below_redirect_root(const std::unordered_set<std::string_view> &taken) {
    std::string name{kBelowRedirectRoot};
    for (int number = 2; taken.contains(name); ++number)
        name = std::string{kBelowRedirectRoot} + '_' + std::to_string(number);
    return name;
}

std::string word_key(std::string_view token, std::span<const uint32_t> type_masks) {
    if (token.empty() && type_masks.empty())
        return "<>";
    return std::string{token} + parameter_keys(type_masks, " ");
}

std::string made_name(std::string_view parent_name, std::string_view token,
                      std::span<const uint32_t> type_masks) {
    std::string name;
    name.reserve(parent_name.size() + token.size() + 1);
    name = parent_name;
    if (!name.empty())
        name += '.';
    if (token.empty() && type_masks.empty())
        name += "<>";
    append_escaped(name, token);
    if (!type_masks.empty())
        name += parameter_keys(type_masks, "");
    return fitting(std::move(name));
}

} // namespace tool
