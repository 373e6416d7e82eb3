// The reference of all commands as plain HTML, for printing and for readers without scripts.
#include "tools/ocmd_show/page.h"

#include "tools/ocmd_show/page_text.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace show {

namespace {

using tool::TextOutput;

// Words of a path that are written out. Trees have up to 65,536 levels.
constexpr size_t kMostWords = 24;

class ReferenceWriter {
public:
    ReferenceWriter(const PageTree &tree, TextOutput &output) : tree_(tree), output_(output) {}

    // Every node with its line; a node that several words share is an entry only where it is met
    // first, elsewhere a link.
    void write() {
        for (uint32_t node = 0; node < tree_.nodes().size(); ++node)
            write(node);
    }

private:
    void write(uint32_t number) {
        const PageTree::Node &node = tree_.nodes()[number];
        const tree_node_t &record = *node.record;
        const std::vector<uint32_t> path = path_to(number);
        const char *const heading = node.parent == PageTree::kNone ? "h2" : "h3";
        output_ << "<article";
        write_id(path);
        output_ << "><" << heading << " id=\"n" << number << "\">";
        write_line(path);
        output_ << "</" << heading << '>';
        if (record.help[0] != '\0')
            output_ << "<p>" << as_html(visible(tool::text_of(record.help))) << "</p>";
        write_properties(record);
        write_links(number);
        output_ << "</article>\n";
    }

    // The last words of the path that leads to the node, first word first.
    [[nodiscard]] std::vector<uint32_t> path_to(uint32_t number) const {
        std::vector<uint32_t> path;
        while (number != PageTree::kNone && path.size() < kMostWords) {
            path.push_back(number);
            number = tree_.nodes()[number].parent;
        }
        std::ranges::reverse(path);
        return path;
    }

    // The same links lead to a command as with scripts (path_of in page.js).
    void write_id(const std::vector<uint32_t> &path) {
        if (tree_.nodes()[path.front()].parent != PageTree::kNone)
            return;
        output_ << " id=\"";
        for (const uint32_t node : path) {
            if (node != path.front())
                output_ << '/';
            const std::string word = page_word(*tree_.nodes()[node].record);
            output_ << as_html(word.empty() ? "~1" : word);
        }
        output_ << '"';
    }

    void write_line(const std::vector<uint32_t> &path) {
        const uint32_t before = tree_.nodes()[path.front()].parent;
        if (before != PageTree::kNone)
            output_ << "<a href=\"#n" << before << "\">…</a> ";
        for (const uint32_t node : path) {
            const tree_node_t &record = *tree_.nodes()[node].record;
            const std::string word = page_word(record);
            if (word.empty() && node != path.back())
                continue;
            write_word(record, word);
            if (node != path.back())
                output_ << (tool::is_submode(record) ? " / " : " ");
        }
    }

    void write_word(const tree_node_t &node, const std::string &word) {
        if (word.empty())
            output_ << "<i>";
        output_ << as_html(word.empty() ? visible(tool::text_of(node.name)) : word);
        output_ << (word.empty() ? "</i>" : "") << (node.optional != 0 ? "[o]" : "");
    }

    void write_properties(const tree_node_t &node) {
        output_ << "<dl>";
        for (const parameter_info_t &parameter : tool::params_of(node)) {
            const std::string example = example_of(parameter);
            write_property("Value", value_in_words(parameter) +
                                        (example.empty() ? "" : ", such as " + example));
        }
        if (node.optional != 0)
            write_property("Optional", "may be left out");
        if (!tool::has_line(node))
            write_property("Command", "needs more words");
        for (const Property &property : properties())
            write_property(property.label, property.value_of(node));
        output_ << "</dl>";
    }

    void write_property(std::string_view label, std::string_view value) {
        if (value.empty())
            return;
        output_ << "<dt>" << label << "<dd>" << as_html(value);
    }

    // Children whose entries are elsewhere.
    void write_links(uint32_t number) {
        std::string_view before = "<p>Also followed by ";
        for (const uint32_t child : tree_.children_of(tree_.nodes()[number])) {
            if (tree_.nodes()[child].parent == number)
                continue;
            output_ << before << "<a href=\"#n" << child << "\">";
            const tree_node_t &record = *tree_.nodes()[child].record;
            write_word(record, page_word(record));
            output_ << "</a>";
            before = ", ";
        }
        if (before == ", ")
            output_ << "</p>";
    }

    const PageTree &tree_;
    TextOutput &output_;
};

} // namespace

void write_page_reference(const PageTree &tree, TextOutput &output) {
    ReferenceWriter{tree, output}.write();
}

} // namespace show
