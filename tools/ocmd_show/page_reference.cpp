// The reference of all commands as plain HTML, for printing and for readers without scripts.
#include "tools/ocmd_show/page.h"

#include "tools/ocmd_show/page_links.h"
#include "tools/ocmd_show/page_text.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace show {

namespace {

using tool::TextOutput;

class ReferenceWriter {
public:
    ReferenceWriter(const PageTree &tree, TextOutput &output)
        : tree_(tree), output_(output), words_(tree.nodes().size()) {
        for (const auto &[node, attach_path] : tree.first_words())
            first_words_.push_back(node);
        add_words(PageTree::kNone);
        for (uint32_t node = 0; node < tree.nodes().size(); ++node)
            add_words(node);
    }

    // Every node with its line; a node that several words share is an entry only where it is met
    // first, elsewhere a link.
    void write() {
        write_links(PageTree::kNone, {});
        for (uint32_t node = 0; node < tree_.nodes().size(); ++node)
            write(node);
    }

private:
    // The nodes after a node; the first words of lines after kNone.
    [[nodiscard]] std::span<const uint32_t> after(uint32_t number) const {
        return number == PageTree::kNone ? std::span<const uint32_t>{first_words_}
                                         : tree_.children_of(tree_.nodes()[number]);
    }

    // Whether the entry of a node is at this link to it.
    [[nodiscard]] bool has_entry(uint32_t parent, uint32_t child) const {
        return tree_.nodes()[child].parent == parent;
    }

    void add_words(uint32_t parent) {
        const std::span<const uint32_t> children = after(parent);
        std::vector<LinkWord> words = link_words(tree_, children);
        for (size_t i = 0; i < children.size(); ++i)
            if (words[i].count > 0 && has_entry(parent, children[i]))
                words_[children[i]] = std::move(words[i]);
    }

    void write(uint32_t number) {
        const PageTree::Node &node = tree_.nodes()[number];
        const tree_node_t &record = *node.record;
        const std::vector<uint32_t> path = path_to(number);
        const char *const heading = node.parent == PageTree::kNone ? "h2" : "h3";
        output_ << "<article";
        write_id(link_to(path));
        output_ << "><" << heading << " id=\":" << number << "\">";
        write_line(path);
        output_ << "</" << heading << '>';
        if (record.help[0] != '\0')
            output_ << "<p>" << as_html(visible(tool::text_of(record.help))) << "</p>";
        write_properties(record);
        write_links(number, path);
        output_ << "</article>\n";
    }

    // The last words of the path that leads to the node, first word first.
    [[nodiscard]] std::vector<uint32_t> path_to(uint32_t number) const {
        std::vector<uint32_t> path;
        while (number != PageTree::kNone && path.size() < kMostWordsInLink) {
            path.push_back(number);
            number = tree_.nodes()[number].parent;
        }
        std::ranges::reverse(path);
        return path;
    }

    // The words of a path in links; none if the path starts after other words.
    [[nodiscard]] std::vector<LinkWord> link_to(const std::vector<uint32_t> &path) const {
        std::vector<LinkWord> link;
        if (path.empty() || has_entry(PageTree::kNone, path.front()))
            for (const uint32_t node : path)
                link.push_back(words_[node]);
        return link;
    }

    void write_id(const std::vector<LinkWord> &link) {
        if (!link.empty() && link.size() <= kMostWordsInLink)
            output_ << " id=\"" << as_html(id_of_link(link)) << '"';
    }

    void write_line(const std::vector<uint32_t> &path) {
        const uint32_t before = tree_.nodes()[path.front()].parent;
        if (before != PageTree::kNone)
            output_ << "<a href=\"#:" << before << "\">…</a> ";
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

    // Children whose entries are elsewhere. Their ids are those that the entries would have here.
    void write_links(uint32_t number, const std::vector<uint32_t> &path) {
        const std::span<const uint32_t> children = after(number);
        const auto is_here = [&](uint32_t child) { return has_entry(number, child); };
        if (std::ranges::all_of(children, is_here))
            return;
        const std::vector<LinkWord> words = link_words(tree_, children);
        std::vector<LinkWord> link = link_to(path);
        const bool has_link = path.empty() || !link.empty();
        const char *before = path.empty() ? "<p>Other first words: " : "<p>Also followed by ";
        for (size_t i = 0; i < children.size(); ++i) {
            if (words[i].count == 0 || is_here(children[i]))
                continue;
            output_ << before << "<a";
            before = ", ";
            if (has_link) {
                link.push_back(words[i]);
                write_id(link);
                link.pop_back();
            }
            output_ << " href=\"#:" << children[i] << "\">";
            write_word(*tree_.nodes()[children[i]].record, words[i].word);
            output_ << "</a>";
        }
        output_ << "</p>\n";
    }

    const PageTree &tree_;
    TextOutput &output_;
    std::vector<uint32_t> first_words_;
    std::vector<LinkWord> words_; // of each node, in the link to its entry
};

} // namespace

void write_page_reference(const PageTree &tree, TextOutput &output) {
    ReferenceWriter{tree, output}.write();
}

} // namespace show
