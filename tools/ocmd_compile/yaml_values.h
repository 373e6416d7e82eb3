// The values of one YAML document as the grammar's reader asks for them, and the telling of what
// they should have been.
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
struct Pair {
    uint32_t key;
    uint32_t value;
};

class YamlValues {
public:
    YamlValues(const YamlDocument &yaml, TextStore &texts, Messages &messages)
        : yaml_(yaml), texts_(texts), messages_(messages) {}

    // ---- Telling ----

    /// Number of errors, those included that were reported before at another alias: equal before
    /// and after means that nothing was wrong in between.
    [[nodiscard]] size_t faults() const { return faults_; }
    /// Counts errors of a value that were reported where it was first read.
    void fault_again(size_t count) { faults_ += count; }
    void fault(Place place, std::string text, std::vector<Note> notes = {});
    /// Tells of a value; of one that takes no room or only begins somewhere, at its key.
    void fault_at(const Pair &pair, std::string text, std::vector<Note> notes = {});
    void fault_at_key(const Pair &pair, std::string text, std::vector<Note> notes = {});
    /// Tells of a key that a mapping does not have, with the one that may have been meant or else
    /// the hint.
    void unknown_key(const Pair &pair, const char *where, std::span<const std::string_view> known,
                     const std::string &hint);
    [[nodiscard]] Note note(Place place, std::string text) const;
    [[nodiscard]] Place place_of(const Pair &pair) const;
    [[nodiscard]] Place key_place(const Pair &pair) const { return yaml_[pair.key].place; }

    // ---- Nodes; aliases are what they name ----

    [[nodiscard]] uint32_t index_of(const Pair &pair) const { return yaml_.resolved(pair.value); }
    [[nodiscard]] const YamlNode &value(const Pair &pair) const { return yaml_[index_of(pair)]; }
    [[nodiscard]] const YamlNode &key(const Pair &pair) const {
        return yaml_[yaml_.resolved(pair.key)];
    }
    [[nodiscard]] YamlKind kind(const Pair &pair) const { return value(pair).kind; }
    /// Whether nothing is written there.
    [[nodiscard]] bool is_empty(const Pair &pair) const;

    /// Items of a sequence; none for another node.
    std::vector<Pair> items(uint32_t sequence);
    /// Pairs of a mapping, none for another node. Keys that are no texts, and those that stand
    /// there a second time, are told of and left out.
    std::vector<Pair> pairs(uint32_t mapping);

    /// A scalar's text. What is none is told of as expected() says it; an alias that leads nowhere
    /// has been told of already.
    template <typename Expected>
    std::optional<std::string_view> text(const Pair &pair, const Expected &expected) {
        if (kind(pair) == YamlKind::kScalar)
            return scalar_text(pair);
        if (kind(pair) != YamlKind::kBroken)
            fault_at(pair, expected());
        return {};
    }

    /// The word that a text stands for.
    std::optional<WordKey> word_key(uint32_t scalar, Place place);

    TextStore &texts() { return texts_; }

private:
    // What aliases may repeat of a document.
    struct Budget {
        size_t nodes;
        size_t bytes; // of scalars
        bool exhausted = false;
    };

    static Budget full_budget(const YamlDocument &yaml);
    bool may_read(const Pair &pair);
    std::optional<std::string_view> scalar_text(const Pair &pair);
    template <typename Value, typename Decode>
    std::optional<Value> decoded_once(std::unordered_map<uint32_t, std::optional<Value>> &known,
                                      uint32_t scalar, const Decode &decode);
    TellPart tell_parts_at(Place whole);
    // What tells keys apart: a text that is tagged stands for other bytes.
    [[nodiscard]] std::pair<std::string_view, bool> tagged_text(const Pair &pair) const {
        return {key(pair).text, key(pair).of_bytes};
    }
    // False only if all keys differ.
    [[nodiscard]] bool may_have_repeats(const std::vector<Pair> &pairs) const;
    std::vector<Pair> without_repeats(const std::vector<Pair> &pairs);

    const YamlDocument &yaml_;
    TextStore &texts_;
    Messages &messages_;
    size_t faults_ = 0;
    Budget left_ = full_budget(yaml_);
    // Of scalars that aliases may repeat.
    std::unordered_map<uint32_t, std::optional<std::string_view>> bytes_;
    std::unordered_map<uint32_t, std::optional<WordKey>> keys_;
};

} // namespace compiler
