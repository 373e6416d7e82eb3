// Nodes one by one, with what their records do not say: parents, true depth, names of types.
// Fields that hold nothing are left out.
#include "bmask/bmask.h"
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/record_bytes.h"
#include "tools/ocmd_show/strays.h"
#include "tools/support/command_lines.h"
#include "tools/support/grammar_fields.h"
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
        write_texts(node);
        write_numbers(node);
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

    void write_texts(const tree_node_t &node) {
        text("help", text_of(node.help));
        text("submode_help", text_of(node.submode_help));
        text("func_id", text_of(node.func_id));
        text("mode_id", text_of(node.mode_id));
        text("aux_text", text_of(node.aux_text));
        text("aux_label", text_of(node.aux_label));
    }

    void write_numbers(const tree_node_t &node) {
        write_flags(node.flags);
        number("optional", node.optional);
        number("token_id", node.token_id);
        number("command_id", node.command_id);
        number("cmi_msg_type", node.cmi_msg_type);
        number("aux_value1", node.aux_value1);
        number("aux_value2", node.aux_value2);
        mask("intf_mask", node.intf_mask);

        std::array<char, BMASK256_TEXT_SIZE> list;
        bmask128_t permissions;
        bmask128_from_bitarray(bmask128_init(&permissions), node.perms_mask,
                               sizeof node.perms_mask);
        if (bmask128_sprintf(list.data(), &permissions) > 0)
            row("perms_mask") << list.data() << '\n';
        bmask256_t marks;
        bmask256_from_bitarray(bmask256_init(&marks), node.child_link_bits,
                               sizeof node.child_link_bits);
        if (bmask256_sprintf(list.data(), &marks) > 0)
            row("child_link_bits") << list.data() << '\n';
    }

    void write_flags(uint32_t flags) {
        struct Named {
            uint32_t flag;
            const char *name;
        };
        constexpr std::array kNamed{
            Named{TREE_FLAG_TERMINAL, "terminal"},
            Named{TREE_FLAG_SUBMODE, "submode"},
            Named{TREE_FLAG_EXCLUDED, "excluded in single mode"},
            Named{TREE_FLAG_EXCLUDED_ALSO, "excluded in single mode"},
        };
        if (flags == 0)
            return;
        row("flags") << "0x";
        output_.hexadecimal(flags);
        for (const Named &named : kNamed)
            if ((flags & named.flag) != 0)
                output_ << ", " << named.name;
        output_ << '\n';
    }

    void write_parameter(uint32_t position, const parameter_info_t &parameter) {
        row("parameter") << position << ", <" << tool::types_text(parameter.type_mask)
                         << ">, type_mask 0x";
        output_.hexadecimal(parameter.type_mask) << '\n';
        number("  int_min", parameter.int_min);
        number("  int_max", parameter.int_max);
        mask("  intf_mask", parameter.intf_mask);
        bytes("  opaque1", parameter.opaque1);
        bytes("  opaque2", parameter.opaque2);
    }

    TextOutput &row(std::string_view name) { return output_ << "  " << name << ": "; }

    void text(std::string_view name, std::string_view value) {
        if (!value.empty())
            row(name) << tool::double_quoted(value) << '\n';
    }

    template <typename Number> void number(std::string_view name, Number value) {
        if (value != 0)
            row(name) << value << '\n';
    }
    void number(std::string_view name, uint16_t value) { number(name, uint32_t{value}); }

    void mask(std::string_view name, uint64_t value) {
        if (value == 0)
            return;
        row(name) << "0x";
        output_.hexadecimal(value);
        const char *before = " (";
        for (; value != 0; value &= value - 1, before = ",")
            output_ << before << static_cast<uint32_t>(std::countr_zero(value));
        output_ << ")\n";
    }

    template <size_t Size> void bytes(std::string_view name, const uint8_t (&value)[Size]) {
        const auto held = without_zeros_at_end(value);
        if (held.empty())
            return;
        row(name);
        for (const uint8_t byte : held)
            output_.hexadecimal(byte, 2);
        output_ << '\n';
    }

    tool::Nodes nodes_;
    tool::LinkTable links_;
    tool::ParentTable parents_;
    std::vector<tool::Levels> levels_;
    TextOutput &output_;
};

} // namespace

tool::Status show_nodes(const TreeFile &file, const Part & /*part*/, TextOutput &output) {
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
