// Records as JSON: all that lies in them, and nothing else but each node's index. Numbers of more
// than 53 bits would lose digits in many readers, so masks of 64 bits are texts and bit arrays are
// lists of positions.
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/record_bytes.h"
#include "tools/support/tree_shape.h"
#include "tools/support/utf8.h"

#include <cstring>
#include <span>
#include <string_view>
#include <vector>

namespace show {

namespace {

using tool::Container;
using tool::TextOutput;
using tool::TreeFile;
using tool::TreeRecord;

template <typename Value> std::span<const uint8_t> bytes_of(const Value &value) {
    return {reinterpret_cast<const uint8_t *>(&value), sizeof value};
}

class JsonWriter {
public:
    explicit JsonWriter(TextOutput &output) : output_(output) {}

    void write(const TreeFile &file) {
        begin();
        text("file", file.name());
        text("container", file.container() == Container::kMain ? "main" : "subtrees");
        text("byte_order", file.order() == tool::ByteOrder::kLittle ? "little" : "big");
        key("compressed") << (file.compressed() ? "true" : "false");
        list("records", file.records());
        output_ << "}\n";
    }

private:
    void write(const TreeRecord &record) {
        begin();
        number("version", record.version);
        number("path_kind", record.path_kind);
        text("attach_path", record.attach_path);
        next_index_ = 0;
        list("nodes", record.nodes);
        output_ << '}';
    }

    void write(const tree_node_t &node) {
        const auto parameters = std::span{node.params};
        output_ << '\n'; // a line for each node
        begin();
        number("index", next_index_++);
        field("name", node.name);
        field("token", node.token);
        field("help", node.help);
        field("submode_help", node.submode_help);
        field("aux_text", node.aux_text);
        field("func_id", node.func_id);
        field("mode_id", node.mode_id);
        field("aux_label", node.aux_label);
        number("optional", node.optional);
        number("cmi_msg_type", node.cmi_msg_type);
        number("flags", node.flags);
        number("token_id", node.token_id);
        number("command_id", node.command_id);
        positions("perms_mask", node.perms_mask);
        list("params", parameters.first(node.param_count));
        unused("unused_params", parameters.subspan(node.param_count));
        number("aux_value1", node.aux_value1);
        number("param_count", node.param_count);
        number("aux_value2", node.aux_value2);
        number("child_count", node.child_count);
        list("children", tool::links_of(node));
        unused("unused_children", std::span{node.children}.subspan(node.child_count));
        positions("child_link_bits", node.child_link_bits);
        mask("intf_mask", node.intf_mask);
        bytes("reserved", node.reserved);
        output_ << '}';
    }

    void write(const parameter_info_t &parameter) {
        begin();
        number("type_mask", parameter.type_mask);
        mask("intf_mask", parameter.intf_mask);
        bytes("opaque1", parameter.opaque1);
        number("int_min", parameter.int_min);
        number("int_max", parameter.int_max);
        bytes("opaque2", parameter.opaque2);
        output_ << '}';
    }

    void write(uint32_t number) { output_ << number; }

    void begin() {
        output_ << '{';
        first_ = true;
    }

    TextOutput &key(std::string_view name) {
        if (!first_)
            output_ << ',';
        first_ = false;
        return output_ << '"' << name << "\":";
    }

    template <typename Values> void list(std::string_view name, const Values &values) {
        key(name) << '[';
        bool first = true;
        for (const auto &value : values) {
            if (!first)
                output_ << ',';
            first = false;
            write(value);
        }
        output_ << ']';
        first_ = false;
    }

    // Entries past those in use, up to the last that is not zero; mostly there are none.
    template <typename Entry> void unused(std::string_view name, std::span<const Entry> entries) {
        const std::span<const uint8_t> all{reinterpret_cast<const uint8_t *>(entries.data()),
                                           entries.size_bytes()};
        const size_t size = without_zeros_at_end(all).size();
        if (size > 0)
            list(name, entries.first((size - 1) / sizeof(Entry) + 1));
    }

    void number(std::string_view name, uint32_t value) { key(name) << value; }
    void number(std::string_view name, int32_t value) { key(name) << value; }

    void mask(std::string_view name, uint64_t value) {
        key(name) << "\"0x";
        output_.hexadecimal(value) << '"';
    }

    void text(std::string_view name, std::string_view value) {
        if (!tool::is_utf8(value))
            return hex(key(name), {reinterpret_cast<const uint8_t *>(value.data()), value.size()});
        key(name) << '"';
        for (size_t i = 0; i < value.size(); ++i)
            if (!tool::is_control_at(value, i))
                character(value[i]);
            else if (!is_utf8_of_c1(value[i])) // its second byte is its code
                code(value[i]);
        output_ << '"';
    }

    // A text of a record. A field that holds more than one text of UTF-8 with zeros behind it is
    // shown by its bytes.
    template <size_t Size> void field(std::string_view name, const char (&value)[Size]) {
        const size_t length = strnlen(value, Size);
        const auto whole = without_zeros_at_end(bytes_of(value));
        if (whole.size() <= length)
            text(name, {value, length});
        else
            hex(key(name), whole);
    }

    void hex(TextOutput &output, std::span<const uint8_t> value) {
        output << "{\"hex\":";
        digits(value);
        output << '}';
    }

    template <size_t Size> void bytes(std::string_view name, const uint8_t (&value)[Size]) {
        key(name);
        digits(without_zeros_at_end(value));
    }

    void digits(std::span<const uint8_t> value) {
        output_ << '"';
        for (const uint8_t byte : value)
            output_.hexadecimal(byte, 2);
        output_ << '"';
    }

    static bool is_utf8_of_c1(char first) { return first == '\xC2'; }

    void code(char c) {
        output_ << "\\u";
        output_.hexadecimal(static_cast<unsigned char>(c), 4);
    }

    void character(char c) {
        if (c == '"' || c == '\\')
            output_ << '\\';
        output_ << c;
    }

    template <size_t Size> void positions(std::string_view name, const uint8_t (&bits)[Size]) {
        std::vector<uint32_t> set;
        for (uint32_t i = 0; i < 8 * Size; ++i)
            if ((bits[i / 8] >> i % 8 & 1U) != 0)
                set.push_back(i);
        list(name, set);
    }

    TextOutput &output_;
    bool first_ = true; // of the object in hand nothing is written yet
    uint32_t next_index_ = 0;
};

} // namespace

tool::Status show_json(const TreeFile &file, const Part & /*part*/, TextOutput &output) {
    JsonWriter{output}.write(file);
    return tool::kDone;
}

} // namespace show
