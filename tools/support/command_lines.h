// The command lines of a tree, spelled for people and for tools that sort and compare lines: words
// as the listing spells them with one blank between them, and before them the words of every
// submode that the line lies in, each followed by " / ":
//     bay <INTERFACE> / label <LINE>
#pragma once

#include "tools/support/huge_vector.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"
#include "tools/support/tree_shape.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The word of a node as the listing spells it; empty for one that adds nothing to a line. Needs
/// register_types.
std::string word_of(const tree_node_t &node);

/// The nodes of a sound tree as lines need them, in few bytes that lie together: a shared node is
/// met thousands of times, and its record spans a thousand bytes. Type names come from the
/// registry, which must be filled.
class SpelledTree {
public:
    explicit SpelledTree(Nodes nodes);

    /// As the listing spells it; empty for a node that adds nothing to a line.
    [[nodiscard]] std::string_view word(uint16_t node) const {
        return {words_.data() + spelled_[node].place, spelled_[node].length};
    }
    [[nodiscard]] bool has_line(uint16_t node) const { return spelled_[node].has_line; }
    [[nodiscard]] bool is_submode(uint16_t node) const { return spelled_[node].is_submode; }

    /// Children, but for those that lead to no line.
    [[nodiscard]] std::span<const uint16_t> children(uint16_t node) const {
        return links_.below(node);
    }

    /// Hands over, each with its newline and readable in whole chunks, the words of nodes from
    /// `next` on, as long as they end a line with nothing below it. @return the first that does
    /// not.
    template <typename Take>
    const uint16_t *take_leaves(const uint16_t *next, const uint16_t *end, Take take) const {
        // Local, because what take writes might be the members for all the compiler knows.
        const Spelled *spelled = spelled_.data();
        const char *words = words_.data();
        for (; next != end && spelled[*next].is_plain_leaf; ++next)
            take(std::string_view{words + spelled[*next].place, spelled[*next].length + size_t{1}});
        return next;
    }

private:
    struct Spelled {
        uint32_t place;
        uint16_t length;
        bool has_line : 1;
        bool is_submode : 1;
        bool is_plain_leaf : 1;
    };

    void spell(const tree_node_t &node);

    LinkTable links_;
    std::vector<Spelled> spelled_;
    HugeVector<char> words_; // each with a newline behind it
};

/// The line in hand of a walk: words are added on the way down and taken off on the way back.
class LineText {
public:
    /// @param start stands before every line, such as "+ ".
    explicit LineText(std::string_view start = {}) {
        reserve(start.size());
        length_ = start.copy(bytes_.data(), start.size());
    }

    struct Mark {
        size_t length;
        bool spaced;
    };
    [[nodiscard]] Mark mark() const { return {length_, spaced_}; }
    void back_to(Mark mark) {
        length_ = mark.length;
        spaced_ = mark.spaced;
    }

    /// Adds a node's word, as SpelledTree gives it: readable in whole chunks. An empty one adds
    /// nothing.
    void add_word(std::string_view word) {
        if (word.empty())
            return;
        reserve(word.size() + 1);
        copy_in_chunks(&bytes_[length_], word);
        length_ += word.size();
        bytes_[length_++] = ' ';
        spaced_ = true;
    }

    /// What follows lies in the submode of the words so far.
    void enter_submode() {
        const std::string_view slash = spaced_ ? "/ " : " / ";
        reserve(slash.size());
        length_ += slash.copy(&bytes_[length_], slash.size());
        spaced_ = false;
    }

    /// The line that ends here; readable in whole chunks.
    [[nodiscard]] std::string_view line() const {
        return {bytes_.data(), length_ - static_cast<size_t>(spaced_)};
    }

    /// What stands before the next word; readable in whole chunks.
    [[nodiscard]] std::string_view before() const { return {bytes_.data(), length_}; }

private:
    // Room for more bytes and a chunk beyond them.
    void reserve(size_t more) {
        if (length_ + more + kCopyChunk > bytes_.size())
            bytes_.resize(2 * (length_ + more + kCopyChunk));
    }

    std::vector<char> bytes_;
    size_t length_ = 0;
    bool spaced_ = false; // a blank after a word stands last
};

/// Writes the lines of a tree in the order of the listing. No call recurses; memory grows with the
/// line in hand and the way to it, not with the lines.
class CommandLister {
public:
    CommandLister(const SpelledTree &tree, TextOutput &output) : tree_(tree), output_(output) {}

    /// The lines below a node. The line holds all that stands before the next word and comes back
    /// as it was.
    void list_below(uint16_t node, LineText &line);

    /// The node's own line, if it has one, and those below it.
    void list_from(uint16_t node, LineText &line);

private:
    struct Step {
        const uint16_t *next;
        const uint16_t *end;
        LineText::Mark before;
    };

    void walk(LineText &line);
    void visit(uint16_t node, LineText &line);
    void enter(uint16_t node, LineText::Mark before);
    void print(std::string_view line);
    const uint16_t *print_leaves(const Step &step, std::string_view before);

    const SpelledTree &tree_;
    TextOutput &output_;
    std::vector<Step> way_;
};

/// Whether lines of the record begin with the word of its node 0. That of a main tree or of a root
/// file is no word, whatever it holds; that of a record with an attach path is the first one below
/// its attach point.
bool begins_with_root(const TreeFile &file, const TreeRecord &record);

/// Lists the command lines of a record that is sound.
void list_lines(const TreeFile &file, const TreeRecord &record, TextOutput &output);

} // namespace tool
