// The reference of all commands as one HTML page, which requests nothing and runs only its script.
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/page.h"
#include "tools/ocmd_show/page_text.h"
#include "tools/support/tree_shape.h"

#include <string>
#include <string_view>

namespace show {

namespace {

using tool::TextOutput;
using tool::TreeFile;

class Page {
public:
    Page(const PageTree &tree, const TreeFile &file, TextOutput &output)
        : tree_(tree), title_(title_of(tree, file)), output_(output) {}

    // Copies the template with its marks replaced by the parts that they name.
    void write() {
        constexpr std::string_view kBegin = "{{";
        constexpr std::string_view kEnd = "}}";
        std::string_view rest = kPageTemplate;
        for (size_t begin = 0; (begin = rest.find(kBegin)) != std::string_view::npos;) {
            output_ << rest.substr(0, begin);
            const size_t end = rest.find(kEnd, begin);
            write_part(rest.substr(begin + kBegin.size(), end - begin - kBegin.size()));
            rest.remove_prefix(end + kEnd.size());
        }
        output_ << rest;
    }

private:
    // The help of the root, or the name of the file without its directory.
    static std::string title_of(const PageTree &tree, const TreeFile &file) {
        const tree_node_t *const root = tree.root();
        const std::string_view help = root == nullptr ? "" : tool::text_of(root->help);
        const std::string_view name = file.name();
        return visible(help.empty() ? name.substr(name.rfind('/') + 1) : help);
    }

    void write_part(std::string_view name) {
        if (name == "title")
            output_ << as_html(title_);
        else if (name == "data")
            write_page_data(tree_, title_, output_);
        else
            write_page_reference(tree_, output_);
    }

    const PageTree &tree_;
    std::string title_;
    TextOutput &output_;
};

} // namespace

tool::Status show_html(const TreeFile &file, const Request &request, TextOutput &output) {
    const PageTree tree{file, request};
    if (request.below && tree.nodes().empty())
        return tool::kNegative;
    Page{tree, file, output}.write();
    return tool::kDone;
}

} // namespace show
