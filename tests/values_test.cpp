// Tests of parameter values: notations, bounds, error messages, examples, types of a program.
#include "param_reg/builtin_types.h"
#include "param_reg/values.h"
#include "tests/support/harness.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

namespace {

parameter_info_t parameter(uint32_t mask, int32_t int_min = 0, int32_t int_max = 0) {
    parameter_info_t made{};
    made.type_mask = mask;
    made.int_min = int_min;
    made.int_max = int_max;
    return made;
}

std::string refusal(const parameter_info_t &checked, std::string_view text,
                    const tsh_types_t *types = nullptr) {
    char reason[TSH_REASON_SIZE];
    const tsh_check_t result =
        tsh_value_check(types, &checked, text.data(), text.size(), nullptr, reason);
    EXPECT_EQ(result == TSH_CHECK_ACCEPTED, reason[0] == '\0') << text;
    return reason;
}

std::string example(const parameter_info_t &of, tsh_example_t which) {
    char text[400];
    return tsh_value_example(nullptr, &of, which, text, sizeof text) < 0 ? "none" : text;
}

std::span<const tsh_type_t> builtin_types() {
    uint32_t count = 0;
    const tsh_type_t *types = tsh_types_list(nullptr, &count);
    return {types, count};
}

TEST(Values, AreAcceptedInTheUsualNotationsOnly) {
    const std::string label(63, 'a');
    const std::string name = label + '.' + label + '.' + label + '.' + std::string(61, 'a');
    const struct {
        uint32_t mask;
        std::string taken;
        std::string refused;
    } rows[] = {
        {PARAM_TYPE_IPV4, "0.0.0.0 255.255.255.255", "1.2.3 1.2.3.256 1.2.3.04 1.2.3.4.5 ::1 ,"},
        {PARAM_TYPE_IPV6, ":: ::1 1:2:3:4:5:6:7:8 ::ffff:1.2.3.4",
         ": 1::2::3 12345:: 1.2.3.4 ::1%a"},
        {PARAM_TYPE_IP, "1.2.3.4 ::1", "1.2.3 host"},
        {PARAM_TYPE_INET, "1.2.3.4 ::1", "1.2.3 host"},
        {PARAM_TYPE_MAC, "02:00:5E:00:53:0a 02-00-5e-00-53-0a 0200.5e00.530a",
         "2:0:5e:0:53:a 02:00-5e:00:53:0a 02005e00530a 02:00:5e:00:53 02:00:5e:00:53:0g"},
        {PARAM_TYPE_WWN, "10:00:00:00:5e:00:53:0A 100000005e00530A",
         "10:00:00:00:5e:00:53 10-00-00-00-5e-00-53-0a 100000005e00530 0x100000005e00530"},
        {PARAM_TYPE_GUID, "00112233-4455-6677-8899-aAbBcCdDeEfF",
         "00112233445566778899aabbccddeeff {00112233-4455-6677-8899-aabbccddeeff}"},
        {PARAM_TYPE_FC_ID, "0x010203 0XFFFFFF 0x1 01:02:fF", "010203 0x 0x1000000 01:02 1:2:3"},
        {PARAM_TYPE_DNS_NAME, "a 3com.example a-b.c xn--a " + label + " " + name,
         "-a a- a..b a. a_b . a" + label + " " + name + "a"},
        {PARAM_TYPE_USER_HOST, "a@b a.b@c.d a@1.2.3.4 a@::1", "a @b a@ a@b@c a@b_c a\x7F@b"},
        {PARAM_TYPE_URI, "a: ftp://h/f?a=b#c h2+.-:%20",
         "a 1a:b :b a:%2 a:%zz a:%2z a:<b> a:\xC3\xA9"},
        {PARAM_TYPE_COMMUNITY, "0:0 65535:65535 4294967295", "65536:0 1:2:3 1: :1 4294967296 a:b"},
        {PARAM_TYPE_INTEGER, "-2147483648 2147483647 007 -0",
         "2147483648 -2147483649 +1 0x1 1-2 -"},
        {PARAM_TYPE_INTEGER_RANGE, "1 1-1 -7--3 -3-4", "2-1 -3--7 1-2-3 1- -1- 1,2"},
        {PARAM_TYPE_INTEGER_LIST, "1 3,1-2 -7--3,5", "1, ,1 2-1 1,2-1 1;2"},
        {PARAM_TYPE_HEX, "0 fF 0xfF ffffffff", "0x 100000000 -1 g 0x0x1"},
        {PARAM_TYPE_HEX_RANGE, "1-f 0x1-0xf", "f-1 0x1-"},
        {PARAM_TYPE_HEX_LIST, "1-f,0xa", "f-1,0xa"},
        {PARAM_TYPE_UNSIGNED, "4294967295", "4294967296 -1"},
        {PARAM_TYPE_UNSIGNED_RANGE, "0-4294967295", "-1-1 1--1"},
        {PARAM_TYPE_INT64, "-9223372036854775808 9223372036854775807", "9223372036854775808"},
        {PARAM_TYPE_UINT64, "18446744073709551615", "18446744073709551616 -1"},
        {PARAM_TYPE_HEX64, "0xffffffffffffffff", "0x10000000000000000"},
        {PARAM_TYPE_ZANET, "1", "a"},
        {PARAM_TYPE_ZANET_RANGE, "1-2", "2-1"},
        {PARAM_TYPE_ZANET_LIST, "1-2,4", "1-2,"},
        {PARAM_TYPE_STRING, "any -", ""},
        {PARAM_TYPE_LUN, "any -", ""},
    };
    for (const auto &row : rows) {
        std::istringstream taken(row.taken);
        for (std::string text; taken >> text;)
            EXPECT_EQ(refusal(parameter(row.mask), text), "") << std::hex << row.mask << text;
        std::istringstream refused(row.refused + " \t");
        for (std::string text; refused >> text;)
            EXPECT_NE(refusal(parameter(row.mask), text), "") << std::hex << row.mask << text;
    }
    EXPECT_NE(refusal(parameter(PARAM_TYPE_IPV4), {"1.2.3.4\0", 8}), "") << "a NUL";
    EXPECT_NE(refusal(parameter(PARAM_TYPE_INTEGER), ""), "");
}

TEST(Values, AreRejectedWithAReasonInWords) {
    const uint32_t number_or_range = PARAM_TYPE_INTEGER | PARAM_TYPE_INTEGER_RANGE;
    EXPECT_EQ(refusal(parameter(number_or_range, 1, 9), "x"),
              "expected a number from 1 to 9 or a range of numbers from 1 to 9");
    EXPECT_EQ(refusal(parameter(number_or_range, 1, 9), "3-12"), "expected 1 to 9");
    EXPECT_EQ(refusal(parameter(number_or_range, 1, 9), "4-3"),
              "expected the lower number of a range first");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_UNSIGNED, 5, -1), "4"), "expected 5 to 4294967295");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_HEX64, 0, 255), "100"), "expected 0x0 to 0xff");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_INT64), std::string(20, '9')),
              "expected -9223372036854775808 to 9223372036854775807");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_IPV4), "x"), "expected an IPv4 address");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_DNS_NAME, 0x10001), "ab"), "expected at most 1 byte");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_STRING, 0xFFFF), "longer than -1"), "");
    EXPECT_EQ(refusal(parameter(0x40104001), "any"), "") << "an unknown type";
    EXPECT_EQ(refusal(parameter(0x40100000), "any"), "") << "no type";
}

