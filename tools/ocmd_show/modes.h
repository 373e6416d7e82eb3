// The modes of ocmd_show: each shows a file with valid trees in its own form.
#pragma once

#include "tools/ocmd_show/line_search.h"
#include "tools/support/checks.h"
#include "tools/support/program.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace show {

/// What is requested beside the mode.
struct Request {
    std::optional<std::string> below; ///< Only the nodes below this line, normalized.
    uint32_t levels = UINT32_MAX;     ///< Only this many levels below the top node.
    bool redirect_root = false;       ///< Draw the redirect root.
    bool as_c_header = false;         ///< Functions as prototypes.
    size_t records_before = 0;        ///< Number of records in the files shown so far.
    tool::CheckSeverities severities{&tool::Check::in_viewer, {}}; ///< Of the checks.
};

/// Searches every record for the line. Reports if no record has it.
std::vector<LineSearch> search(const tool::TreeFile &file, const std::string &line);

/// Returns a flag per node: all but the redirect root of a main tree, unless it is requested.
std::vector<bool> nodes_to_show(const tool::TreeFile &file, tool::Nodes nodes,
                                const Request &request);

using Show = tool::Status(const tool::TreeFile &file, const Request &request,
                          tool::TextOutput &output);
Show show_summary;
Show show_commands;
Show show_nodes;
Show show_yaml;
Show show_json;
Show show_dot;
Show show_functions;
Show show_html;
Show show_faults;

} // namespace show
