// The grammar in memory, between its text and its records: the result of reading, and the input of
// checks and layout. It is compact: a word takes some hundred bytes, a record a thousand.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_compile/source_file.h"
#include "tools/support/grammar_fields.h"

#include <array>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace compiler {

/// A number of up to 128 bits or a set of numbers 0 to 127, the low 64 first.
using Bits = std::array<uint64_t, 2>;

/// The value of a field of a word or of one of its parameters.
struct Setting {
    const tool::GrammarField *field;
    uint8_t parameter; ///< 0: of the word itself; 1, 2: of that parameter.
    SourceRange place; ///< Of the value.
    std::string_view text;
    Bits number{};
};

/// A word as its key spells it.
struct WordKey {
    std::string_view token; ///< Empty at a parameter position and for a node without a word.
    std::array<uint32_t, TREE_MAX_PARAMS> types{};
    uint8_t parameter_count = 0;

    bool operator==(const WordKey &) const = default;
    [[nodiscard]] std::span<const uint32_t> masks() const {
        return {types.data(), parameter_count};
    }
};

/// A link from a word to a child.
struct Link {
    uint32_t child;    ///< Index of the word; kNoWord if it could not be made because of errors.
    SourceRange place; ///< Of its key in this list.
};
constexpr uint32_t kNoWord = UINT32_MAX;

/// One node.
struct Word {
    WordKey key;
    SourceRange place; ///< Of its first key; of a root, that of the document.
    std::string_view name;
    SourceRange name_place; ///< Of its name if that is given, else of its key.
    bool name_given = false;
    bool exact_token = false; ///< The key was tagged "!bytes".
    bool sound = true;        ///< It has no errors.
    uint32_t first_setting = 0;
    uint32_t setting_count = 0;
    uint32_t first_link = 0;
    uint32_t link_count = 0;
};

/// Marked links of a word: position i at bit i % 8 of byte i / 8, as in its record.
struct Marks {
    uint32_t word;
    std::array<uint8_t, sizeof tree_node_t::child_link_bits> bits{};
};

/// One subtree, or a root. Its words are in the order of their records: in preorder, a shared word
/// below its first parent. Links lead to later words, or to shared words that are earlier, like all
/// their descendants.
struct Document {
    const SourceFile *file = nullptr;
    SourceRange place; ///< Its beginning.
    bool is_root = false;
    bool wants_redirect_root = true;
    bool complete = false; ///< It was read to its end.
    std::string attach_path;
    SourceRange attach_place;
    uint32_t version = 1;
    uint32_t path_kind = 2;
    base::HugeVector<Word> words;
    base::HugeVector<Setting> settings;
    base::HugeVector<Link> links;
    std::vector<Marks> marks; ///< In the order of their words.
    std::vector<uint32_t>
        finished; ///< Words in the order in which their descendants were complete.

    [[nodiscard]] std::span<const Setting> settings_of(const Word &word) const {
        return std::span{settings}.subspan(word.first_setting, word.setting_count);
    }
    [[nodiscard]] std::span<const Link> links_of(const Word &word) const {
        return std::span{links}.subspan(word.first_link, word.link_count);
    }
};

/// All documents of a run, with the files and texts that they refer to.
struct Grammar {
    std::deque<SourceFile> files;
    TextStore texts;
    std::vector<Document> documents;
};

} // namespace compiler
