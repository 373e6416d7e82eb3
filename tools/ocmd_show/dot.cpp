// A tree or a part of it as a graph for Graphviz. What the looks mean stands at the head of every
// graph.
#include "tools/ocmd_show/modes.h"
#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"
#include "tools/support/utf8.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace show {

namespace {

using tool::LinkTable;
using tool::Nodes;
using tool::TextOutput;
using tool::TreeFile;
using tool::TreeRecord;
using tool::word_of;

constexpr std::string_view kLegend =
    "  // box: keyword; ellipse: parameter; diamond: node without a word, by its name\n"
    "  // bold: a command ends here; two borders: enters a submode, whose commands lie below\n"
    "  // dashed: the word may be left out; grey: shared, below several words\n"
    "  // +N: N words below are not drawn\n";

constexpr std::string_view kOptionalMark = "[o]";

std::string without_marks(std::string word) {
    for (size_t mark = 0; (mark = word.find(kOptionalMark, mark)) != std::string::npos;)
        word.erase(mark, kOptionalMark.size());
    return word;
}

// Words joined by single blanks.
std::string tidied(std::string_view line) {
    std::string tidy;
    for (const char c : line)
        if (c != ' ' || (!tidy.empty() && tidy.back() != ' '))
            tidy += c;
    if (!tidy.empty() && tidy.back() == ' ')
        tidy.pop_back();
    return tidy;
}

// Finds nodes by the line that leads to them, spelled as lines are listed; the marks of optional
// words and the slashes behind submodes may be left out. Types have blanks in their names, so words
// are matched against what is left of the line instead of being cut out of it.
class LineSearch {
public:
    LineSearch(Nodes nodes, const LinkTable &links, std::string_view line)
        : nodes_(nodes), links_(links), line_(tidied(line)) {}

    // All nodes that the whole line leads to; the root for an empty line.
    std::vector<uint16_t> find(bool from_root) {
        if (line_.empty())
            return {0};
        if (from_root)
            try_word(0, 0);
        else
            reach(0, 0);
        while (!states_.empty()) {
            const auto [node, used] = states_.back();
            states_.pop_back();
            for (const uint16_t child : links_.below(node))
                try_word(child, used);
        }
        return {found_.begin(), found_.end()};
    }

private:
    // At this node so much of the line is used up.
    using State = std::pair<uint16_t, size_t>;

    void reach(uint16_t node, size_t used) {
        if (met_.insert({node, used}).second)
            states_.emplace_back(node, used);
    }

    void try_word(uint16_t node, size_t used) {
        const std::string word = word_of(nodes_[node]);
        if (word.empty())
            return reach(node, used);
        for (const std::string &spelling : {word, without_marks(word)})
            if (line_.compare(used, spelling.size(), spelling) == 0)
                take(node, used + spelling.size());
    }

    // The word of the node ends there, and so does every slash behind a submode.
    void take(uint16_t node, size_t used) {
        constexpr std::string_view kSlash = " /";
        for (; used < line_.size(); used += kSlash.size()) {
            if (line_[used] != ' ')
                return;
            reach(node, used + 1);
            if (!tool::is_submode(nodes_[node]) || line_.compare(used, kSlash.size(), kSlash) != 0)
                return;
        }
        found_.insert(node);
    }

    Nodes nodes_;
    const LinkTable &links_;
    std::string line_;
    std::set<State> met_;
    std::vector<State> states_; // met and not yet gone on from
    std::set<uint16_t> found_;
};

// A text within a quoted text of the graph's language, where backslashes and ampersands begin
// something.
void write_escaped(std::string_view text, TextOutput &output) {
    const bool utf8 = tool::is_utf8(text);
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const auto byte = static_cast<unsigned char>(c);
        if (tool::is_control_at(text, i) || (byte > 0x7F && !utf8)) {
            output << "\\\\x";
            output.hexadecimal(byte, 2);
        } else if (c == '&') {
            output << "&amp;";
        } else {
            if (c == '"' || c == '\\')
                output << '\\';
            output << c;
        }
    }
}

