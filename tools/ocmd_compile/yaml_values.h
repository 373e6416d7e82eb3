// Access to the values of one YAML document, with reports of unexpected ones.
#pragma once

#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/word_key.h"
#include "tools/ocmd_compile/yaml_tree.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace compiler {

/// A value with its key, by their indices in the document. An item of a list is its own key.
struct KeyValue {
    uint32_t key;
    uint32_t value;
};

class YamlValues {
public:
    YamlValues(const YamlDocument &yaml, TextStore &texts, Messages &messages)
        : yaml_(yaml), texts_(texts), messages_(messages) {}

    // ---- Reports ----

    /// Number of errors, those included that were reported before at another alias: equal before
    /// and after means that nothing was wrong in between.
    [[nodiscard]] size_t errors() const { return errors_; }
    /// Counts errors of a value that were reported where it was first read.
    void count_errors(size_t count) { errors_ += count; }
    void error(SourceRange place, std::string text, std::vector<Note> notes = {});
    /// Reports an error of a value; if the value is empty or a collection, at its key.
    void error_at(const KeyValue &pair, std::string text, std::vector<Note> notes = {});
    void error_at_key(const KeyValue &pair, std::string text, std::vector<Note> notes = {});
    /// Reports an unknown key of a mapping, with a similar one, or else the hint.
    void unknown_key(const KeyValue &pair, const char *where,
                     std::span<const std::string_view> known, const std::string &hint);
    [[nodiscard]] Note note(SourceRange place, std::string text) const;
    [[nodiscard]] SourceRange place_of(const KeyValue &pair) const;
    [[nodiscard]] SourceRange key_place(const KeyValue &pair) const {
        return yaml_[pair.key].place;
    }

    // ---- Nodes; an alias stands for its node ----

    [[nodiscard]] uint32_t index_of(const KeyValue &pair) const {
        return yaml_.resolved(pair.value);
    }
    [[nodiscard]] const YamlNode &value(const KeyValue &pair) const {
        return yaml_[index_of(pair)];
    }
    [[nodiscard]] const YamlNode &key(const KeyValue &pair) const {
        return yaml_[yaml_.resolved(pair.key)];
    }
    [[nodiscard]] YamlKind kind(const KeyValue &pair) const { return value(pair).kind; }
    /// Returns whether nothing is written there.
    [[nodiscard]] bool is_empty(const KeyValue &pair) const;

    /// Returns the items of a sequence; none for another node.
    std::vector<KeyValue> items(uint32_t sequence);
    /// Returns the keys of a mapping with their values; none for another node. Reports and skips
    /// keys that are not scalars, and repeated keys.
    std::vector<KeyValue> pairs(uint32_t mapping);

    /// Returns the text of a scalar. Reports any other node with the text of expected(), but not an
    /// undefined alias, which was already reported.
    template <typename Expected>
    std::optional<std::string_view> text(const KeyValue &pair, const Expected &expected) {
        if (kind(pair) == YamlKind::kScalar)
            return scalar_text(pair);
        if (kind(pair) != YamlKind::kBroken)
            error_at(pair, expected());
        return {};
    }

    /// Parses the key of a word.
    std::optional<WordKey> word_key(uint32_t scalar, SourceRange place);

    TextStore &texts() { return texts_; }

private:
    // What aliases may still repeat of a document.
    struct Budget {
        size_t nodes;
        size_t bytes; // of scalars
        bool exhausted = false;
    };

    static Budget full_budget(const YamlDocument &yaml);
    bool may_read(const KeyValue &pair);
    std::optional<std::string_view> scalar_text(const KeyValue &pair);
    template <typename Value, typename Decode>
    std::optional<Value> decoded_once(std::unordered_map<uint32_t, std::optional<Value>> &known,
                                      uint32_t scalar, const Decode &decode);
    PartReporter part_reporter_at(SourceRange whole);
    // Identity of a key: the same text with a tag stands for other bytes.
    [[nodiscard]] std::pair<std::string_view, bool> tagged_text(const KeyValue &pair) const {
        return {key(pair).text, key(pair).of_bytes};
    }
    // Returns false only if all keys differ.
    [[nodiscard]] bool may_have_repeats(const std::vector<KeyValue> &pairs) const;
    std::vector<KeyValue> without_repeats(const std::vector<KeyValue> &pairs);

    const YamlDocument &yaml_;
    TextStore &texts_;
    Messages &messages_;
    size_t errors_ = 0;
    Budget left_ = full_budget(yaml_);
    // Of scalars that aliases may repeat.
    std::unordered_map<uint32_t, std::optional<std::string_view>> bytes_;
    std::unordered_map<uint32_t, std::optional<WordKey>> keys_;
};

} // namespace compiler
