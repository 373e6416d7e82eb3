// The summary: what a file is and how much of everything its trees hold.
#include "tools/ocmd_show/modes.h"
#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace show {

namespace {

using tool::Container;
using tool::TextOutput;
using tool::TreeFile;
using tool::TreeRecord;
using tool::TreeShape;

struct Tally {
    uint32_t unreachable = 0;
    uint32_t shared = 0;
    uint32_t keywords = 0;
    uint32_t optional = 0;
    uint32_t terminals = 0;
    uint32_t submodes = 0;
    uint32_t parameters = 0;
    std::map<uint32_t, uint32_t> types; // how many parameters have each type mask

    Tally(tool::Nodes nodes, const TreeShape &shape) {
        for (uint32_t i = 0; i < nodes.size(); ++i) {
            const tree_node_t &node = nodes[i];
            unreachable += static_cast<uint32_t>(!shape.is_reached(i));
            shared += static_cast<uint32_t>(shape.parents_of(i).size() > 1);
            keywords += static_cast<uint32_t>(node.token[0] != '\0');
            optional += static_cast<uint32_t>(node.optional != 0);
            terminals += static_cast<uint32_t>((node.flags & TREE_FLAG_TERMINAL) != 0);
            submodes += static_cast<uint32_t>((node.flags & TREE_FLAG_SUBMODE) != 0);
            parameters += node.param_count;
            for (const parameter_info_t &parameter : tool::params_of(node))
                ++types[parameter.type_mask];
        }
    }
};

template <typename Value> void row(TextOutput &output, std::string_view name, const Value &value) {
    constexpr size_t kWidth = 24;
    output << "  " << name << ':';
    output.blanks(kWidth - std::min(kWidth - 1, name.size()));
    output << value << '\n';
}

void summarize(const TreeFile &file, const TreeRecord &record, TextOutput &output) {
    const TreeShape shape{record.nodes};
    const Tally tally{record.nodes, shape};
    row(output, "nodes", static_cast<uint64_t>(record.nodes.size()));
    row(output, "unreachable nodes", tally.unreachable);
    row(output, "shared nodes", tally.shared);
    row(output, "depth", shape.depth());
    row(output, "keywords", tally.keywords);
    row(output, "optional words", tally.optional);
    row(output, "terminals", tally.terminals);
    row(output, "submodes", tally.submodes);
    row(output, "parameters", tally.parameters);
    for (const auto &[mask, count] : tally.types)
        row(output, "  <" + tool::types_text(mask) + ">", count);
    row(output, "command lines", tool::count_lines(file, record).text());
}

} // namespace

tool::Status show_summary(const TreeFile &file, const Part & /*part*/, TextOutput &output) {
    const bool main = file.container() == Container::kMain;
    output << file.name() << ": " << (main ? "main par file" : "subtree file")
           << (file.compressed() ? ", gzip-compressed" : "")
           << (file.order() == tool::ByteOrder::kLittle ? ", little-endian" : ", big-endian");
    if (!main)
        output << ", records: " << static_cast<uint64_t>(file.records().size());
    output << '\n';
    for (size_t i = 0; i < file.records().size(); ++i) {
        const TreeRecord &record = file.records()[i];
        if (!main)
            output << "record " << static_cast<uint64_t>(i + 1) << ": attach path \""
                   << record.attach_path << "\", version " << record.version << ", path kind "
                   << record.path_kind << '\n';
        summarize(file, record, output);
    }
    return tool::kDone;
}

tool::Status show_commands(const TreeFile &file, const Part & /*part*/, TextOutput &output) {
    for (const TreeRecord &record : file.records())
        tool::list_lines(file, record, output);
    return tool::kDone;
}

} // namespace show
