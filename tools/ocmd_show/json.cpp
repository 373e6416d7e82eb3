// Records as JSON: every field by the record's table, and each node's index. Many JSON readers
// represent numbers of up to 53 bits exactly, so 64-bit numbers are hexadecimal strings.
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/record_bytes.h"
#include "tools/support/record_tables.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"

#include <bit>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace show {

namespace {

using tool::Container;
using tool::TextOutput;
using tool::TreeFile;
using tool::TreeRecord;

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
        output_ << '\n'; // a line for each node
        begin();
        number("index", next_index_++);
        write_fields(tool::node_record_fields(), &node);
        output_ << '}';
    }

    void write(const parameter_info_t &parameter) {
        begin();
        write_fields(tool::parameter_record_fields(), &parameter);
        output_ << '}';
    }

    void write_fields(std::span<const tsh_field_t> fields, const void *record) {
        for (const tsh_field_t &field : fields)
            write_field(field, record);
    }

    void write_field(const tsh_field_t &field, const void *record) {
        const std::span<const uint8_t> bytes = tool::bytes_of(record, field);
        switch (field.kind) {
        case TSH_FIELD_TEXT:
            return string_field(field.name, bytes);
        case TSH_FIELD_BYTES:
            key(field.name);
            return digits(without_zeros_at_end(bytes));
        case TSH_FIELD_LINKS:
            return elements<uint16_t>(field, record);
        case TSH_FIELD_PARAMETERS:
            return elements<parameter_info_t>(field, record);
        case TSH_FIELD_SIGNED:
            key(field.name) << static_cast<int64_t>(tsh_field_number(&field, record));
            return;
        default:
            if (field.width == 1)
                return list(field.name, positions(bytes));
            write_number(field, tsh_field_number(&field, record));
        }
    }

    void write_number(const tsh_field_t &field, uint64_t value) {
        if (field.width > sizeof(uint32_t)) {
            key(field.name) << "\"0x";
            output_.hexadecimal(value) << '"';
            return;
        }
        key(field.name) << value;
        if (field.kind == TSH_FIELD_FLAGS)
            list("flag_names", tool::flag_names(static_cast<uint32_t>(value)));
        else if (field.kind == TSH_FIELD_TYPES)
            list("type_names", tool::names_of_types(static_cast<uint32_t>(value)));
    }

    static std::vector<uint32_t> positions(std::span<const uint8_t> bits) {
        std::vector<uint32_t> set;
        for (uint32_t i = 0; i < bits.size(); ++i)
            for (unsigned rest = bits[i]; rest != 0; rest &= rest - 1)
                set.push_back(8 * i + static_cast<uint32_t>(std::countr_zero(rest)));
        return set;
    }

    // The elements in use, and the others up to the last that is not zero; usually none is.
    template <typename Element> void elements(const tsh_field_t &field, const void *record) {
        const auto *first = reinterpret_cast<const Element *>(tool::bytes_of(record, field).data());
        const std::span<const Element> all{first, field.count};
        const size_t used = tool::used_elements(record, field);
        list(field.name, all.first(used));
        const size_t rest = without_zeros_at_end(as_bytes(all.subspan(used))).size();
        if (rest > 0)
            list(std::string{"unused_"} + field.name,
                 all.subspan(used, (rest - 1) / sizeof(Element) + 1));
    }

    template <typename Element>
    static std::span<const uint8_t> as_bytes(std::span<const Element> elements) {
        return {reinterpret_cast<const uint8_t *>(elements.data()), elements.size_bytes()};
    }

    void write(uint32_t number) { output_ << number; }
    void write(std::string_view value) { string(value); }

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

    void number(std::string_view name, uint32_t value) { key(name) << value; }

    void text(std::string_view name, std::string_view value) {
        key(name);
        if (tool::is_utf8(value))
            string(value);
        else
            hex({reinterpret_cast<const uint8_t *>(value.data()), value.size()});
    }

    // A field that is more than one UTF-8 string padded with zeros is written as its bytes.
    void string_field(std::string_view name, std::span<const uint8_t> bytes) {
        const auto *first = reinterpret_cast<const char *>(bytes.data());
        const std::string_view value{first, strnlen(first, bytes.size())};
        const auto all = without_zeros_at_end(bytes);
        if (all.size() <= value.size())
            return text(name, value);
        key(name);
        hex(all);
    }

    void string(std::string_view value) {
        output_ << '"';
        for (size_t i = 0; i < value.size(); ++i)
            if (!tool::is_control_at(value, i))
                character(value[i]);
            else if (!is_utf8_of_c1(value[i])) // its second byte is its code
                code(value[i]);
        output_ << '"';
    }

    void hex(std::span<const uint8_t> value) {
        output_ << "{\"hex\":";
        digits(value);
        output_ << '}';
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

    TextOutput &output_;
    bool first_ = true; // the current object has no key yet
    uint32_t next_index_ = 0;
};

} // namespace

tool::Status show_json(const TreeFile &file, const Part & /*part*/, TextOutput &output) {
    JsonWriter{output}.write(file);
    return tool::kDone;
}

} // namespace show
