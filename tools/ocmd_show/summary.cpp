// The summary: what a file is and how much of everything its trees hold.
#include "tools/ocmd_show/modes.h"
#include "tools/support/command_count.h"
#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <map>
#include <span>
#include <string_view>
#include <vector>

namespace show {

namespace {

using tool::Container;
using tool::LinkTable;
using tool::TextOutput;
using tool::TreeFile;
using tool::TreeRecord;

// Counts of each record.
struct Tally {
    uint32_t keywords = 0;
    uint32_t optional = 0;
    uint32_t terminals = 0;
    uint32_t submodes = 0;
    uint32_t parameters = 0;
    std::map<uint32_t, uint32_t> types; // how many parameters have each type mask

    explicit Tally(tool::Nodes nodes) {
        for (const tree_node_t &node : nodes) {
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

uint64_t count_shared(const LinkTable &links) {
    std::vector<uint8_t> parents(links.node_count()); // counted up to two
    for (uint32_t node = 0; node < links.node_count(); ++node)
        for (const uint16_t child : links.below(node))
            parents[child] = static_cast<uint8_t>(parents[child] == 0 ? 1 : 2);
    return static_cast<uint64_t>(std::ranges::count(parents, 2));
}

uint32_t depth_of(const LinkTable &links, std::span<const uint16_t> order) {
    const auto levels = tool::measure_levels(links, order);
    return std::ranges::max_element(levels, {}, &tool::Levels::greatest)->greatest;
}

tool::Count count_lines(const LinkTable &links, std::span<const uint16_t> order, bool with_root) {
    tool::Count count = tool::count_lines_below(links, order).front();
    return count += static_cast<uint64_t>(with_root && links.has_line(0));
}

template <typename Value> void row(TextOutput &output, std::string_view name, const Value &value) {
    constexpr size_t kWidth = 24;
    output << "  " << name << ':';
    output.blanks(kWidth - std::min(kWidth - 1, name.size()));
    output << value << '\n';
}

void summarize(const TreeFile &file, const TreeRecord &record, TextOutput &output) {
    const LinkTable links{record.nodes};
    const std::vector<uint16_t> order = tool::children_first(links);
    const Tally tally{record.nodes};
    row(output, "nodes", uint64_t{record.nodes.size()});
    row(output, "unreachable nodes", uint64_t{record.nodes.size() - order.size()});
    row(output, "shared nodes", count_shared(links));
    row(output, "depth", depth_of(links, order));
    row(output, "keywords", tally.keywords);
    row(output, "optional words", tally.optional);
    row(output, "terminals", tally.terminals);
    row(output, "submodes", tally.submodes);
    row(output, "parameters", tally.parameters);
    for (const auto &[mask, count] : tally.types)
        row(output, "  <" + tool::types_text(mask) + ">", count);
    row(output, "command lines",
        count_lines(links, order, tool::begins_with_root(file, record)).text());
}

} // namespace

tool::Status show_summary(const TreeFile &file, const Request & /*request*/, TextOutput &output) {
    const bool main = file.container() == Container::kMain;
    output << file.name() << ": " << (main ? "main par file" : "subtree file")
           << (file.compressed() ? ", gzip-compressed" : "")
           << (file.order() == tool::ByteOrder::kLittle ? ", little-endian" : ", big-endian");
    if (!main)
        output << ", records: " << uint64_t{file.records().size()};
    output << '\n';
    for (size_t i = 0; i < file.records().size(); ++i) {
        const TreeRecord &record = file.records()[i];
        if (!main) {
            output << "record " << uint64_t{i + 1} << ": attach path "
                   << tool::double_quoted(record.attach_path) << ", version " << record.version
                   << ", path kind " << record.path_kind << '\n';
        }
        summarize(file, record, output);
    }
    return tool::kDone;
}

} // namespace show
