// What the keys of a word say of its node: the settings that its record is made of.
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

    /// What the keys of a word say that is no setting.
    struct Rest {
        std::optional<Pair> words;
        std::optional<Pair> marked;
    };

    /// Reads the value of a word, a text or a mapping, the last word of the document so far.
    Rest read(const Pair &pair);

    /// The same in three steps, for a mapping that holds other keys as well: begin, each pair, end.
    void begin();
    bool take(const Pair &pair); ///< False for a key that words do not have.
    Rest end();

    static std::vector<std::string_view> word_keys();
    static std::vector<std::string_view> parameter_keys();
    static std::vector<std::string_view> submode_keys();

private:
    // What a key means: a field, or what a function makes of it.
    struct Rule {
        std::string_view key;
        void (WordReader::*take)(const Pair &pair);
        const tool::GrammarField *field;
    };
    using Rules = std::vector<Rule>;

    static Rules with_fields(Rules rules, std::span<const tool::GrammarField> fields);
    static const Rules &word_rules();
    static const Rules &parameter_rules();
    static const Rules &submode_rules();

    bool take_by(const Rules &rules, const Pair &pair);
    void take_all(const Rules &rules, const Pair &mapping, const char *where);
    void take_field(const Pair &pair, const tool::GrammarField &field);
    void take_text(const Pair &pair, const tool::GrammarField &field, std::string_view text);
    void take_set(const Pair &pair, const tool::GrammarField &field);
    Bits read_set(const Pair &pair, const tool::GrammarField &field);
    void add(const Pair &pair, const tool::GrammarField &field, std::string_view text, Bits number);
    void add_missing_bounds();

    void take_name(const Pair &pair);
    void take_command(const Pair &pair);
    void take_submode(const Pair &pair);
    void take_length(const Pair &pair);
    void take_lowest(const Pair &pair);
    void take_highest(const Pair &pair);
    void take_limit(const Pair &pair, const tool::GrammarField &field, int64_t least,
                    int64_t greatest);
    void take_bound(const Pair &pair);
    void take_parameters(const Pair &pair);
    void take_words(const Pair &pair) { rest_.words = pair; }
    void take_marked(const Pair &pair) { rest_.marked = pair; }

    Word &word() { return document_.words.back(); }

    YamlValues &values_;
    Document &document_;
    uint8_t parameter_ = 0; // what is spoken of: the word, or one of its parameters
    Rest rest_;

    // Sets that aliases may repeat, by node and field.
    struct KnownSet {
        Bits bits;
        size_t faults;
    };
    std::map<std::pair<uint32_t, const tool::GrammarField *>, KnownSet> sets_;
};

} // namespace compiler
