// Spelling of command lines with values.
#pragma once

#include "base/chunk_copy.h"
#include "tools/ocmd_find/file_grammar.h"
#include "tools/ocmd_sample/line_numbers.h"
#include "tools/ocmd_sample/random.h"
#include "tools/support/tree_input.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory_resource>
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

/// A word of a line, which is spelled when it is first needed. A short text is part of it, so that
/// most words are one access to memory.
class Word {
public:
    /// The separator before the first word of a submode. Its last byte, a space, separates other
    /// words.
    static constexpr std::string_view kSlash = " / ";

    static constexpr unsigned kKnown = 1; ///< The word was spelled.
    static constexpr unsigned kSubmode = 2;
    static constexpr unsigned kOptional = 4;
    static constexpr unsigned kHasValue = 8;
    static constexpr unsigned kValueFirst = 16;    ///< Begins with a parameter.
    static constexpr unsigned kTakesRest = 32;     ///< Nothing can follow its value.
    static constexpr unsigned kUnusual = 64;       ///< Its keyword may not be what one types.
    static constexpr unsigned kWithoutValue = 128; ///< No value is known, or it cannot be printed.
    static constexpr unsigned kSiblingsKnown = 256;
    static constexpr unsigned kDoubtBelow = 512; ///< A child may be skipped, or has the keyword or
                                                 ///< the types of another.

    [[nodiscard]] bool has(unsigned facts) const { return (facts_ & facts) != 0; }
    void add(unsigned facts) { facts_ |= facts; }

    /// Sets the text. @param memory takes a long one.
    void set(std::string_view text, std::pmr::memory_resource &memory);

    [[nodiscard]] size_t size() const { return size_; }
    [[nodiscard]] std::string_view text() const {
        return {(is_inside() ? inside_.data() : outside_) + kSlash.size(), size_};
    }

    /// Copies the text after kSlash, without the first bytes of that. Up to base::kCopyChunk bytes
    /// after the copy are written, too. @return the end of the copy.
    char *copy_separated(size_t omitted, char *to) const {
        const size_t size = kSlash.size() + size_ - omitted;
        if (!is_inside())
            return base::copy_in_chunks(to, {outside_ + omitted, size});
        memcpy(to, inside_.data() + omitted, kSlash.size() + kMostInside); // of one cache line
        return to + size;
    }

private:
    static constexpr size_t kMostInside = 17;

    [[nodiscard]] bool is_inside() const { return size_ <= kMostInside; }

    uint32_t facts_ = 0;
    uint32_t size_ = 0;
    union {
        const char *outside_ = nullptr;
        std::array<char, kSlash.size() + kMostInside + 4> inside_;
    };
};

/// Returns whether a line of a configuration leaves a submode, whatever the grammar says.
bool leaves_submode(std::string_view line);

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

    /// Returns whether the spelling of every line with optional words is made of the words of its
    /// nodes.
    [[nodiscard]] bool has_fixed_words() const { return values_ != ValueStyle::kRandom; }

    /// Returns whether lines may be doubtful.
    [[nodiscard]] bool has_doubts() const { return values_ != ValueStyle::kTypes; }

    /// Returns the word of a node.
    const Word &word(size_t record, uint16_t node) {
        Word &word = words_[record][node];
        if (!word.has(Word::kKnown))
            learn(record, node, word);
        return word;
    }

    /// Returns the words of all nodes, some of which word() has to spell first.
    [[nodiscard]] const Word *words(size_t record) const { return words_[record].data(); }

    /// Spells the words of all nodes that lines have, which takes less time than one by one.
    void learn_all(size_t record);

    /// Returns whether the last of these nodes, a line up to there, makes it doubtful.
    bool adds_doubt(size_t record, std::span<const uint16_t> nodes) {
        return adds_doubt(record, nodes, values_);
    }

    /// The node of a line at an index.
    [[nodiscard]] const tree_node_t &node(const Line &line, size_t index) const {
        return file_.records()[line.record].nodes[line.nodes[index]];
    }

private:
    void learn(size_t record, uint16_t node, Word &word);
    [[nodiscard]] unsigned facts_of(const tree_node_t &node) const;
    bool adds_doubt(size_t record, std::span<const uint16_t> nodes, ValueStyle values);
    bool has_doubt_below(size_t record, uint16_t node);
    [[nodiscard]] bool finds_doubt_below(size_t record, uint16_t node) const;
    bool collides(size_t record, uint16_t parent, uint16_t node, ValueStyle values);
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
    std::vector<base::HugeVector<Word>> words_;     // by record and node
    std::pmr::monotonic_buffer_resource texts_;     // of words
    std::unordered_map<uint64_t, bool> collisions_; // by record, parent and child
};

/// Resolves spelled lines that are doubtful.
class LineChecker {
public:
    explicit LineChecker(const tool::TreeFile &file) : file_(file) {}

    /// Whether ocmd_find accepts the line.
    bool accepts_typed(const Spelling &spelling);

    /// Whether ocmd_find accepts each part as a line of a configuration.
    bool accepts_saved(const Spelling &spelling);

    /// Whether the last line that was not accepted is in, or enters, too many submodes.
    [[nodiscard]] bool has_too_many_submodes() const { return has_too_many_submodes_; }

    /// Resolves a typed line, or one of a configuration below the parts before the last, which are
    /// accepted. The answer is valid until the next call.
    tsh_verdict_t resolve(std::string_view typed, uint32_t options = 0);
    tsh_verdict_t resolve_saved(const Spelling &spelling, uint32_t options = 0);
    [[nodiscard]] const tsh_answer_t *answer() const { return resolver_->answer.get(); }

private:
    struct Resolver {
        explicit Resolver(const tool::TreeFile &file)
            : grammar(file), context(grammar.new_context()), answer(grammar.new_answer()) {}

        find::FileGrammar grammar;
        find::ContextPtr context;
        find::AnswerPtr answer;
    };

    Resolver &top_resolver();

    const tool::TreeFile &file_;
    std::optional<Resolver> resolver_; // made when a line is doubtful
    bool has_too_many_submodes_ = false;
};

} // namespace sample
