#include "examples/grammar.h"
#include "parse_tree/tree_load.h"
#include "tests/support/harness.h"
#include <gtest/gtest.h>
TEST(TreeLoad, Placeholder) { EXPECT_EQ(node_get_param0_mask(&std::vector<tree_node_t>(1)[0]), 0u); }
