// The nodes of a page as JSON for its script: one line per node, without properties that it lacks.
#include "tools/ocmd_show/page.h"

#include "tools/ocmd_show/page_text.h"
#include "tools/support/tree_shape.h"

#include <span>
#include <string>
#include <string_view>

namespace show {

namespace {

using tool::TextOutput;

class DataWriter {
public:
    DataWriter(const PageTree &tree, TextOutput &output) : tree_(tree), output_(output) {}

    void write(std::string_view title) {
        output_ << "{\"labels\":";
        write_labels();
        string(",\"title\":", title);
        if (const tree_node_t *const root = tree_.root())
            string(",\"mode\":", visible(tool::text_of(root->mode_id)));
        output_ << ",\"first\":[";
        write_list(tree_.first_words(), [&](const auto &first) { output_ << first.node; });
        output_ << "],\"attach\":[";
        write_list(tree_.first_words(),
                   [&](const auto &first) { output_ << as_json(visible(first.attach_path)); });
        output_ << "],\"nodes\":[";
        write_list(tree_.nodes(), [&](const auto &node) { write(node); });
        output_ << "]}";
    }

private:
    void write_labels() {
        output_ << '{';
        write_list(properties(), [&](const Property &property) {
            output_ << '"' << property.key << "\":" << as_json(property.label);
        });
        output_ << '}';
    }

    void write(const PageTree::Node &node) {
        const tree_node_t &record = *node.record;
        output_ << "\n{\"word\":" << as_json(page_word(record));
        if (record.optional != 0)
            output_ << ",\"optional\":1";
        string(",\"help\":", visible(tool::text_of(record.help)));
        if ((record.flags & TREE_FLAG_TERMINAL) != 0)
            output_ << ",\"ends\":1";
        for (const Property &property : properties())
            string(std::string{",\""} + property.key + "\":", property.value_of(record));
        if (record.param_count > 0) {
            output_ << ",\"values\":[";
            write_list(tool::params_of(record), [&](const auto &value) { write(value); });
            output_ << ']';
        }
        if (node.link_count > 0) {
            output_ << ",\"next\":[";
            write_list(tree_.children_of(node), [&](uint32_t child) { output_ << child; });
            output_ << ']';
        }
        output_ << '}';
    }

    void write(const parameter_info_t &parameter) {
        output_ << "{\"is\":" << as_json(value_in_words(parameter));
        string(",\"example\":", example_of(parameter));
        output_ << '}';
    }

    // A member, unless it is empty.
    void string(std::string_view key, std::string_view value) {
        if (!value.empty())
            output_ << key << as_json(value);
    }

    template <typename Values, typename Write> void write_list(const Values &values, Write write) {
        bool first = true;
        for (const auto &value : values) {
            if (!first)
                output_ << ',';
            first = false;
            write(value);
        }
    }

    const PageTree &tree_;
    TextOutput &output_;
};

} // namespace

void write_page_data(const PageTree &tree, std::string_view title, TextOutput &output) {
    DataWriter{tree, output}.write(title);
}

} // namespace show
