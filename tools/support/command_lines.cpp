// A walk that keeps one line and appends, prints and cuts it. Most lines end in leaves, so runs of
// leaves are printed without further ado.
#include "tools/support/command_lines.h"

#include "base/escape.h"
#include "base/huge_pages.h"
#include "cmd_gen/word.h"
#include "tools/support/command_count.h"
#include "tools/support/tree_shape.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tool {

namespace {

constexpr size_t kUsualWord = 32;
constexpr size_t kLongestSpelled = std::string_view{"\\x00"}.size() * TSH_WORD_SIZE;

// The nodes of a sound tree as lines need them, in few bytes that lie together: a shared node is
// met thousands of times, and its record spans a thousand bytes. Type names come from the
// registry, which must be filled.
class SpelledTree {
public:
    explicit SpelledTree(Nodes nodes);

    // As the listing spells it; empty for a node that adds nothing to a line.
    [[nodiscard]] std::string_view word(uint16_t node) const {
        return {words_.data() + spelled_[node].place, spelled_[node].length};
    }
    [[nodiscard]] bool has_line(uint16_t node) const { return spelled_[node].has_line; }
    [[nodiscard]] bool is_submode(uint16_t node) const { return spelled_[node].is_submode; }

    // Children, but for those that lead to no line.
    [[nodiscard]] std::span<const uint16_t> children(uint16_t node) const {
        return links_.below(node);
    }

    // Hands over, each with its newline and readable in whole chunks, the words of nodes from
    // `next` on, as long as they end a line with nothing below it. @return the first that does
    // not.
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
    base::HugeVector<char> words_; // each with a newline behind it
};

// The line in hand of a walk: words are added on the way down and taken off on the way back.
class LineText {
public:
    LineText() { reserve(0); }

    struct Mark {
        size_t length;
        bool spaced;
    };
    [[nodiscard]] Mark mark() const { return {length_, spaced_}; }
    void back_to(Mark mark) {
        length_ = mark.length;
        spaced_ = mark.spaced;
    }

    // Adds a node's word, as SpelledTree gives it: readable in whole chunks. An empty one adds
    // nothing.
    void add_word(std::string_view word) {
        if (word.empty())
            return;
        reserve(word.size() + 1);
        copy_in_chunks(&bytes_[length_], word);
        length_ += word.size();
        bytes_[length_++] = ' ';
        spaced_ = true;
    }

    // What follows lies in the submode of the words so far.
    void enter_submode() {
        const std::string_view slash = spaced_ ? "/ " : " / ";
        reserve(slash.size());
        length_ += slash.copy(&bytes_[length_], slash.size());
        spaced_ = false;
    }

    // The line that ends here; readable in whole chunks.
    [[nodiscard]] std::string_view line() const {
        return {bytes_.data(), length_ - static_cast<size_t>(spaced_)};
    }

    // What stands before the next word; readable in whole chunks.
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

// Writes the lines of a tree in the order of the listing. No call recurses; memory grows with the
// line in hand and the way to it, not with the lines.
class CommandLister {
public:
    CommandLister(const SpelledTree &tree, TextOutput &output) : tree_(tree), output_(output) {}

    // The lines below a node. The line holds all that stands before the next word and comes back
    // as it was.
    void list_below(uint16_t node, LineText &line);

