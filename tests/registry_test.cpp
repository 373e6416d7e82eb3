// The registry of parameter types as programs fill and ask it.
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/trace.h"
#include "param_reg/builtin_types.h"
#include "param_reg/param_registry.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/harness.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>

namespace {

using harness::traced;

// Every test begins with an empty table.
class Registry : public testing::Test {
protected:
    Registry() { init_pinfo_reg_table(); }
    ~Registry() override { release(pinfo_reg_tbl); }

    // The library never releases a record.
    static void release(const param_reg_table_t &table) {
        std::for_each_n(std::begin(table.entries), table.count, tsh_free);
    }

    static int32_t enter(uint32_t id, const char *name, int32_t size = 4,
                         param_match_t match = nullptr) {
        return param_register(id, name, size, nullptr, match, nullptr);
    }
};

TEST_F(Registry, RejectsDuplicateAndUnnamedTypes) {
    EXPECT_EQ(enter(1, "STRING"), 0);
    EXPECT_EQ(enter(2, "string"), -1);
    EXPECT_EQ(enter(1, "other"), -1);
    EXPECT_EQ(enter(32, nullptr), -1);
    EXPECT_EQ(enter(32, ""), -1);
    EXPECT_EQ(pinfo_reg_tbl.count, 1U);
    const std::string as_far(31, 'x');
    EXPECT_EQ(enter(2, (as_far + "yz").c_str()), 0);
    EXPECT_EQ(enter(3, (as_far + "z").c_str()), 0) << "names are compared as given";
    EXPECT_EQ(param_reg_name_get(2), as_far);
    EXPECT_EQ(param_reg_name_get(3), as_far);
    EXPECT_EQ(enter(4, as_far.c_str()), -1);

    for (uint32_t id = pinfo_reg_tbl.count; id < PARAM_REG_CAPACITY; ++id)
        EXPECT_EQ(enter(1000 + id, std::to_string(id).c_str()), 0);
    EXPECT_EQ(param_reg_index_get(1063), 1063U);
    EXPECT_EQ(enter(64, "one too many"), -1);
    EXPECT_EQ(pinfo_reg_tbl.count, 64U);
    release(pinfo_reg_tbl);
    EXPECT_EQ(init_pinfo_reg_table(), 0);
    EXPECT_EQ(pinfo_reg_tbl.count, 0U);
    EXPECT_EQ(pinfo_reg_tbl.entries[63], nullptr);
    EXPECT_EQ(param_reg_info_get(1), nullptr);
    EXPECT_EQ(param_reg_name_get(1), nullptr);
    EXPECT_EQ(param_reg_index_get(1), 0U);
}

TEST_F(Registry, StoresTheGivenTypes) {
    int first = 0;
    int second = 0;
    const auto match = [](const parameter_info_t *) { return 1; };
    ASSERT_EQ(param_register(0x40100002, "RANGE", 8, &first, match, &second), 0);
    const param_reg_info_t *type = param_reg_info_get(0x40100002);
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->id, 0x40100002U);
    EXPECT_STREQ(type->name, "RANGE");
    EXPECT_EQ(type->size, 8);
    EXPECT_EQ(type->extra1, &first);
    EXPECT_EQ(type->match_fn, static_cast<param_match_t>(match));
    EXPECT_EQ(type->extra2, &second);
    const std::pair<int32_t, int32_t> sizes[] = {{1, 1},  {1024, 1024}, {0, 0},
                                                 {-5, 0}, {1025, 0},    {4104, 0}};
    for (const auto &[given, kept] : sizes) {
        const uint32_t id = pinfo_reg_tbl.count;
        EXPECT_EQ(enter(id, std::to_string(given).c_str(), given), 0);
        EXPECT_EQ(param_reg_info_get(id)->size, kept) << given;
    }
}

