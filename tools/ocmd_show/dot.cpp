// A tree or a part of it as a graph for Graphviz. What the looks mean stands at the head of every
// graph.
#include "tools/ocmd_show/modes.h"
#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"
#include "tools/support/utf8.h"

#include <algorithm>
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
    "  // dashed: optional word; grey: shared, below several words\n"
    "  // +N: N words below are not drawn\n";

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
    // Nodes that are not wanted are not drawn, and their links do not count.
    Graph(Nodes nodes, LinkTable links, const std::vector<bool> &wanted, TextOutput &output)
        : nodes_(nodes), links_(std::move(links)), output_(output), parents_(nodes.size()) {
        links_.keep_links_to(wanted);
        for (uint32_t node = 0; node < nodes.size(); ++node)
            if (wanted[node])
                for (const uint16_t child : links_.below(node))
                    ++parents_[child];
    }

    // Level by level, each node once, with its links; on the last level with those to nodes that
    // are drawn anyway.
    void draw(const std::string &title, std::vector<uint16_t> top, uint32_t levels) {
        output_ << "digraph \"";
        write_escaped(title, output_);
        output_ << "\" {\n" << kLegend << "  rankdir=LR;\n  ordering=out;\n  node [shape=box];\n";
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
    LinkTable links_;
    TextOutput &output_;
    std::vector<uint32_t> parents_; // how many each node has
};

} // namespace

tool::Status show_dot(const TreeFile &file, const Request &request, TextOutput &output) {
    const auto draw = [&](Nodes nodes, const LinkTable &links, std::vector<uint16_t> top) {
        const std::vector<bool> wanted = nodes_to_show(file, nodes, request);
        Graph{nodes, links, wanted, output}.draw(file.name(), std::move(top), request.levels);
    };
    if (!request.below) {
        for (const TreeRecord &record : file.records())
            draw(record.nodes, LinkTable{record.nodes}, {0});
        return tool::kDone;
    }
    const std::vector<LineSearch> matches = search(file, *request.below);
    for (const LineSearch &match : matches)
        draw(match.record().nodes, match.links(), match.found());
    return matches.empty() ? tool::kNegative : tool::kDone;
}

} // namespace show
