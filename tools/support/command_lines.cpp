// A walk that keeps one line and appends, prints and cuts it. Most lines end in leaves, so runs of
// leaves are printed without further ado.
#include "tools/support/command_lines.h"

#include "cmd_gen/word.h"
#include "tools/support/command_count.h"

#include <array>

namespace tool {

namespace {

constexpr size_t kUsualWord = 32;

} // namespace

std::string word_of(const tree_node_t &node) {
    std::array<char, TSH_WORD_SIZE> word;
    return {word.data(), tsh_word_text(&node, word.data(), word.size())};
}

SpelledTree::SpelledTree(Nodes nodes) : links_(nodes) {
    const HugeVector<Count> below = count_lines_below(links_, children_first(links_));
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
    std::array<char, TSH_WORD_SIZE> word;
    const size_t length = tsh_word_text(&node, word.data(), word.size());
    word[length] = '\n'; // in place of the terminating zero
    const bool has_line = links_.has_line(index);
    spelled_.push_back({.place = static_cast<uint32_t>(words_.size()),
                        .length = static_cast<uint16_t>(length),
                        .has_line = has_line,
                        .is_submode = tool::is_submode(node),
                        .is_plain_leaf = has_line && length > 0 && children(index).empty()});
    words_.insert(words_.end(), word.begin(), word.begin() + length + 1);
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
    if (before.size() > TextOutput::kMostRoom - TSH_WORD_SIZE)
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

} // namespace tool
