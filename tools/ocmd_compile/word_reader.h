// Reader for the keys of a word: the settings of its record.
#pragma once

#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/yaml_values.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace compiler {

class WordReader {
public:
    /// Adds what it reads to the document.
    WordReader(YamlValues &values, Document &document) : values_(values), document_(document) {}

    /// Values of a word's keys that are not settings.
    struct Rest {
        std::optional<KeyValue> words;
        std::optional<KeyValue> marked;
    };

    /// Reads the value of the last word of the document so far, a text or a mapping.
    Rest read(const KeyValue &pair);

    /// The same in three steps, for a mapping that contains other keys as well: begin, each key,
    /// end.
    void begin();
    bool take(const KeyValue &pair); ///< Returns false for a key that words do not have.
    Rest end();

    static std::vector<std::string_view> word_keys();
    static std::vector<std::string_view> parameter_keys();
    static std::vector<std::string_view> submode_keys();

private:
    // Meaning of a key: a field, or a function that reads the value.
    struct Rule {
        std::string_view key;
        void (WordReader::*take)(const KeyValue &pair);
        const tool::GrammarField *field;
    };
    using Rules = std::vector<Rule>;

    static Rules with_fields(Rules rules, std::span<const tool::GrammarField> fields);
    static const Rules &word_rules();
    static const Rules &parameter_rules();
    static const Rules &submode_rules();

    bool take_by(const Rules &rules, const KeyValue &pair);
    void take_all(const Rules &rules, const KeyValue &mapping, const char *where);
    void take_field(const KeyValue &pair, const tool::GrammarField &field);
    void take_text(const KeyValue &pair, const tool::GrammarField &field, std::string_view text);
    void take_set(const KeyValue &pair, const tool::GrammarField &field);
    Bits read_set(const KeyValue &pair, const tool::GrammarField &field);
    void add(const KeyValue &pair, const tool::GrammarField &field, std::string_view text,
             Bits number);
    void add_missing_bounds();

    void take_name(const KeyValue &pair);
    void take_command(const KeyValue &pair);
    void take_submode(const KeyValue &pair);
    void take_length(const KeyValue &pair);
    void take_lowest(const KeyValue &pair);
    void take_highest(const KeyValue &pair);
    void take_limit(const KeyValue &pair, const tool::GrammarField &field, int64_t least,
                    int64_t greatest);
    void take_bound(const KeyValue &pair);
    void take_parameters(const KeyValue &pair);
    void take_words(const KeyValue &pair) { rest_.words = pair; }
    void take_marked(const KeyValue &pair) { rest_.marked = pair; }

    Word &word() { return document_.words.back(); }

    YamlValues &values_;
    Document &document_;
    uint8_t parameter_ = 0; // being read: 0 for the word, or a parameter's number
    Rest rest_;

    // Sets that aliases may repeat, by node and field.
    struct KnownSet {
        Bits bits;
        size_t errors;
    };
    std::map<std::pair<uint32_t, const tool::GrammarField *>, KnownSet> sets_;
};

} // namespace compiler
