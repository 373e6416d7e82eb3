// Reading lines. A blank ends every atom but the last; what stands before the words of a submode is
// the atom "/". Where a line or a submode begins, nothing has been read yet, and a node without a
// word leaves it so: a line that ends there, and a submode that is entered there, have an empty
// atom.
#include "tools/ocmd_diff/line_automaton.h"

#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <numeric>

namespace diff {

LineAutomaton::LineAutomaton(std::span<const tool::TreeFile *const> files, bool by_words_alone) {
    reserve_nodes(files);
    for (const tool::TreeFile *file : files)
        add_file(*file);
    if (by_words_alone)
        unite_alike();
    met_.resize(2 * size_t{wordless_count_});
}

void LineAutomaton::reserve_nodes(std::span<const tool::TreeFile *const> files) {
    size_t count = 0;
    for (const tool::TreeFile *file : files)
        for (const tool::TreeRecord &record : file->records())
            count += record.nodes.size();
    words_.reserve(count);
    spellings_.reserve(count);
    facts_.reserve(count);
}

void LineAutomaton::add_file(const tool::TreeFile &file) {
    const size_t number = starts_.size();
    starts_.push_back(add_special({Special::kStart, static_cast<uint32_t>(number), 0}));
    for (const tool::TreeRecord &record : file.records()) {
        records_.push_back({static_cast<NodeNumber>(words_.size()), &record, number,
                            tool::begins_with_root(file, record)});
        for (const tree_node_t &node : record.nodes)
            add_node(node, records_.back().root);
    }
}

void LineAutomaton::add_node(const tree_node_t &node, NodeNumber root) {
    const std::string text = tool::spelled_word(node);
    spellings_.push_back(atoms_.number_of(text));
    words_.push_back(word_of(text));
    facts_.push_back({links_.size(), static_cast<uint8_t>(node.child_count), tool::has_line(node),
                      tool::is_submode(node)});
    for (const uint16_t link : tool::links_of(node))
        links_.push_back(root + link);
}

// The word of the next node, whose spelling is known.
LineAutomaton::Word LineAutomaton::word_of(std::string_view text) {
    if (text.empty())
        return {Word::kNoAtom, wordless_count_++};
    if (text.find(' ') == std::string_view::npos)
        return {Word::kOneAtom, spellings_.back()};
    return long_word(text);
}

// The word of the next node. Its places are made from the last one on.
LineAutomaton::Word LineAutomaton::long_word(std::string_view text) {
    auto next = static_cast<Position>(words_.size());
    for (size_t blank; (blank = text.rfind(' ')) != std::string_view::npos;) {
        const Atom atom = atoms_.number_of(text.substr(blank + 1));
        next = add_special({Special::kWithin, atom, next});
        text = text.substr(0, blank);
    }
    long_words_.push_back({atoms_.number_of(text), next});
    return {Word::kManyAtoms, static_cast<uint32_t>(long_words_.size() - 1)};
}

// Lets links lead to one node of those with the same word and the same links, so that what two
// trees share is walked through once. Goes backwards, since most links lead forward; a link that
// leads to a node not yet met stays as it is, which costs time alone.
void LineAutomaton::unite_alike() {
    std::vector<NodeNumber> first_alike(words_.size());
    std::iota(first_alike.begin(), first_alike.end(), NodeNumber{0});
    SequenceTable<uint32_t> looks;
    std::vector<NodeNumber> first_with; // by look
    std::vector<uint32_t> look;
    for (auto node = static_cast<NodeNumber>(words_.size()); node-- > 0;) {
        const Facts &facts = facts_[node];
        look = {spellings_[node], static_cast<uint32_t>(facts.ends_line),
                static_cast<uint32_t>(facts.is_submode)};
        for (NodeNumber &link : std::span{links_}.subspan(facts.first_link, facts.link_count)) {
            link = first_alike[link];
            look.push_back(link);
        }
        const uint32_t number = looks.number_of(look);
        if (number == first_with.size())
            first_with.push_back(node);
        first_alike[node] = first_with[number];
    }
}

Position LineAutomaton::add_special(const Special &special) {
    specials_.push_back(special);
    return kFirstSpecial + static_cast<Position>(specials_.size() - 1);
}

const tree_node_t &LineAutomaton::node(NodeNumber number) const {
    const Record &record =
        *std::prev(std::ranges::upper_bound(records_, number, {}, &Record::root));
    return record.record->nodes[number - record.root];
}

// What a line is at that has read the "/" of a submode, or the nothing of a node without a word
// where it ends.
Position LineAutomaton::beyond(NodeNumber number) {
    const auto [place, is_new] = beyond_.try_emplace(number);
    if (is_new) {
        const auto kind = facts_[number].is_submode ? Special::kSubmode : Special::kEnd;
        place->second = add_special({kind, number, 0});
    }
    return place->second;
}

const LineAutomaton::Outlook &LineAutomaton::look_from(std::span<const Position> positions) {
    ++round_;
    outlook_.ends = false;
    outlook_.steps.clear();
    outlook_.nodes.clear();
    outlook_.passed = 0;
    for (const Position position : positions)
        look_from(position);
    return outlook_;
}

void LineAutomaton::look_from(Position position) {
    if (position >= kFirstSpecial)
        look_from(Special{specials_[position - kFirstSpecial]}); // a copy: submodes are added
    else
        end_word(position);
    walk();
}

void LineAutomaton::look_from(const Special &special) {
    switch (special.kind) {
    case Special::kStart:
        for (const Record &record : records_)
            if (record.file == special.number)
                begin_line(record);
        break;
    case Special::kSubmode:
        follow_links(special.number, true);
        break;
    case Special::kWithin:
        outlook_.steps.push_back({special.number, special.next});
        break;
    case Special::kEnd:
        outlook_.nodes.push_back(special.number);
        outlook_.ends = true;
        break;
    }
}

void LineAutomaton::begin_line(const Record &record) {
    if (record.begins_with_root)
        pass(record.root, true);
    else
        follow_links(record.root, true);
    walk();
}

// The word of the node is the last one read, or, where the node has none, that of a node above it.
// Such a node says something of the word only where a line ends at it.
void LineAutomaton::end_word(NodeNumber number) {
    const Facts &last = facts_[number];
    if (words_[number].kind() != Word::kNoAtom || last.ends_line)
        outlook_.nodes.push_back(number);
    outlook_.ends = outlook_.ends || last.ends_line;
    if (!last.is_submode)
        follow_links(number, false);
    else if (last.link_count > 0)
        outlook_.steps.push_back({slash_, beyond(number)});
}

// The node has no word, and nothing has been read before it.
void LineAutomaton::end_no_word(NodeNumber number) {
    const Facts &last = facts_[number];
    if (last.ends_line)
        outlook_.steps.push_back({nothing_, last.is_submode ? number : beyond(number)});
    if (!last.is_submode)
        follow_links(number, true);
}

void LineAutomaton::follow_links(NodeNumber number, bool is_fresh) {
    const NodeNumber *first = links_.data() + facts_[number].first_link;
    way_.push_back({first, first + facts_[number].link_count, is_fresh});
}

void LineAutomaton::walk() {
    while (!way_.empty()) {
        Level &level = way_.back();
        if (level.next == level.end)
            way_.pop_back();
        else
            pass(*level.next++, level.is_fresh);
    }
}

void LineAutomaton::pass(NodeNumber child, bool is_fresh) {
    const Word word = words_[child];
    switch (word.kind()) {
    case Word::kOneAtom:
        outlook_.steps.push_back({word.number(), child});
        break;
    case Word::kManyAtoms:
        outlook_.steps.push_back(long_words_[word.number()]);
        break;
    case Word::kNoAtom:
        meet_wordless(child, word.number(), is_fresh);
        break;
    }
}

void LineAutomaton::meet_wordless(NodeNumber number, uint32_t wordless, bool is_fresh) {
    uint64_t &met = met_[2 * size_t{wordless} + static_cast<size_t>(is_fresh)];
    if (met == round_)
        return;
    met = round_;
    ++outlook_.passed;
    if (is_fresh)
        end_no_word(number);
    else
        end_word(number);
}

} // namespace diff