TEST(Values, AreReadAsNumbersAndBytes) {
    tsh_value_t value;
    const parameter_info_t list = parameter(PARAM_TYPE_INTEGER_LIST);
    constexpr std::string_view kList = "-3--1,7";
    EXPECT_EQ(tsh_value_check(nullptr, &list, kList.data(), kList.size(), &value, nullptr), 0);
    EXPECT_EQ(value.type, PARAM_TYPE_INTEGER_LIST);
    EXPECT_EQ(value.run_count, 2U);
    size_t offset = 0;
    int64_t low = 0;
    int64_t high = 0;
    const tsh_type_t *type = tsh_type_by_mask(nullptr, PARAM_TYPE_INTEGER_LIST);
    std::ostringstream runs;
    while (tsh_value_next_run(type, kList.data(), kList.size(), &offset, &low, &high) != 0)
        runs << low << ' ' << high << ';';
    EXPECT_EQ(runs.str(), "-3 -1;7 7;");
    const parameter_info_t address = parameter(PARAM_TYPE_IPV4 | PARAM_TYPE_IPV6);
    EXPECT_EQ(tsh_value_check(nullptr, &address, "1::2", 4, &value, nullptr), TSH_CHECK_ACCEPTED);
    EXPECT_EQ(value.type, PARAM_TYPE_IPV6);
    EXPECT_EQ(value.byte_count, 16U);
    EXPECT_EQ(value.bytes[15], 2);
}

