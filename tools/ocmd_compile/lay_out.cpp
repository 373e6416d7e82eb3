// Layout as by the tree writer: the words have its order already, and interface masks get the bits
// that it adds. The writer itself is limited to permissions up to 31 and to 19,998 nodes.
#include "tools/ocmd_compile/lay_out.h"

#include <algorithm>

namespace compiler {

namespace {

using tool::FieldKind;

void put(void *record, const Setting &setting) {
    const tool::GrammarField &field = *setting.field;
    switch (field.kind) {
    case FieldKind::kText:
    case FieldKind::kBytes:
        tool::put_text(record, field, setting.text);
        break;
    case FieldKind::kSet:
        for (uint32_t number = 0; number < field.size * 8U; ++number)
            if ((setting.number[number / 64] >> number % 64 & 1U) != 0)
                tool::put_in_set(record, field, number);
        break;
    case FieldKind::kFlag: // other keys may have set it
        if (setting.number[0] != 0)
            tool::put_number(record, field, 1);
        break;
    default:
        tool::put_number(record, field, setting.number[0]);
    }
}

template <typename Record> void add_implied_kinds(Record &record) {
    if ((record.intf_mask & TREE_INTF_ANY) != 0)
        record.intf_mask = record.intf_mask | TREE_INTF_IMPLIED;
}

void fill(tree_node_t &record, const Document &document, const Word &word) {
    word.name.copy(record.name, sizeof record.name - 1);
    word.key.token.copy(record.token, sizeof record.token - 1);
    record.param_count = word.key.parameter_count;
    for (size_t i = 0; i < word.key.parameter_count; ++i)
        record.params[i].type_mask = word.key.types[i];
    for (const Setting &setting : document.settings_of(word)) {
        if (setting.parameter == 0)
            put(&record, setting);
        else
            put(&record.params[setting.parameter - 1], setting);
    }
    add_implied_kinds(record);
    add_implied_kinds(record.params[0]);
    add_implied_kinds(record.params[1]);
    for (const Link &link : document.links_of(word))
        record.children[record.child_count++] = static_cast<uint16_t>(link.child);
}

} // namespace

std::vector<tree_node_t> lay_out(const Document &document) {
    std::vector<tree_node_t> records(document.words.size());
    lay_out(document, 0, records);
    return records;
}

void lay_out(const Document &document, size_t first, std::span<tree_node_t> records) {
    for (size_t i = 0; i < records.size(); ++i) {
        records[i] = {};
        fill(records[i], document, document.words[first + i]);
    }
    const auto begin = std::ranges::lower_bound(document.marks, first, {}, &Marks::word);
    for (const Marks &marks : std::span{begin, document.marks.end()}) {
        if (marks.word - first >= records.size())
            break;
        std::ranges::copy(marks.bits, records[marks.word - first].child_link_bits);
    }
}

} // namespace compiler
