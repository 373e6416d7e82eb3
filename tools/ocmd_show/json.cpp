// Records as JSON: every field by the record's table, and each node's index. Many JSON readers
// represent numbers of up to 53 bits exactly, so 64-bit numbers are hexadecimal strings.
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/record_bytes.h"
#include "tools/support/record_tables.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"

#include <bit>
#include <cstring>
#include <set>
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

enum class NodeIndex : uint32_t {};

// A record and the nodes of it that are shown.
struct RecordPart {
    const TreeRecord *record;
    std::vector<NodeIndex> nodes;
};

std::vector<RecordPart> whole_records(const TreeFile &file) {
    std::vector<RecordPart> parts;
    for (const TreeRecord &record : file.records()) {
        RecordPart &part = parts.emplace_back(RecordPart{&record, {}});
        for (uint32_t node = 0; node < record.nodes.size(); ++node)
            part.nodes.push_back(NodeIndex{node});
    }
    return parts;
}

std::vector<RecordPart> parts_below(const TreeFile &file, const std::string &line) {
    std::vector<RecordPart> parts;
    for (const LineSearch &match : search(file, line)) {
        RecordPart &part = parts.emplace_back(RecordPart{&match.record(), {}});
        std::set<uint16_t> nodes;
        for (const uint16_t found : match.found()) {
            const std::vector<uint16_t> reached = match.reached_from(found);
            nodes.insert(reached.begin(), reached.end());
        }
        for (const uint16_t node : nodes)
            part.nodes.push_back(NodeIndex{node});
    }
    return parts;
}

class JsonWriter {
public:
    explicit JsonWriter(TextOutput &output) : output_(output) {}

    void write(const TreeFile &file, std::span<const RecordPart> records) {
        begin();
        text("file", file.name());
        text("container", file.container() == Container::kMain ? "main" : "subtrees");
        text("byte_order", file.order() == tool::ByteOrder::kLittle ? "little" : "big");
        key("compressed") << (file.compressed() ? "true" : "false");
        list("records", records);
        output_ << "}\n";
    }

private:
    void write(const RecordPart &part) {
        begin();
        number("version", part.record->version);
        number("path_kind", part.record->path_kind);
        text("attach_path", part.record->attach_path);
        nodes_ = part.record->nodes;
        list("nodes", part.nodes);
        output_ << '}';
    }

    void write(NodeIndex node) {
        output_ << '\n'; // a line for each node
        begin();
        const auto index = static_cast<uint32_t>(node);
        number("index", index);
        write_fields(tool::node_record_fields(), &nodes_[index]);
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
    tool::Nodes nodes_; // of the current record
};

} // namespace

tool::Status show_json(const TreeFile &file, const Request &request, TextOutput &output) {
    const auto parts = request.below ? parts_below(file, *request.below) : whole_records(file);
    if (request.below && parts.empty())
        return tool::kNegative;
    JsonWriter{output}.write(file, parts);
    return tool::kDone;
}

} // namespace show
