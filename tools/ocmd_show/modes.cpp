// What several modes share, and the check, which shows nothing else.
#include "tools/ocmd_show/modes.h"

#include "tools/ocmd_show/tree_checks.h"

#include "tools/support/grammar_fields.h"

namespace show {

std::vector<LineSearch> search(const tool::TreeFile &file, const std::string &line) {
    std::vector<LineSearch> matches;
    for (const tool::TreeRecord &record : file.records()) {
        matches.emplace_back(file, record, line);
        if (matches.back().found().empty())
            matches.pop_back();
    }
    if (matches.empty())
        tool::report("%s: no command line starts with \"%s\"", file.name().c_str(), line.c_str());
    return matches;
}

std::vector<bool> nodes_to_show(const tool::TreeFile &file, tool::Nodes nodes,
                                const Request &request) {
    std::vector<bool> shown(nodes.size(), true);
    if (request.redirect_root || file.container() != tool::Container::kMain)
        return shown;
    for (const uint16_t child : tool::links_of(nodes[0]))
        if (tool::text_of(nodes[child].name) == tool::kRedirectRoot)
            shown[child] = false;
    return shown;
}

tool::Status show_faults(const tool::TreeFile &file, const Request &request,
                         tool::TextOutput &output) {
    if (check_trees(file, request.severities) > 0 || !file.complete())
        return tool::kNegative;
    output << file.name() << ": no errors in its trees\n";
    return tool::kDone;
}

} // namespace show
