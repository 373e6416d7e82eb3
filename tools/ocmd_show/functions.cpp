// The list of functions. Shared nodes can end more lines than can be listed.
#include "tools/ocmd_show/functions.h"

#include "base/escape.h"
#include "tools/support/types.h"

#include <algorithm>

namespace show {

namespace {

using tool::Count;
using tool::TextOutput;

constexpr uint64_t kMaxListed = 100; // lines of a node

std::string parameters_text(const Function &function) {
    if (!function.parameters)
        return "...";
    std::string text;
    for (const uint32_t mask : *function.parameters)
        (text += text.empty() ? "" : ", ") += tool::types_text(mask);
    return text;
}

void write_list(const FunctionTable &table, TextOutput &output) {
    for (const auto &[name, function] : table.functions()) {
        output << base::escaped(name) << '(' << parameters_text(function) << ')'
               << base::escaped(modes_text(function)) << '\n';
        for (const Function::Use &use : function.uses)
            for_each_line(use, [&](const std::string &line) { output << "  " << line << '\n'; });
    }
}

} // namespace

FunctionTable::FunctionTable(const tool::TreeFile &file, const Request &request) {
    if (request.below)
        for (const LineSearch &match : search(file, *request.below))
            lines_.emplace_back(match, lists_);
    else
        for (const tool::TreeRecord &record : file.records())
            lines_.emplace_back(file, record, lists_);
    for (const RecordLines &lines : lines_)
        add(lines);
    for (auto &[name, function] : functions_) {
        auto list = ParameterLists::kNone;
        for (const Function::Use &use : function.uses)
            list = ParameterLists::common(list, use.lines->parameters(use.node));
        if (list != ParameterLists::kVarying)
            function.parameters = lists_.types(list);
    }
}

void FunctionTable::add(const RecordLines &lines) {
    for (uint32_t i = 0; i < lines.nodes().size(); ++i) {
        const tree_node_t &node = lines.nodes()[i];
        const std::string_view name = tool::text_of(node.func_id);
        if (name.empty() || !tool::has_line(node) || lines.count(i).is_zero())
            continue;
        Function &function = functions_[name];
        function.uses.push_back({&lines, static_cast<uint16_t>(i)});
        add_modes(function.modes, lines.modes(i));
    }
}

void for_each_line(const Function::Use &use,
                   const std::function<void(const std::string &)> &write) {
    const RecordLines &lines = *use.lines;
    Count count = lines.count(use.node);
    if (count <= kMaxListed) {
        for (const RecordLines::Path &path : lines.paths(use.node))
            write(lines.line(path));
        return;
    }
    write(lines.line(lines.shortest_path(use.node)));
    if (!count.is_beyond())
        count -= 1;
    write("... and " + count.text() + " more lines that end at node " + std::to_string(use.node));
}

std::string modes_text(const Function &function) {
    std::string text;
    for (size_t i = 0; i < function.modes.size(); ++i) {
        const bool is_last = i + 1 == function.modes.size();
        text += i == 0 ? is_last ? ", mode " : ", modes " : is_last ? " and " : ", ";
        text += function.modes[i];
    }
    return text;
}

tool::Status show_functions(const tool::TreeFile &file, const Request &request,
                            TextOutput &output) {
    const FunctionTable table{file, request};
    if (request.as_c_header)
        write_c_header(table, file.name(), output);
    else
        write_list(table, output);
    const bool found = !request.below || !table.is_empty();
    return found ? tool::kDone : tool::kNegative;
}

} // namespace show