// Their ids are a contract with every compiled tree. A second round ends the program at the first.
TEST_F(Registry, ContainsTheBuiltInTypesOnce) {
    EXPECT_EQ(init_params(), 0);
    std::ostringstream types;
    for (uint32_t i = 0; i < pinfo_reg_tbl.count; ++i) {
        const param_reg_info_t &type = *pinfo_reg_tbl.entries[i];
        types << std::hex << type.id << ' ' << type.name << ' ' << std::dec << type.size << ';';
    }
    EXPECT_EQ(
        types.str(),
        "1 STRING 0;2 LINE 0;4 URI 520;8 DNS Name 0;10 user@host 0;40000001 IP ADDR 4;"
        "40000002 IPv4 Address 24;40000004 IPv6 Address 24;40000008 INET Address 0;"
        "40100001 INTEGER 4;40100002 INTEGER RANGE 8;40100004 HEX 4;40100008 INT MULTI RANGE 0;"
        "40100010 HEX RANGE 8;40100020 Unsigned Int 0;40100040 Uint Range 0;"
        "40100080 Hex Multi Range 0;40200001 INTERFACE 4;40200002 INTERFACE RANGE 528;"
        "40300001 MAC ADDR 6;40300002 WWN 8;40300004 LUN 8;40400001 ZANET INT 4;"
        "40400002 ZANET INT RANGE 8;40400004 ZANET MULTI RANGE 0;40500001 Guid 0;"
        "40600001 FC ID 4;40700001 Community 0;40800001 INT64 0;40800002 UINT64 0;"
        "40800004 HEX64 0;40900001 SID 0;40900002 LID 0;40900004 NID 0;40900008 NET 0;"
        "40a00001 Password 0;40b00001 Pseudo Intf 0;");
    EXPECT_EQ(param_reg_index_get(0x40100002), 0x40100002U);
    EXPECT_EQ(param_reg_index_get(0x40100003), 0U) << "a combination";
    const harness::Outcome again = harness::in_child(init_params);
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.out, "\nParam Name : STRING, id 1 : Registration failed...");
}

int32_t accept(const parameter_info_t *param) {
    return param->int_min; // non-zero says yes
}

int32_t refuse(const parameter_info_t * /*param*/) {
    return 0;
}

std::string accepting(uint32_t mask) {
    parameter_info_t param{};
    param.type_mask = mask;
    param.int_min = -2;
    const param_reg_info_t *type = param_reg_info_check_get_combn(&param);
    return type == nullptr ? "none" : type->name;
}

class Combinations : public Registry {
protected:
    Combinations() {
        enter(0x40104001, "refuses", 4, refuse);
        enter(0x40104002, "silent");
        enter(0x40104004, "accepts", 4, accept);
        enter(0x00004000, "fourteen", 4, accept);
    }
};

TEST_F(Combinations, UseTheFirstTypeThatAccepts) {
    EXPECT_EQ(accepting(0x7F104007), "accepts") << "bits 24 to 29 belong to no type";
    EXPECT_EQ(accepting(0x4010400C), "accepts");
    EXPECT_EQ(accepting(0x40104003), "none") << "nobody accepts";
    EXPECT_EQ(accepting(0x40104009), "none") << "a type is not registered";
    EXPECT_EQ(accepting(0x40104000), "none") << "no type at all";
    EXPECT_EQ(accepting(0x00004000), "fourteen") << "a type bit in family 0";
    EXPECT_EQ(accepting(0x00084000), "fourteen");
    EXPECT_EQ(accepting(0x80104004), "none") << "another family";
}

// Everything that the registry does, however it ends.
void every_step() {
    accepting(0x4010400D);
    accepting(0x4010400A);
    accepting(0x40104001);
    param_register(1, nullptr, 0, nullptr, nullptr, nullptr);
    param_register(1, "ACCEPTS", 0, nullptr, nullptr, nullptr);
    param_register(1, "new", 1, nullptr, nullptr, nullptr);
}

TEST_F(Combinations, TraceEveryStep) {
    const uint32_t families = TSH_TRACE_PARAMS | TSH_TRACE_FUNCTIONS | TSH_TRACE_STARTUP;
    EXPECT_EQ(traced(families, every_step).out,
              harness::read_file(TEST_FILES "/traces/registry.txt"));
    EXPECT_EQ(traced(~families, every_step).out, "");
}

TEST_F(Registry, ReturnsAnErrorWithoutMemory) {
    if (!failing_malloc::available())
        GTEST_SKIP() << "a sanitizer owns malloc";
    const harness::Outcome outcome = traced(TSH_TRACE_STARTUP, [] {
        puts("before");
        failing_malloc::arm(1);
        const int32_t result = enter(1, "new");
        failing_malloc::disarm();
        printf("\n%d %u\n", result, pinfo_reg_tbl.count);
    });
    EXPECT_EQ(outcome.out, "before\n@Param Sanity check successfull, Registering...\n"
                           "\nErr: Malloc failed...@Mem alloc error...\n\n-2 0\n");
}

} // namespace
