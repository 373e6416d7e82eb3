// Records as JSON: every field by the record's table, and each node's index. Many JSON readers
// represent numbers of up to 53 bits exactly, so 64-bit numbers are hexadecimal strings.
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/record_bytes.h"
#include "tools/support/json_output.h"
#include "tools/support/record_tables.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"

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

class RecordWriter {
public:
    explicit RecordWriter(TextOutput &output) : json_(output) {}

    void write(const TreeFile &file, std::span<const RecordPart> records) {
        json_.begin_object();
        json_.member("file", file.name());
        json_.member("container", file.container() == Container::kMain ? "main" : "subtrees");
        json_.member("byte_order", file.order() == tool::ByteOrder::kLittle ? "little" : "big");
        json_.member("compressed").boolean(file.compressed());
        list("records", records);
        json_.end_object().end_line();
    }

private:
    void write(const RecordPart &part) {
        json_.begin_object();
        json_.member("version").number(uint64_t{part.record->version});
        json_.member("path_kind").number(uint64_t{part.record->path_kind});
        json_.member("attach_path", part.record->attach_path);
        nodes_ = part.record->nodes;
        list("nodes", part.nodes);
        json_.end_object();
    }

    void write(NodeIndex node) {
        const auto index = static_cast<uint32_t>(node);
        json_.next_on_new_line().begin_object();
        json_.member("index").number(uint64_t{index});
        write_fields(tool::node_record_fields(), &nodes_[index]);
        json_.end_object();
    }

    void write(const parameter_info_t &parameter) {
        json_.begin_object();
        write_fields(tool::parameter_record_fields(), &parameter);
        json_.end_object();
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
            json_.member(field.name).digits(without_zeros_at_end(bytes));
            return;
        case TSH_FIELD_LINKS:
            return elements<uint16_t>(field, record);
        case TSH_FIELD_PARAMETERS:
            return elements<parameter_info_t>(field, record);
        case TSH_FIELD_SIGNED:
            json_.member(field.name).number(static_cast<int64_t>(tsh_field_number(&field, record)));
            return;
        default:
            if (field.width == 1)
                return list(field.name, positions(bytes));
            write_number(field, tsh_field_number(&field, record));
        }
    }

    void write_number(const tsh_field_t &field, uint64_t value) {
        json_.member(field.name);
        if (field.width > sizeof(uint32_t)) {
            json_.mask(value);
            return;
        }
        json_.number(value);
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

    void write(uint32_t number) { json_.number(uint64_t{number}); }
    void write(std::string_view value) { json_.text(value); }

    template <typename Values> void list(std::string_view name, const Values &values) {
        json_.member(name).begin_list();
        for (const auto &value : values)
            write(value);
        json_.end_list();
    }

    // A field that is more than one UTF-8 string padded with zeros is written as its bytes.
    void string_field(std::string_view name, std::span<const uint8_t> bytes) {
        const auto *first = reinterpret_cast<const char *>(bytes.data());
        const std::string_view value{first, strnlen(first, bytes.size())};
        const auto all = without_zeros_at_end(bytes);
        json_.member(name);
        if (all.size() <= value.size())
            json_.text(value);
        else
            json_.bytes(all);
    }

    tool::JsonOutput json_;
    tool::Nodes nodes_; // of the current record
};

} // namespace

tool::Status show_json(const TreeFile &file, const Request &request, TextOutput &output) {
    const auto parts = request.below ? parts_below(file, *request.below) : whole_records(file);
    if (request.below && parts.empty())
        return tool::kNegative;
    RecordWriter{output}.write(file, parts);
    return tool::kDone;
}

} // namespace show
