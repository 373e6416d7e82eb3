// The list of command lines.
#include "tools/ocmd_show/modes.h"
#include "tools/support/command_lines.h"

namespace show {

tool::Status show_commands(const tool::TreeFile &file, const Request &request,
                           tool::TextOutput &output) {
    if (!request.below) {
        for (const tool::TreeRecord &record : file.records())
            tool::list_lines(file, record, output);
        return tool::kDone;
    }
    const std::vector<LineSearch> matches = search(file, *request.below);
    for (const LineSearch &match : matches) {
        tool::LineList lines{match.record(), output};
        match.for_each_path([&](LineSearch::Path path) { lines.add_below(path); });
    }
    return matches.empty() ? tool::kNegative : tool::kDone;
}

} // namespace show