TEST(Values, HaveExamplesWithinTheirBounds) {
    const std::pair<int32_t, int32_t> bounds[] = {{0, 0}, {1, 12}, {-20, -5}, {3, 3}, {300, 400}};
    for (const tsh_type_t &type : builtin_types())
        for (const auto &[low, high] : bounds)
            for (const tsh_example_t which :
                 {TSH_EXAMPLE_TYPICAL, TSH_EXAMPLE_LOWEST, TSH_EXAMPLE_HIGHEST}) {
                const parameter_info_t of = parameter(type.mask, low, high);
                const bool exists = low != 1 || type.mask > PARAM_TYPE_USER_HOST ||
                                    type.form == TSH_FORM_WORD || type.form == TSH_FORM_LINE ||
                                    type.form == TSH_FORM_DNS_NAME;
                const std::string text = example(of, which);
                EXPECT_EQ(text != "none", exists) << type.name << low;
                EXPECT_EQ(exists ? refusal(of, text) : "", "") << type.name << ' ' << text;
            }
    EXPECT_EQ(example(parameter(PARAM_TYPE_INTEGER, -5, 9), TSH_EXAMPLE_LOWEST), "-5");
    EXPECT_EQ(example(parameter(PARAM_TYPE_HEX_RANGE, 1, 20), TSH_EXAMPLE_HIGHEST), "0x1-0x14");
    EXPECT_EQ(example(parameter(PARAM_TYPE_STRING, 5), TSH_EXAMPLE_HIGHEST).size(), 5U);
    EXPECT_EQ(example(parameter(PARAM_TYPE_DNS_NAME, 300), TSH_EXAMPLE_HIGHEST).size(), 253U);
    EXPECT_EQ(example(parameter(PARAM_TYPE_INTEGER, 5, 3), TSH_EXAMPLE_TYPICAL), "none");
}

tsh_check_t is_even(const tsh_type_t *type, const parameter_info_t * /*of*/, const char *text,
                    size_t length, tsh_value_t * /*value*/, char *expected) {
    if (length > 0 && (text[length - 1] - '0') % 2 == 0)
        return TSH_CHECK_ACCEPTED;
    strcpy(expected, static_cast<const char *>(type->context));
    return TSH_CHECK_WRONG_FORM;
}

TEST(Types, OfAProgramBelongToItsHandle) {
    const std::unique_ptr<tsh_types_t, void (*)(tsh_types_t *)> types{tsh_types_new(),
                                                                      tsh_types_free};
    char wanted[] = "an even number";
    tsh_type_t even = *tsh_type_by_mask(nullptr, PARAM_TYPE_LUN);
    even.mask = 0x40F00001;
    even.name = "EVEN";
    even.check = is_even;
    even.context = wanted;
    ASSERT_EQ(tsh_types_set(types.get(), &even), 0);
    EXPECT_EQ(refusal(parameter(0x40F00001), "3", types.get()), "expected an even number");
    EXPECT_EQ(refusal(parameter(0x40F00001), "4", types.get()), "");
    EXPECT_EQ(refusal(parameter(0x40F00001), "3"), "") << "unknown elsewhere";
    EXPECT_EQ(tsh_type_by_name(types.get(), "even", 4), tsh_type_by_mask(types.get(), 0x40F00001));
    tsh_type_t number = *tsh_type_by_mask(nullptr, PARAM_TYPE_INTEGER);
    number.bits = 8;
    ASSERT_EQ(tsh_types_set(types.get(), &number), 0) << "replaces the built-in one";
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_INTEGER, 5, 300), "200", types.get()),
              "expected 5 to 127");
    uint32_t count = 0;
    tsh_types_list(types.get(), &count);
    EXPECT_EQ(count, builtin_types().size() + 1);

    tsh_types_ignore_forms(types.get());
    EXPECT_EQ(refusal(parameter(0x40F00001), "3", types.get()), "");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_URI, 4), "here", types.get()), "");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_URI, 3), "here", types.get()),
              "expected at most 3 bytes");
    EXPECT_EQ(refusal(parameter(PARAM_TYPE_INTEGER), "x", types.get()), "expected a number");
    EXPECT_EQ(tsh_mask_takes_rest(types.get(), PARAM_TYPE_LINE), 1);
}