class Graph {
public:
    Graph(Nodes nodes, const LinkTable &links, TextOutput &output)
        : nodes_(nodes), links_(links), output_(output), parents_(nodes.size()) {
        for (uint32_t node = 0; node < nodes.size(); ++node)
            for (const uint16_t child : links.below(node))
                ++parents_[child];
    }

    // Level by level, each node once, with its links; on the last level with those to nodes that
    // are drawn anyway.
    void draw(const std::string &title, std::vector<uint16_t> top, uint32_t levels) {
        output_ << "digraph \"";
        write_escaped(title, output_);
        output_ << "\" {\n" << kLegend << "  rankdir=LR;\n  node [shape=box];\n";
        std::vector<bool> drawn(nodes_.size());
        std::vector<uint16_t> level = std::move(top);
        for (const uint16_t node : level)
            drawn[node] = true;
        for (uint32_t below = 0; !level.empty(); ++below) {
            std::vector<uint16_t> next;
            for (const uint16_t node : level) {
                draw_node(node, below < levels ? 0 : count_others(node, drawn));
                draw_links(node, drawn, below < levels ? &next : nullptr);
            }
            level = std::move(next);
        }
        output_ << "}\n";
    }

private:
    [[nodiscard]] uint32_t count_others(uint16_t node, const std::vector<bool> &drawn) const {
        return static_cast<uint32_t>(std::ranges::count_if(
            links_.below(node), [&](uint16_t child) { return !drawn[child]; }));
    }

    void draw_node(uint16_t index, uint32_t words_not_drawn) {
        const tree_node_t &node = nodes_[index];
        const std::string word = word_of(node);
        output_ << "  n" << uint32_t{index} << " [label=\"";
        write_escaped(word.empty() ? std::string_view{node.name} : word, output_);
        if (words_not_drawn > 0)
            output_ << "\\n+" << words_not_drawn;
        output_ << '"';
        if (word.empty())
            output_ << ",shape=diamond";
        else if (node.token[0] == '\0')
            output_ << ",shape=ellipse";
        write_style(index);
        if (tool::is_submode(node))
            output_ << ",peripheries=2";
        if (node.help[0] != '\0') {
            output_ << ",tooltip=\"";
            write_escaped(node.help, output_);
            output_ << '"';
        }
        output_ << "];\n";
    }

    void write_style(uint16_t index) {
        std::string styles;
        if ((nodes_[index].flags & TREE_FLAG_TERMINAL) != 0)
            styles += ",bold";
        if (nodes_[index].optional != 0)
            styles += ",dashed";
        if (parents_[index] > 1)
            styles += ",filled";
        if (!styles.empty())
            output_ << ",style=\"" << styles.substr(1) << '"';
    }

    // Without a list of nodes to be drawn next, what is not drawn stays so.
    void draw_links(uint16_t node, std::vector<bool> &drawn, std::vector<uint16_t> *next) {
        for (const uint16_t child : links_.below(node)) {
            if (!drawn[child] && next == nullptr)
                continue;
            output_ << "  n" << uint32_t{node} << " -> n" << uint32_t{child} << ";\n";
            if (!drawn[child])
                next->push_back(child);
            drawn[child] = true;
        }
    }

    Nodes nodes_;
    const LinkTable &links_;
    TextOutput &output_;
    std::vector<uint32_t> parents_; // how many each node has
};

} // namespace

tool::Status show_dot(const TreeFile &file, const Part &part, TextOutput &output) {
    bool found = false;
    for (const TreeRecord &record : file.records()) {
        const LinkTable links{record.nodes};
        const auto top = LineSearch{record.nodes, links, part.below.value_or("")}.find(
            tool::begins_with_root(file, record));
        if (top.empty())
            continue;
        found = true;
        Graph{record.nodes, links, output}.draw(file.name(), top, part.levels);
    }
    if (!found && part.below) {
        tool::tell("%s: no command line begins with \"%s\"", file.name().c_str(),
                   part.below->c_str());
        return tool::kFaults;
    }
    return tool::kDone;
}

} // namespace show
