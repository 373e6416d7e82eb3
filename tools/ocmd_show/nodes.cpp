// Nodes one by one: their fields, and what their records do not contain: parents, depth, type
// names.
#include "bmask/bmask.h"
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/record_bytes.h"
#include "tools/ocmd_show/strays.h"
#include "tools/support/command_lines.h"
#include "tools/support/record_tables.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"
#include "tools/support/wording.h"

#include <array>
#include <bit>
#include <span>
#include <string_view>
#include <vector>

namespace show {

namespace {

using tool::Container;
using tool::text_of;
using tool::TextOutput;
using tool::TreeFile;
using tool::TreeRecord;

constexpr std::string_view kIndent = "  ";
constexpr std::string_view kInnerIndent = "    ";

class NodeWriter {
public:
    NodeWriter(tool::Nodes nodes, TextOutput &output)
        : nodes_(nodes), links_(nodes), parents_(links_),
          levels_(tool::measure_levels(links_, tool::children_first(links_))), output_(output) {}

    void write(uint32_t index) {
        const tree_node_t &node = nodes_[index];
        output_ << "node " << index << ": ";
        output_ << tool::double_quoted(text_of(node.name)) << '\n';
        write_place(index);
        write_fields(node_fields_, &node);
        for (uint32_t i = 0; i < node.param_count; ++i)
            write_parameter(i + 1, node.params[i]);
        for (const std::string &stray : strays_of(node))
            row("stray") << stray << '\n';
    }

private:
    void write_place(uint32_t index) {
        const tree_node_t &node = nodes_[index];
        text("word", tool::word_of(node));
        write_nodes("parents", parents_.of(index));
        const auto [least, greatest] = levels_[index];
        row("depth");
        if (least == 0)
            output_ << "not reached from the root";
        else
            output_ << least;
        if (least != greatest)
            output_ << " to " << greatest;
        output_ << '\n';
        write_nodes("children", tool::links_of(node));
    }

    void write_nodes(std::string_view name, std::span<const uint16_t> nodes) {
        if (nodes.empty())
            return;
        row(name);
        const char *between = "";
        for (const uint16_t node : nodes) {
            output_ << between << uint32_t{node} << ' ';
            output_ << tool::double_quoted(text_of(nodes_[node].name));
            between = ", ";
        }
        output_ << '\n';
    }

    void write_fields(std::span<const tsh_field_t *const> fields, const void *record) {
        for (const tsh_field_t *field : fields)
            write_field(*field, record);
    }

    // Omits fields that are all zero.
    void write_field(const tsh_field_t &field, const void *record) {
        const std::span<const uint8_t> held = without_zeros_at_end(tool::bytes_of(record, field));
        if (held.empty())
            return;
        switch (field.kind) {
        case TSH_FIELD_TEXT:
            return text(field.name, tool::string_in(record, field));
        case TSH_FIELD_BYTES:
            row(field.name);
            return digits(held);
        case TSH_FIELD_SIGNED:
            row(field.name) << static_cast<int64_t>(tsh_field_number(&field, record)) << '\n';
            return;
        case TSH_FIELD_FLAGS:
            return write_flags(field.name, tsh_field_number(&field, record));
        case TSH_FIELD_SET:
            row(field.name);
            return field.width == 1 ? ranges(held) : mask(tsh_field_number(&field, record));
        default:
            row(field.name) << tsh_field_number(&field, record) << '\n';
        }
    }

    void write_flags(std::string_view name, uint64_t flags) {
        row(name) << "0x";
        output_.hexadecimal(flags);
        for (const std::string_view flag : tool::flag_names(static_cast<uint32_t>(flags)))
            output_ << ", " << flag;
        output_ << '\n';
    }

    void ranges(std::span<const uint8_t> bit_array) {
        std::array<char, BMASK256_TEXT_SIZE> list;
        bmask256_t set;
        bmask256_from_bitarray(bmask256_init(&set), bit_array.data(),
                               static_cast<int32_t>(bit_array.size()));
        bmask256_sprintf(list.data(), &set);
        output_ << list.data() << '\n';
    }

    void mask(uint64_t value) {
        output_ << "0x";
        output_.hexadecimal(value);
        const char *before = " (";
        for (; value != 0; value &= value - 1, before = ",")
            output_ << before << static_cast<uint32_t>(std::countr_zero(value));
        output_ << ")\n";
    }

    void digits(std::span<const uint8_t> bytes) {
        for (const uint8_t byte : bytes)
            output_.hexadecimal(byte, 2);
        output_ << '\n';
    }

    void write_parameter(uint32_t position, const parameter_info_t &parameter) {
        row("parameter") << position << ", <" << tool::types_text(parameter.type_mask)
                         << ">, type_mask 0x";
        output_.hexadecimal(parameter.type_mask) << '\n';
        indent_ = kInnerIndent;
        write_fields(parameter_fields_, &parameter);
        indent_ = kIndent;
    }

    TextOutput &row(std::string_view name) { return output_ << indent_ << name << ": "; }

    void text(std::string_view name, std::string_view value) {
        if (!value.empty())
            row(name) << tool::double_quoted(value) << '\n';
    }

    tool::Nodes nodes_;
    tool::LinkTable links_;
    tool::ParentTable parents_;
    std::vector<tool::Levels> levels_;
    std::vector<const tsh_field_t *> node_fields_ = tool::listed(tool::node_record_fields());
    std::vector<const tsh_field_t *> parameter_fields_ =
        tool::listed(tool::parameter_record_fields());
    TextOutput &output_;
    std::string_view indent_ = kIndent;
};

} // namespace

tool::Status show_nodes(const TreeFile &file, const Request & /*request*/, TextOutput &output) {
    uint32_t number = 0;
    for (const TreeRecord &record : file.records()) {
        ++number;
        if (file.container() == Container::kSubtrees)
            output << "record " << number << '\n';
        NodeWriter writer{record.nodes, output};
        for (uint32_t node = 0; node < record.nodes.size(); ++node)
            writer.write(node);
    }
    return tool::kDone;
}

} // namespace show
