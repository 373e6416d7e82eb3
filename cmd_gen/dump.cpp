// Tree dump: each record is formatted in one buffer and written at once.
#include "cmd_gen/dump.h"

#include "atnode/relations.h"
#include "cmd_gen/record_internal.h"
#include "feature/tsh/src/trace_internal.h"
#include "param_reg/param_registry.h"
#include "parse_tree/tree_node_internal.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kHexadecimal = 16;
constexpr int32_t kMaxIndent = 1023;

using tsh::Record;

void write(const Record &record) {
    const std::string_view text = record.text();
    fwrite_unlocked(text.data(), 1, text.size(), tsh_logfp);
}

template <size_t Size> std::string_view text_of(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

void add_param_type(Record &record, const parameter_info_t &param) {
    if (tsh::traces(TSH_TRACE_PARAMS)) { // the lookup writes its trace to the same stream
        write(record);
        record.clear();
    }
    const char *name = param_reg_name_get(param.type_mask);
    record << "{ " << (name == nullptr ? "" : name) << " }";
}

void add_param(Record &record, const parameter_info_t &param) {
    record << ", Mask : ";
    record.number(param.type_mask, kHexadecimal) << ", Max Str Len : ";
    record.number(static_cast<int16_t>(param.int_min)) << ", Int Min : ";
    record.number(param.int_min) << "\tInt Max : ";
    record.number(param.int_max) << ", Interface mask : ";
    record.number(param.intf_mask);
}

void add_verbose_part(Record &record, const tree_node_t &node) {
    record << ", Token Id : ";
    record.number(node.token_id) << ", Command Id : ";
    record.number(node.command_id) << ", Optional : ";
    record.number(node.optional) << ", CMI Msg Type : ";
    record.number(node.cmi_msg_type);
    record << ", ModeID : " << text_of(node.mode_id) << ", FuncID : " << text_of(node.func_id);
    record << ", Parameters : ";
    record.number(node.param_count);
    for (const parameter_info_t &param : tsh::params_of(node))
        add_param(record, param);
    for (const uint16_t child : tsh::children_of(node)) {
        record << ", Child Index : ";
        record.number(child);
    }
    record << ", SubModeHelp : " << text_of(node.submode_help) << ", Help : " << text_of(node.help);
}

template <typename Fill> void write_record(Fill fill) {
    if (tsh_logfp == nullptr)
        return;
    Record record;
    fill(record);
    write(record);
}

} // namespace

void tsh::add_short_record(Record &record, const tree_node_t &node) {
    const int32_t depth = atnode_depth(&node);
    record << "\n";
    record.blanks(static_cast<size_t>(std::clamp(depth, 0, kMaxIndent))) << " ";
    if (node.token[0] != '\0')
        record << "{ " << text_of(node.token) << " }";
    else
        add_param_type(record, node.params[0]);
    record << "[";
    record.number(depth) << "], [";
    record.number(node.child_count) << "], [";
    record.number(node.flags, kHexadecimal) << "], [";
    record.number(node.intf_mask, kHexadecimal) << "], [";
    record.number(node.param_count) << "]";
    if (node.optional != 0)
        record << "( Optional )";
    if ((node.flags & TREE_FLAG_TERMINAL) != 0)
        record << "( terminal )";
    if ((node.flags & TREE_FLAG_SUBMODE) != 0)
        record << "( submode )";
}

int32_t print_at_node(const tree_node_t *node, int32_t level) {
    write_record([=](Record &record) {
        tsh::add_short_record(record, *node);
        if (level == TREE_DUMP_VERBOSE)
            add_verbose_part(record, *node);
    });
    return 0;
}

void print_at_node_pinfo(const parameter_info_t *param) {
    write_record([=](Record &record) { add_param(record, *param); });
}

void print_node_param_type(const parameter_info_t *param) {
    write_record([=](Record &record) { add_param_type(record, *param); });
}

void print_node(const tree_node_t * /*node*/) {}

void tsh_parse_tree_print(void) {}