    // The node's own line, if it has one, and those below it.
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

SpelledTree::SpelledTree(Nodes nodes) : links_(nodes) {
    const base::HugeVector<Count> below = count_lines_below(links_, children_first(links_));
    std::vector<bool> leads_to_line(nodes.size());
    for (uint32_t node = 0; node < nodes.size(); ++node)
        leads_to_line[node] = links_.has_line(node) || !below[node].is_zero();
    links_.keep_links_to(leads_to_line);

    spelled_.reserve(nodes.size());
    words_.reserve(nodes.size() * kUsualWord + TSH_WORD_SIZE);
    for (const tree_node_t &node : nodes)
        spell(node);
    words_.resize(words_.size() + kCopyChunk);
}

void SpelledTree::spell(const tree_node_t &node) {
    const auto index = static_cast<uint16_t>(spelled_.size());
    const std::string word = spelled_word(node);
    const bool has_line = links_.has_line(index);
    spelled_.push_back({.place = static_cast<uint32_t>(words_.size()),
                        .length = static_cast<uint16_t>(word.size()),
                        .has_line = has_line,
                        .is_submode = tool::is_submode(node),
                        .is_plain_leaf = has_line && !word.empty() && children(index).empty()});
    words_.insert(words_.end(), word.begin(), word.end());
    words_.push_back('\n');
}

void CommandLister::list_below(uint16_t node, LineText &line) {
    enter(node, line.mark());
    walk(line);
}

void CommandLister::list_from(uint16_t node, LineText &line) {
    visit(node, line);
    walk(line);
}

void CommandLister::walk(LineText &line) {
    while (!way_.empty()) {
        Step &step = way_.back();
        step.next = print_leaves(step, line.before());
        if (step.next != step.end) {
            visit(*step.next++, line);
        } else {
            line.back_to(step.before);
            way_.pop_back();
        }
    }
}

void CommandLister::visit(uint16_t node, LineText &line) {
    const LineText::Mark before = line.mark();
    line.add_word(tree_.word(node));
    if (tree_.has_line(node))
        print(line.line());
    if (tree_.is_submode(node))
        line.enter_submode();
    enter(node, before);
}

void CommandLister::print(std::string_view line) {
    if (line.size() >= TextOutput::kMostRoom) {
        output_ << line << '\n';
        return;
    }
    char *end = copy_in_chunks(output_.room(), line);
    *end++ = '\n';
    output_.take_until(end);
}

// The words below come next; after them the line is cut.
void CommandLister::enter(uint16_t node, LineText::Mark before) {
    const auto children = tree_.children(node);
    way_.push_back({children.data(), children.data() + children.size(), before});
}

// Returns the first child that is more than a leaf.
const uint16_t *CommandLister::print_leaves(const Step &step, std::string_view before) {
    if (before.size() > TextOutput::kMostRoom - kLongestSpelled)
        return step.next;
    char *place = output_.room();
    const char *full = output_.full();
    const uint16_t *next =
        tree_.take_leaves(step.next, step.end, [&](std::string_view word_and_newline) {
            if (place >= full) {
                output_.take_until(place);
                place = output_.room();
            }
            place = copy_in_chunks(copy_in_chunks(place, before), word_and_newline);
        });
    output_.take_until(place);
    return next;
}

} // namespace

std::string spelled_word(const tree_node_t &node) {
    return base::escaped(word_of(node));
}

std::string word_of(const tree_node_t &node) {
    std::array<char, TSH_WORD_SIZE> word;
    return {word.data(), tsh_word_text(&node, word.data(), word.size())};
}

bool begins_with_root(const TreeFile &file, const TreeRecord &record) {
    return file.container() == Container::kSubtrees && !record.attach_path.empty();
}

void list_lines(const TreeFile &file, const TreeRecord &record, TextOutput &output) {
    const SpelledTree tree{record.nodes};
    CommandLister lister{tree, output};
    LineText line;
    if (begins_with_root(file, record))
        lister.list_from(0, line);
    else
        lister.list_below(0, line);
}

struct LineList::Tree : SpelledTree {
    using SpelledTree::SpelledTree;
};

LineList::LineList(const TreeRecord &record, TextOutput &output)
    : tree_(std::make_unique<Tree>(record.nodes)), output_(output) {}

LineList::~LineList() = default;

void LineList::add_below(std::span<const uint16_t> path) {
    LineText line;
    for (const uint16_t node : path.first(path.size() - 1)) {
        line.add_word(tree_->word(node));
        if (tree_->is_submode(node))
            line.enter_submode();
    }
    CommandLister{*tree_, output_}.list_from(path.back(), line);
}

} // namespace tool