TEST(Types, OfAProgramNeedTextsOneMaskAndNumbersThatExist) {
    const std::unique_ptr<tsh_types_t, void (*)(tsh_types_t *)> types{tsh_types_new(),
                                                                      tsh_types_free};
    const tsh_type_t *const integer = tsh_type_by_mask(nullptr, PARAM_TYPE_INTEGER);
    const tsh_type_t *const uri = tsh_type_by_mask(nullptr, PARAM_TYPE_URI);
    const auto sets = [&](const tsh_type_t &of, const auto &change) {
        tsh_type_t type = of;
        change(type);
        return tsh_types_set(types.get(), &type) == 0;
    };
    for (const auto bits : {uint8_t{8}, uint8_t{16}, uint8_t{32}, uint8_t{64}})
        EXPECT_TRUE(sets(*integer, [&](tsh_type_t &type) { type.bits = bits; })) << +bits;
    EXPECT_TRUE(sets(*integer, [](tsh_type_t &type) { type.base = 16; }));
    EXPECT_TRUE(sets(*integer, [](tsh_type_t &type) { type.form = TSH_FORM_LIST; }));
    EXPECT_FALSE(sets(*integer, [](tsh_type_t &type) { type.form = TSH_FORM_WORD; }));
    EXPECT_FALSE(sets(*integer, [](tsh_type_t &type) { type.bits = 24; }));
    EXPECT_FALSE(sets(*integer, [](tsh_type_t &type) { type.base = 2; }));
    EXPECT_FALSE(sets(*integer, [](tsh_type_t &type) { type.is_signed = 2; }));
    EXPECT_FALSE(sets(*integer, [](tsh_type_t &type) { type.mask |= 2; }));
    EXPECT_FALSE(sets(*uri, [](tsh_type_t &type) { type.form = TSH_FORM_RANGE; }));
    EXPECT_FALSE(sets(*uri, [](tsh_type_t &type) { type.name = nullptr; }));
    EXPECT_FALSE(sets(*uri, [](tsh_type_t &type) { type.article = nullptr; }));
    EXPECT_FALSE(sets(*uri, [](tsh_type_t &type) { type.plain_name = nullptr; }));
    EXPECT_FALSE(sets(*uri, [](tsh_type_t &type) { type.example = nullptr; }));
}

TEST(Types, AreListedOnThePageAsInTheTable) {
    const std::string files = harness::read_file(TEST_FILES "/../doc/files.md");
    std::ostringstream table;
    for (const tsh_type_t &type : builtin_types()) {
        const std::string values =
            std::string{type.article} + (*type.article == '\0' ? "" : " ") + type.plain_name;
        const char *const bounds = type.bounds == TSH_BOUNDS_NUMBERS  ? "numbers"
                                   : type.bounds == TSH_BOUNDS_LENGTH ? "length"
                                                                      : "none";
        table << "| `0x" << std::hex << std::uppercase << (0x100000000 | type.mask) << "` | "
              << type.name << " | " << values << " | " << bounds << " | `" << type.example
              << "` |\n";
    }
    const std::string rows = std::regex_replace(table.str(), std::regex{"0x1(.{8})`"}, "0x$1`");
    EXPECT_NE(files.find("|---|---|---|---|---|\n" + rows + "\n"), std::string::npos) << rows;
}

} // namespace
