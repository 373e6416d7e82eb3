// Tests of small exported operations that only the device's other programs call.
#include "cmd_gen/dump.h"
#include "cmd_gen/word.h"
#include "feature/tsh/src/trace.h"
#include "param_reg/builtin_types.h"
#include "parse_tree/record_fields.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_load.h"
#include "parse_tree/tree_writer.h"
#include "platform/bit_library.h"
#include "platform/robust_string.h"
#include "tests/support/harness.h"

#include <cstring>
#include <gtest/gtest.h>
#include <span>
#include <sstream>
#include <string>

namespace {

using harness::Outcome;

TEST(Exports, BoundedStringsAreTruncatedToTheirField) {
    char field[6] = "#####";
    EXPECT_EQ(robust_strncpy(field, "text", 0), field);
    EXPECT_STREQ(field, "#####");
    EXPECT_STREQ(__strcpy_to_buf(4, field, "text"), "tex");
    EXPECT_STREQ(__strcat_to_buf(sizeof field, field, "tile"), "texti");
    EXPECT_STREQ(static_cast<char *>(__memset_to_buf(2, field, '-', 100)), "--xti");
}

TEST(Exports, CompressedMasksFitOrAreRejected) {
    bmask128_t mask{BMASK128_BYTES, {1, 0, 2}};
    uint8_t bytes[BMASK256_BYTES + 1] = {};
    EXPECT_EQ(bitset_compress(&mask, bytes, 2), -1);
    EXPECT_EQ(bitset_compress(&mask, bytes, 3), 3);
    EXPECT_EQ(bytes[2], 2);
    EXPECT_EQ(bitset_uncompress(&mask, bytes, BMASK128_BYTES + 1), -1);
    mask.nbytes = 7; // invalid width
    EXPECT_EQ(bitset_compress(&mask, bytes, 3), -1);
    EXPECT_EQ(bitset_uncompress(&mask, bytes, 3), -1);
}

TEST(Exports, NullPointersAreNoNodes) {
    const Outcome outcome = harness::in_child([] {
        tsh_logfp = stdout;
        display_array_tree(nullptr, 0, 0);
        tree_node_t record;
        memset(&record, 0xFF, sizeof record);
        write_node_to_array(nullptr, &record);
        char text[] = "abc";
        const size_t size = tsh_word_text(nullptr, text, sizeof text);
        printf("%d %zu '%s' %d\n", tsh_dump_tree(nullptr), size, text, record.flags);
        return 0;
    });
    EXPECT_EQ(outcome, Outcome({0, "0 0 '' 0\n", ""}));
}

TEST(Exports, RecordsReturnTheirParameterMasks) {
    tree_node_t node{};
    node.params[0] = {0x40100003, 0x123456789A, {}, -2, 9, {}};
    EXPECT_EQ(node_get_param0_mask(&node), 0x40100003U);
    EXPECT_EQ(node_param_get_intf_mask(&node.params[0]), 0x123456789AU);
    const Outcome outcome = harness::in_child([&] {
        init_params();
        tsh_logfp = stdout;
        print_at_node_pinfo(&node.params[0]);
        print_node_param_type(&node.params[0]);
        node.params[0].type_mask = 0x40100001;
        print_node_param_type(&node.params[0]);
        return 0;
    });
    EXPECT_EQ(outcome.out, ", Mask : 40100003, Max Str Len : -2, Int Min : -2\tInt Max : 9"
                           ", Interface mask : 78187493530{  }{ INTEGER }");
}

template <typename Row> std::span<const Row> table(const Row *(*rows)(uint32_t *count)) {
    uint32_t count = 0;
    const Row *first = rows(&count);
    return {first, count};
}

// Returns all numbers of a record, found by the tables only.
std::string numbers_in(std::span<const tsh_field_t> fields, const void *record) {
    std::string text;
    for (const tsh_field_t &field : fields) {
        if (const uint64_t number = tsh_field_number(&field, record); number != 0)
            text.append(field.name).append("=") += std::to_string(int64_t(number)) + " ";
        for (uint32_t i = 0; i < 300; ++i)
            if (tsh_field_contains(&field, record, i) != 0)
                text.append(field.name).append(":") += std::to_string(i) + " ";
    }
    return text;
}

TEST(Exports, RecordsAreReadByTheirTables) {
    tree_node_t node{};
    strcpy(node.name, "n");
    node.optional = 4, node.flags = TREE_FLAG_EXCLUDED_ALSO, node.child_count = 1;
    node.children[0] = 513, node.child_link_bits[31] = 0x80, node.reserved[0] = 1;
    node.perms_mask[1] = 3, node.intf_mask = uint64_t{1} << 63 | 2;
    node.params[1] = {0x40100001, 1, {9}, -2, 9, {9}};
    EXPECT_EQ(numbers_in(table(tsh_node_fields), &node),
              "optional=4 flags=67108864 flags:26 perms_mask:8 perms_mask:9 child_count=1 "
              "children=513 child_link_bits:255 intf_mask=-9223372036854775806 intf_mask:1 "
              "intf_mask:63 ");
    EXPECT_EQ(numbers_in(table(tsh_parameter_fields), &node.params[1]),
              "type_mask=1074790401 intf_mask=1 intf_mask:0 int_min=-2 int_max=9 ");
    EXPECT_EQ(1U << table(tsh_node_flags).back().bit, TREE_FLAG_EXCLUDED_ALSO);
}

std::string type_of(const tsh_field_t &field) {
    std::ostringstream type;
    if (field.kind == TSH_FIELD_TEXT || field.kind == TSH_FIELD_BYTES)
        return field.kind == TSH_FIELD_TEXT ? "string" : "bytes";
    if (field.width == 1)
        return "bit array";
    if (field.kind == TSH_FIELD_PARAMETERS)
        type << "parameter";
    else
        type << (field.kind == TSH_FIELD_SIGNED ? "int" : "uint") << 8 * field.width;
    if (field.count > 1)
        type << '[' << field.count << ']';
    return type.str();
}

// Returns the first four columns of a page's rows that start with a number.
std::string documented(const char *heading, const char *end) {
    const std::string page = harness::read_file(TEST_FILES "/../doc/files.md");
    const size_t from = page.find(heading);
    std::istringstream lines(page.substr(from, page.find(end, from) - from));
    std::string rows;
    for (std::string line; std::getline(lines, line);) {
        size_t bar = 0;
        for (int column = 0; column < 4 && bar != std::string::npos; ++column)
            bar = line.find('|', bar + 1);
        if (line.size() > 2 && isdigit(line[2]) != 0)
            rows.append(line, 0, bar) += "|\n";
    }
    return rows;
}

std::string described(std::span<const tsh_field_t> fields) {
    std::ostringstream rows;
    for (const tsh_field_t &field : fields)
        rows << "| " << field.offset << " | " << field.width * field.count << " | " << field.name
             << " | " << type_of(field) << " |\n";
    return rows.str();
}

TEST(Exports, ThePageOnFilesDescribesEveryFieldAndFlag) {
    EXPECT_EQ(documented("## The node record", "All other bits"),
              described(table(tsh_node_fields)));
    EXPECT_EQ(documented("A parameter:", "- Strings"), described(table(tsh_parameter_fields)));
    std::ostringstream flags;
    for (const tsh_flag_t &flag : table(tsh_node_flags))
        flags << "| " << flag.bit << " | 0x" << std::hex << (1U << flag.bit) << std::dec << " | "
              << flag.name << " | " << flag.effect << " |\n";
    EXPECT_EQ(documented("All other bits", "A parameter:"), flags.str());
}

TEST(Exports, TheMainTreeHasADefaultFileName) {
    char name[20];
    EXPECT_EQ(tsh_parse_tree_filename_get(name, sizeof name), 0);
    EXPECT_STREQ(name, "/wysk/etc/par/defau");
    const Outcome outcome = harness::traced(TSH_TRACE_STARTUP, [] {
        unsetenv("TSH_PARSE_TREE");
        init_parse_tree();
    });
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "@\nMapping main parse file: /wysk/etc/par/default/main_tree.par"
                           "\n Error mapping main parse tree... \n");
    EXPECT_EQ(outcome.err, "/wysk/etc/par/default/main_tree.par: No such file or directory\n");
    const Outcome released = harness::traced(TSH_TRACE_NAVIGATION, [] {
        const tsh_generic_node_t hanging{0, {0, 0, 1}};
        tsh_parse_tree_release(&hanging);
        const tsh_generic_node_t free{0, {0, 0, 0}};
        tsh_parse_tree_release(&free);
    });
    EXPECT_EQ(released.out, "@Gnode is not root\nParse tree not released\n");
}

} // namespace
