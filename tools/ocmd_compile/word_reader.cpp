// Keys of words. Most are fields of the record and are read by the table of fields; the others are
// short for several fields, or speak of the parameters.
#include "tools/ocmd_compile/word_reader.h"

#include "param_reg/values.h"
#include "tools/ocmd_compile/values.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <string>

namespace compiler {

using tool::FieldKind;
using tool::GrammarField;
using tool::quoted;

namespace {

// Fields under another key: a bound that lies where `min` lies, and a function that ends a command.
constexpr GrammarField kLength{"length", FieldKind::kSigned, offsetof(parameter_info_t, int_min),
                               sizeof(parameter_info_t::int_min)};
constexpr GrammarField kCommand{"command", FieldKind::kText, offsetof(tree_node_t, func_id),
                                sizeof(tree_node_t::func_id)};

const GrammarField &word_field(std::string_view key) {
    return tool::field_of(tool::word_fields(), key);
}

const GrammarField &parameter_field(std::string_view key) {
    return tool::field_of(tool::parameter_fields(), key);
}

unsigned bits_of(const GrammarField &field) {
    return field.size * 8U;
}

std::string expected_of(const GrammarField &field) {
    const std::string expected = "invalid " + quoted(field.key) + "; expected ";
    const std::string number = "0 to " + std::to_string((uint64_t{1} << bits_of(field) % 64) - 1);
    switch (field.kind) {
    case FieldKind::kText:
        return expected + "a string";
    case FieldKind::kNumber:
        return expected + number;
    case FieldKind::kYesNo:
        return expected + "yes, no or " + number;
    case FieldKind::kFlag:
        return expected + "yes or no";
    case FieldKind::kSet:
        return expected + "a list of numbers from 0 to " + std::to_string(bits_of(field) - 1) +
               ", or a mask";
    case FieldKind::kSigned: // read by their own rules
    case FieldKind::kBytes:
        break;
    }
    return expected + "up to " + std::to_string(field.size) + " bytes in hexadecimal";
}

// The number that a text stands for in a field of that kind.
std::optional<Bits> number_for(const GrammarField &field, std::string_view text) {
    if (field.kind == FieldKind::kFlag || field.kind == FieldKind::kYesNo)
        if (const std::optional<bool> answer = read_yes_no(text))
            return Bits{*answer ? 1U : 0U, 0};
    if (field.kind == FieldKind::kFlag)
        return {};
    const std::optional<Bits> number = read_number(text);
    return number && fits(*number, bits_of(field)) ? number : std::nullopt;
}

// Returns whether two settings set the same value. A set may contain a bit that has a separate key.
bool same_thing(const GrammarField &a, const GrammarField &b) {
    return a.offset == b.offset && a.bit == b.bit &&
           (a.kind == FieldKind::kSet) == (b.kind == FieldKind::kSet);
}

// Whether two settings are a maximum length and a maximum number.
bool are_two_maxima(const GrammarField &a, const GrammarField &b) {
    static const GrammarField &max = parameter_field("max");
    return (&a == &kLength && &b == &max) || (&a == &max && &b == &kLength);
}

} // namespace

// ---- Rules of the mappings ----

WordReader::Rules WordReader::with_fields(Rules rules, std::span<const GrammarField> fields) {
    for (const GrammarField &field : fields)
        if (std::ranges::find(rules, field.key, &Rule::key) == rules.end())
            rules.push_back({field.key, nullptr, &field});
    return rules;
}

const WordReader::Rules &WordReader::word_rules() {
    static const Rules rules = with_fields({{"name", &WordReader::take_name, nullptr},
                                            {"command", &WordReader::take_command, nullptr},
                                            {"submode", &WordReader::take_submode, nullptr},
                                            {"min", &WordReader::take_bound, nullptr},
                                            {"max", &WordReader::take_bound, nullptr},
                                            {"length", &WordReader::take_bound, nullptr},
                                            {"parameters", &WordReader::take_parameters, nullptr},
                                            {"words", &WordReader::take_words, nullptr},
                                            {"marked", &WordReader::take_marked, nullptr}},
                                           tool::word_fields());
    return rules;
}

const WordReader::Rules &WordReader::parameter_rules() {
    static const Rules rules = with_fields({{"length", &WordReader::take_length, nullptr},
                                            {"min", &WordReader::take_lowest, nullptr},
                                            {"max", &WordReader::take_highest, nullptr}},
                                           tool::parameter_fields());
    return rules;
}

const WordReader::Rules &WordReader::submode_rules() {
    static const Rules rules{{"help", nullptr, &word_field("submode_help")},
                             {"mode", nullptr, &word_field("mode")}};
    return rules;
}

namespace {

template <typename Rules> std::vector<std::string_view> keys_of(const Rules &rules) {
    std::vector<std::string_view> keys(rules.size());
    std::ranges::transform(rules, keys.begin(), [](const auto &rule) { return rule.key; });
    return keys;
}

} // namespace

std::vector<std::string_view> WordReader::word_keys() {
    return keys_of(word_rules());
}

std::vector<std::string_view> WordReader::parameter_keys() {
    return keys_of(parameter_rules());
}

std::vector<std::string_view> WordReader::submode_keys() {
    return keys_of(submode_rules());
}

// ---- A word ----

WordReader::Rest WordReader::read(const KeyValue &pair) {
    begin();
    if (values_.kind(pair) == YamlKind::kMapping)
        take_all(word_rules(), pair, "of a word");
    else if (values_.kind(pair) == YamlKind::kSequence)
        values_.error_at(pair,
                         "invalid value of a word; expected a mapping of keys, or a function name");
    else if (!values_.is_empty(pair))
        take_command(pair);
    return end();
}

void WordReader::begin() {
    word().first_setting = static_cast<uint32_t>(document_.settings.size());
    rest_ = {};
}

bool WordReader::take(const KeyValue &pair) {
    return take_by(word_rules(), pair);
}

WordReader::Rest WordReader::end() {
    add_missing_bounds();
    word().setting_count = static_cast<uint32_t>(document_.settings.size()) - word().first_setting;
    return rest_;
}

bool WordReader::take_by(const Rules &rules, const KeyValue &pair) {
    const std::string_view key = values_.key(pair).text;
    const auto rule = std::ranges::find_if(rules, [key](const Rule &known) {
        return known.key.size() == key.size() && known.key[0] == key[0] && known.key == key;
    });
    if (rule == rules.end())
        return false;
    if (rule->field != nullptr)
        take_field(pair, *rule->field);
    else
        (this->*rule->take)(pair);
    return true;
}

void WordReader::take_all(const Rules &rules, const KeyValue &mapping, const char *where) {
    for (const KeyValue &pair : values_.pairs(values_.index_of(mapping))) {
        if (take_by(rules, pair))
            continue;
        values_.unknown_key(pair, where, keys_of(rules),
                            &rules == &word_rules() ? "; put words under 'words'" : "");
    }
}

// A lowest value alone means that there is no highest.
void WordReader::add_missing_bounds() {
    static const GrammarField &min = parameter_field("min");
    static const GrammarField &max = parameter_field("max");
    for (uint8_t i = 1; i <= word().key.parameter_count; ++i) {
        const auto settings = std::span{document_.settings}.subspan(word().first_setting);
        const auto find = [&](const GrammarField &field) {
            return std::ranges::find_if(settings, [&](const Setting &setting) {
                return setting.field == &field && setting.parameter == i;
            });
        };
        const auto greatest =
            static_cast<uint32_t>(tsh_mask_highest_bound(nullptr, word().key.types[i - 1]));
        if (find(min) != settings.end() && find(max) == settings.end())
            document_.settings.push_back({&max, i, find(min)->place, {}, {greatest, 0}});
    }
}

// ---- Fields ----

void WordReader::take_field(const KeyValue &pair, const GrammarField &field) {
    if (field.kind == FieldKind::kSet && values_.kind(pair) == YamlKind::kSequence) {
        take_set(pair, field);
        return;
    }
    const auto text = values_.text(pair, [&] { return expected_of(field); });
    if (!text)
        return;
    if (field.kind == FieldKind::kText) {
        take_text(pair, field, *text);
    } else if (field.kind == FieldKind::kBytes) {
        const std::optional<std::string> bytes = read_hex_bytes(*text);
        if (bytes && bytes->size() <= field.size)
            add(pair, field, values_.texts().keep(*bytes), {});
        else
            values_.error_at(pair, expected_of(field));
    } else if (const std::optional<Bits> number = number_for(field, *text)) {
        add(pair, field, {}, *number);
    } else {
        values_.error_at(pair, expected_of(field));
    }
}

void WordReader::take_text(const KeyValue &pair, const GrammarField &field, std::string_view text) {
    if (text.size() >= field.size)
        values_.error_at(pair, quoted(field.key) + " too long: " + std::to_string(text.size()) +
                                   " bytes (limit: " + std::to_string(field.size - 1) + ")");
    else if (text.find('\0') != std::string_view::npos)
        values_.error_at(pair, "string contains a NUL byte");
    else
        add(pair, field, text, {});
}

void WordReader::take_set(const KeyValue &pair, const GrammarField &field) {
    const std::pair known{values_.index_of(pair), &field};
    if (const auto set = sets_.find(known); set != sets_.end()) {
        values_.count_errors(set->second.errors);
        add(pair, field, {}, set->second.bits);
        return;
    }
    const size_t errors_before = values_.errors();
    const Bits set = read_set(pair, field);
    if (values_.value(pair).anchored)
        sets_.emplace(known, KnownSet{set, values_.errors() - errors_before});
    add(pair, field, {}, set);
}

Bits WordReader::read_set(const KeyValue &pair, const GrammarField &field) {
    Bits set{};
    for (const KeyValue &item : values_.items(values_.index_of(pair))) {
        const auto text = values_.text(item, [&] { return expected_of(field); });
        const std::optional<Bits> number = text ? read_number(*text) : std::nullopt;
        if (number && (*number)[1] == 0 && (*number)[0] < bits_of(field))
            set[(*number)[0] < 64 ? 0 : 1] |= uint64_t{1} << (*number)[0] % 64;
        else if (text)
            values_.error_at(item, expected_of(field));
    }
    return set;
}

void WordReader::add(const KeyValue &pair, const GrammarField &field, std::string_view text,
                     Bits number) {
    for (const Setting &known : std::span{document_.settings}.subspan(word().first_setting)) {
        if (known.parameter != parameter_ ||
            !(same_thing(*known.field, field) || are_two_maxima(*known.field, field)))
            continue;
        const std::string_view other = known.field->key;
        if (field.kind == FieldKind::kFlag && known.number != number) // of `command` and a key
            values_.error_at(pair,
                             "'command' and '" + std::string{field.key} +
                                 ": no' cannot be combined; use 'function' for a function alone",
                             {values_.note(known.place, "also given here")});
        else if (field.kind != FieldKind::kFlag)
            values_.error_at(pair,
                             other == field.key ? quoted(field.key) + " is given more than once"
                                                : quoted(other) + " and " + quoted(field.key) +
                                                      " cannot be combined",
                             {values_.note(known.place, "also given here")});
        return;
    }
    document_.settings.push_back({&field, parameter_, values_.place_of(pair), text, number});
}

// ---- Keys that are no fields ----

// Kept apart from the settings, since words without one have a name as well.
void WordReader::take_name(const KeyValue &pair) {
    const size_t before = document_.settings.size();
    take_field(pair, word_field("name"));
    if (document_.settings.size() == before)
        return;
    word().name = document_.settings.back().text;
    word().name_place = document_.settings.back().place;
    word().name_given = true;
    document_.settings.pop_back();
}

void WordReader::take_command(const KeyValue &pair) {
    const YamlNode &value = values_.value(pair);
    if (value.kind == YamlKind::kScalar && value.text.empty()) {
        values_.error_at(pair,
                         "'command' requires a function name; use 'terminal: yes' for a command "
                         "without a function");
        return;
    }
    take_field(pair, kCommand);
    add(pair, word_field("terminal"), {}, {1, 0});
}

void WordReader::take_submode(const KeyValue &pair) {
    if (values_.kind(pair) != YamlKind::kMapping) {
        take_field(pair, word_field("submode"));
        return;
    }
    add(pair, word_field("submode"), {}, {1, 0});
    take_all(submode_rules(), pair, "of a submode");
}

void WordReader::take_length(const KeyValue &pair) {
    take_limit(pair, kLength, 0, INT16_MAX);
}

void WordReader::take_lowest(const KeyValue &pair) {
    take_limit(pair, parameter_field("min"), INT32_MIN,
               tsh_mask_highest_bound(nullptr, word().key.types[parameter_ - 1]));
}

void WordReader::take_highest(const KeyValue &pair) {
    take_limit(pair, parameter_field("max"), INT32_MIN,
               tsh_mask_highest_bound(nullptr, word().key.types[parameter_ - 1]));
}

void WordReader::take_limit(const KeyValue &pair, const GrammarField &field, int64_t least,
                            int64_t greatest) {
    const auto expected = [&] {
        return "invalid " + quoted(field.key) + "; expected " + std::to_string(least) + " to " +
               std::to_string(greatest);
    };
    const auto text = values_.text(pair, expected);
    const std::optional<int64_t> number = text ? read_signed(*text) : std::nullopt;
    if (number && *number >= least && *number <= greatest)
        add(pair, field, {}, {static_cast<uint32_t>(*number), 0});
    else if (text)
        values_.error_at(pair, expected());
}

// A key of a word that speaks of its only parameter.
void WordReader::take_bound(const KeyValue &pair) {
    const int count = word().key.parameter_count;
    if (count == 1) {
        parameter_ = 1;
        take_by(parameter_rules(), pair);
        parameter_ = 0;
    } else if (word().sound) {
        const std::string key = quoted(values_.key(pair).text);
        values_.error_at_key(pair, count == 0 ? key + " requires a parameter"
                                              : "for a word with two parameters, give " + key +
                                                    " under 'parameters'");
    }
}

void WordReader::take_parameters(const KeyValue &pair) {
    const size_t count = word().key.parameter_count;
    const std::vector<KeyValue> items = values_.items(values_.index_of(pair));
    if (values_.kind(pair) == YamlKind::kBroken || !word().sound)
        return;
    if (items.size() != count || count == 0) {
        values_.error_at_key(pair, "invalid 'parameters'; expected a list with one mapping per "
                                   "parameter of the word (" +
                                       std::to_string(count) + ")");
        return;
    }
    for (const KeyValue &item : items) {
        ++parameter_;
        if (values_.kind(item) == YamlKind::kMapping)
            take_all(parameter_rules(), item, "of a parameter");
        else if (values_.kind(item) != YamlKind::kBroken && !values_.is_empty(item))
            values_.error_at(item, "invalid parameter; expected a mapping of keys");
    }
    parameter_ = 0;
}

} // namespace compiler
