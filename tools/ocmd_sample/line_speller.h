// Spelling of command lines with values.
#pragma once

#include "tools/ocmd_find/file_grammar.h"
#include "tools/ocmd_sample/line_numbers.h"
#include "tools/ocmd_sample/random.h"
#include "tools/support/tree_input.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace sample {

/// Values of parameters; kTypes spells words as the listing does: <INTEGER>[o].
enum class ValueStyle : uint8_t { kTypical, kLowest, kHighest, kRandom, kTypes };

/// Whether optional words are part of a line, or are so by chance.
enum class OptionalWords : uint8_t { kWith, kWithout, kRandom };

/// A line as it is typed, a submode followed by " / ".
struct Spelling {
    /// The words up to a submode or to the end.
    struct Part {
        size_t begin; ///< In text.
        size_t end;
        size_t node_count; ///< Nodes of the line up to its end.
    };
    std::string text;
    std::vector<Part> parts;
    bool is_doubtful = false; ///< The line may be ambiguous, or may not be typed at all.
    bool has_value = true;    ///< Every parameter has a value, and every word can be printed.
    bool leaves_out = false;  ///< Optional words were left out.

    [[nodiscard]] std::string_view part(size_t number) const {
        return std::string_view{text}.substr(parts[number].begin,
                                             parts[number].end - parts[number].begin);
    }
};

class LineSpeller {
public:
    LineSpeller(const tool::TreeFile &file, const LineNumbers &numbers, ValueStyle values,
                Random &random);

    /// Spells a line. An optional word that enters a submode of the line is never left out, nor is
    /// a word without which a part would be empty.
    /// @param with_other_values random ones, whatever the style is.
    void spell(const Line &line, OptionalWords optional, Spelling &spelling,
               bool with_other_values = false);

    /// The words of a node: its keyword, and a value for each of its parameters. None if a value is
    /// missing or a keyword cannot be printed.
    [[nodiscard]] std::optional<std::vector<std::string>> words_of(const tree_node_t &node) const {
        return words_of(node, values_);
    }

    /// The node of a line at an index.
    [[nodiscard]] const tree_node_t &node(const Line &line, size_t index) const {
        return file_.records()[line.record].nodes[line.nodes[index]];
    }

private:
    struct Word {
        std::string text;
        uint8_t facts = 0;
    };

    [[nodiscard]] bool collides(const Line &line, size_t index, ValueStyle values);
    [[nodiscard]] uint8_t facts_of(size_t record, uint16_t node) const;
    [[nodiscard]] std::optional<std::vector<std::string>> words_of(const tree_node_t &node,
                                                                   ValueStyle values) const;
    [[nodiscard]] std::string text_of(const tree_node_t &node, ValueStyle values,
                                      bool &has_value) const;
    bool try_to_spell(const Line &line, OptionalWords optional, ValueStyle values,
                      Spelling &spelling);

    const tool::TreeFile &file_;
    const LineNumbers &numbers_;
    ValueStyle values_;
    Random &random_;
    std::vector<std::vector<Word>> words_;          // by record and node
    std::unordered_map<uint64_t, bool> collisions_; // by record, parent and child
};

/// Resolves spelled lines that are doubtful.
class LineChecker {
public:
    explicit LineChecker(const tool::TreeFile &file)
        : grammar_(file), context_(grammar_.new_context()), answer_(grammar_.new_answer()) {}

    /// Whether ocmd_find accepts the line.
    bool accepts_typed(const Spelling &spelling);

    /// Whether ocmd_find accepts each part as a line of a configuration.
    bool accepts_saved(const Spelling &spelling);

    /// Resolves a typed line, or one of a configuration below the parts before the last, which are
    /// accepted. The answer is valid until the next call.
    tsh_verdict_t resolve(std::string_view typed, uint32_t options = 0);
    tsh_verdict_t resolve_saved(const Spelling &spelling, uint32_t options = 0);
    [[nodiscard]] const tsh_answer_t *answer() const { return answer_.get(); }

private:
    find::FileGrammar grammar_;
    find::ContextPtr context_;
    find::AnswerPtr answer_;
};

} // namespace sample
