// Small operations that the device's other programs call and nothing of ours does.
#include "cmd_gen/dump.h"
#include "feature/tsh/src/trace.h"
#include "param_reg/builtin_types.h"
#include "parse_tree/tree_load.h"
#include "platform/bit_library.h"
#include "platform/robust_string.h"
#include "tests/support/harness.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using harness::Outcome;

TEST(Exports, BoundedTextsAreCutToTheirField) {
    char field[6] = "#####";
    EXPECT_EQ(robust_strncpy(field, "text", 0), field);
    EXPECT_STREQ(field, "#####");
    EXPECT_STREQ(__strcpy_to_buf(4, field, "text"), "tex");
    EXPECT_STREQ(__strcat_to_buf(sizeof field, field, "tile"), "texti");
    EXPECT_STREQ(static_cast<char *>(__memset_to_buf(2, field, '-', 100)), "--xti");
}

TEST(Exports, CompressedMasksFitOrAreRefused) {
    bmask128_t mask{BMASK128_BYTES, {1, 0, 2}};
    uint8_t bytes[BMASK256_BYTES + 1] = {};
    EXPECT_EQ(bitset_compress(&mask, bytes, 2), -1);
    EXPECT_EQ(bitset_compress(&mask, bytes, 3), 3);
    EXPECT_EQ(bytes[2], 2);
    EXPECT_EQ(bitset_uncompress(&mask, bytes, BMASK128_BYTES + 1), -1);
    mask.nbytes = 7; // no width
    EXPECT_EQ(bitset_compress(&mask, bytes, 3), -1);
    EXPECT_EQ(bitset_uncompress(&mask, bytes, 3), -1);
}

TEST(Exports, RecordsTellOfTheirParameters) {
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

TEST(Exports, TheMainTreeHasAPlaceOfItsOwn) {
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
