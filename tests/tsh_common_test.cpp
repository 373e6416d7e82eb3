// Tests of the shell library's helpers: splitting of lines, numbers, memory, bits.
#include "atnode/command_lookup.h"
#include "feature/tsh/src/bits.h"
#include "feature/tsh/src/bounds.h"
#include "feature/tsh/src/hex_split.h"
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/number_parse.h"
#include "feature/tsh/src/process.h"
#include "feature/tsh/src/sort.h"
#include "feature/tsh/src/tokenizer.h"
#include "feature/tsh/src/trace.h"
#include "feature/tsh/src/word_split.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/harness.h"
#include "tests/support/loaded_tree.h"
#include "tests/support/replay.h"

#include <algorithm>
#include <bit>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <glib.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

// Returns a result as text, and releases it.
std::string shown(str_list_t *list) {
    std::string text;
    for (int32_t i = 0; list != nullptr && i < list->size; ++i)
        text.append("[").append(list->str[i]).append("]").append(std::to_string(list->index[i]));
    str_list_free(list);
    return text;
}

std::string shown(char *text) {
    std::string copy = text == nullptr ? "null" : text;
    tsh_free(text);
    return copy;
}

std::string shown(char **fields) {
    char *joined = fields == nullptr ? nullptr : g_strjoinv("|", fields);
    g_strfreev(fields);
    return shown(joined);
}

// Returns output and traces of code, in order, with "@" instead of the time before a trace.
template <typename Code> std::string printed(uint32_t families, Code code) {
    testing::internal::CaptureStdout();
    tsh_logfp = stdout;
    tsh_debug_filter = families;
    code();
    tsh_debug_filter = 0;
    return harness::without_times(testing::internal::GetCapturedStdout());
}

std::string split(const std::string &line, const char *delimiters = " ") {
    return shown(strsplit(line.c_str(), delimiters));
}

std::string tokens(const std::string &line, const char *specials = nullptr) {
    const std::string words = shown(tokenize(line.c_str(), specials));
    // The flag and the index of an unmatched quote.
    return words + " " + std::to_string(check_unmatched_quote()) +
           std::to_string(get_unmatched_quote_index());
}

std::string repeated(int count, const std::string &text) {
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

struct Case {
    const char *given;
    const char *result;
};

template <typename Code> void check(std::initializer_list<Case> cases, Code code) {
    for (const auto &[given, result] : cases)
        EXPECT_EQ(code(given), result) << "given: " << given;
}

TEST(TshCommon, StrsplitSplitsLinesAsTheShell) {
    check(
        {
            {"show cartridge  short", "[show]0[cartridge]5[short]16"},
            {"show all|", "[show]0[all|]5"},
            {"  lift one crate ", "[lift]2[one]7[crate]11"},
            {"show all |> file", "[show]0[all]5[|]9[>]11[file]13"},
            {"a|>b|>c", "[a|]0[>b|>c]3"},
            {"a|>", "[a|]0[>]3"},
            {"echo \"a b\" c", "[echo]0[a b\" c]6"},
            {"echo \"a b\"", "[echo]0[a b\"]6"},
            {"\"a\"  b", "[a\" ]1[b]5"},
            {"x \"\"", "[x]0[\"]3"},
            {"x \"", "[x]0"},
            {"\"", ""},
            {"set \"x", "[set]0[x]5"},
            {"a\"b c\" d", "[a\"b c\" d]0"},
            {"a\"", "[a\"]0"},
            {"a\"\"b c", "[a\"\"b c]0"},
        },
        [](const std::string &line) { return split(line); });
    check(
        {
            {"a,b,,c", "[a]0[b]2[c]5"},
            {"a b\tc,d", "[a b\tc]0[d]6"},
            {">", "[> ]0"},
            {"|", "[| ]0"},
            {"<", "[< ]0"},
        },
        [](const std::string &line) { return split(line, ","); });
    EXPECT_EQ(split("a0b;", "01234567890123456789012345678901;"), "[a]0[b;]2");
    EXPECT_EQ(split("a\tb\vc", " 2345678901234567890123456789"), "[a]0[b\vc]2");
    EXPECT_TRUE(split(repeated(600, "w ")).ends_with("[w]1018[w]1020"));
    for (const size_t length : {15U, 16U, 17U, 100U}) {
        const std::string word(length, 'w');
        const std::string words = "[" + word + "]0[x]" + std::to_string(length + 1);
        for (const char *delimiters : {",", "0123456789ABCDEFG,", "0123456789ABCDEFGHIJ,"}) {
            EXPECT_EQ(split(word + ",x", delimiters), words);
            EXPECT_EQ(tokens(word + "\vx", delimiters), words + " 00");
        }
    }
}

TEST(TshCommon, TokenizeHandlesQuotesEscapesAndSpecials) {
    check(
        {
            {"show  cartridge", "[show]0[cartridge]6 00"},
            {"set \"a b\" c", "[set]0[a b]5[c]10 00"},
            {"ab\"cd\"ef", "[ab]0[cd]3[ef]6 00"},
            {"a\\ b c", "[a\\ b]0[c]5 00"},
            {R"(a\\ \"b c)", R"([a\\]0[\"b]4[c]8 00)"},
            {R"("a\" b" c)", R"([a\" b]1[c]8 00)"},
            {"x\\", "[x\\]0 00"},
            {"x \\", "[x]0[\\]2 00"},
            {"\"a\\", " 10"},
            {"say \"hi", " 14"},
            {"say \"", " 14"},
            {R"(a "b" "c\")", " 16"},
            {"  \"", " 02"},
            {" \"\" ", " 00"},
        },
        [](const std::string &line) { return tokens(line); });
    check(
        {
            {"show all|grep x", "[show]0[all]5[|]8[grep]9[x]14 00"},
            {R"(a\\ \)", R"([a\\]0[\]4 00)"},
            {"a\\", "[a]0[\\]1 00"},
            {R"(a|"b|c"\|d|e\|)", R"([a]0[|]1[b|c]3[\]7[|]8[d]9[|]10[e\|]11 00)"},
        },
        [](const std::string &line) { return tokens(line, "|\\"); });
    EXPECT_EQ(tokens("a\xFF\xFE\\\xFF"), "[a]0[\xFF]1[\xFE\\\xFF]2 00");
    EXPECT_EQ(tokens(R"(\|d|)", "|"), R"([\|d]0[|]3 00)");
    for (const char *never : {" ", "\"", "\t", "\n", "\v", "\f", "\r"})
        EXPECT_EQ(tokens("a", std::string("|").append(never).c_str()), " 00") << never;
    const std::string full = repeated(511, "w ");
    EXPECT_TRUE(tokens(full + full).ends_with("[w]1018[w]1020 00"));
    EXPECT_EQ(tokens(full + "w|\"", "|"), " 00");
    EXPECT_EQ(tokens(full + "\""), " 11022");
    EXPECT_TRUE(tokens(repeated(510, "|") + "x", "|").ends_with("[|]509[x]510 00"));
    EXPECT_EQ(tokens(repeated(510, "|") + "x|", "|"), " 00");
}

TEST(TshCommon, AnyLineKeepsTheProperties) {
    std::mt19937 random(7);
    for (uint32_t round = 0; round < 8000; ++round) {
        const std::string_view alphabet = round % 2 == 0 ? "ab \t\v" : "ab0fF-x:\" |>,;\\\xFF";
        std::vector<uint8_t> line(random() % (round % 20 < 2 ? 3000 : 12));
        for (uint8_t &c : line)
            c = static_cast<uint8_t>(alphabet[random() % alphabet.size()]);
        LLVMFuzzerTestOneInput(line.data(), line.size());
    }
}

TEST(TshCommon, TracesShowEveryStep) {
    EXPECT_EQ(
        printed(TSH_TRACE_WORDS, [] { split("ab  \"c\""), split(""), split(" ", ""); }),
        "@Using user specified delimiter...\n@Adding std delimiters...\n"
        "@Line : ab  \"c\", Delimiter : [  \t\n\r\f\v]\n@\n@D@c@c@d@ String : ab, len : 2"
        "@ index : 0\n@\n@!@!@\nStart of quotes...@Q@\nEnd of quotes...@ String : c\", len : 3"
        "@ index : 5\n@\n@Words extracted : 2\n@Nothing to split...\n"
        "@Defaulting delimter to space...\n@Line :  , Delimiter : [ \t\n\r\f\v]\n@\n@!"
        "@Words extracted : 0\n");
    EXPECT_EQ(printed(TSH_TRACE_WORDS, [] { tokens("a|", "|"); }),
              "@\nString list size : 2@\nStr : a, Index : 0@\nStr : |, Index : 1");
    EXPECT_EQ(printed(TSH_TRACE_WORDS, [] { tsh_logfp = nullptr, tokens(split("a")); }), "");
    EXPECT_EQ(printed(~TSH_TRACE_WORDS, [] { split("ab \"c\"|>d"), split(""), tokens("a"); }), "");
    EXPECT_TRUE(printed(TSH_TRACE_WORDS, [] { split(repeated(600, "w ")); })
                    .ends_with("@*** Oops, Too many words in string ***\n@Exiting...\n"
                               "@Words extracted : 511\n"));
}

TEST(TshCommon, ATraceIsFlushedAtOnce) {
    const harness::ScratchDir scratch;
    FILE *log = fopen(scratch.path("log").c_str(), "w");
    ASSERT_NE(log, nullptr);
    tsh_logfp = log;
    tsh_debug_filter = TSH_TRACE_WORDS;
    const str_list_t list{};
    print_str_list(&list);
    tsh_debug_filter = 0;
    EXPECT_EQ(harness::without_times(harness::read_file(scratch.path("log"))),
              "@\nString list size : 0");
    fclose(log);
}

// Returns the results of an operation with its n-th allocation failing, for each n until none
// fails. The operation must release all memory that it does not return.
template <typename Operation> std::string without_memory(Operation operation) {
    std::string outcomes;
    for (long n = 1;; ++n) {
        failing_malloc::arm(n);
        const auto result = operation();
        const failing_malloc::Tally tally = failing_malloc::disarm();
        EXPECT_EQ(result == nullptr ? tally.live : 0, 0);
        outcomes += shown(result) + ";";
        if (tally.allocations < n)
            return outcomes;
    }
}

// Returns whether an allocation by way of GLib can be made to fail: only if its function ends in a
// jump to malloc, for which the caller is not GLib.
bool glib_can_fail() {
    failing_malloc::arm(1);
    void *block = g_try_malloc0(1);
    failing_malloc::disarm();
    g_free(block);
    return block == nullptr;
}

TEST(TshCommon, OutOfMemoryHasItsResultAndLeaksNothing) {
    if (!failing_malloc::available())
        GTEST_SKIP() << "a sanitizer owns malloc";
    EXPECT_EQ(without_memory([] { return strsplit("a |>b", " "); }),
              ";[a]0[|>b]2;;;;;[a]0[|]2[>b]4;");
    EXPECT_EQ(without_memory([] { return tokenize("a|\"b\"", "|"); }), ";;;;[a]0[|]1[b]3;");
    char word[] = "ab";
    const str_list_t list = {2, {word, word}, {}};
    EXPECT_EQ(without_memory([&] { return str_list_join(&list); }), "null;ab ab;");
    EXPECT_EQ(without_memory([] { return hex_split("1:23", ":"); }),
              glib_can_fail() ? "null;null;null;01|23;" : "01|23;");
    EXPECT_EQ(without_memory([] { return tsh_strdup("a"); }), "null;a;");
    EXPECT_EQ(without_memory([] { return tsh_strdup_with_space("a"); }), "null;a ;");

    const auto failing = [](long allocation, uint32_t families) {
        return printed(families, [=] {
            failing_malloc::arm(allocation);
            str_list_free(strsplit("a |>b", " "));
            failing_malloc::disarm();
        });
    };
    const std::string said = "\nErr: Malloc failed...";
    const std::string no_copy = said + "@malloc failed while duplicating cmdline\n";
    EXPECT_EQ(failing(1, 0x4), no_copy);
    EXPECT_EQ(failing(1, 0x8), no_copy);
    EXPECT_EQ(failing(1, ~TSH_TRACE_ALLOCATION), said);
    const std::pair<long, std::string> traces[] = {
        {2, said + "@Error mallocing for dup str |> in  case.\n@Line : a |>b, Delimiter"},
        {3, said + "@Error mallocing str list...\n"},
        {4, said + "@Mem alloc failed...\n"},
    };
    for (const auto &[allocation, trace] : traces)
        EXPECT_NE(failing(allocation, TSH_TRACE_WORDS).find(trace), std::string::npos) << trace;
}

// A string of 2 GB with repeated contents, in little memory.
TEST(TshCommon, StringsThatAreTooLongAreOutOfMemory) {
    if constexpr (sizeof(size_t) < 8)
        GTEST_SKIP() << "no room for the text";
    constexpr size_t kPiece = 1U << 25;
    constexpr size_t kSize = size_t{1} << 31;
    const int letters = memfd_create("letters", 0);
    const std::string piece(kPiece, 'x');
    ASSERT_EQ(write(letters, piece.data(), kPiece), static_cast<ssize_t>(kPiece));
    auto *text = static_cast<char *>(
        mmap(nullptr, kSize + 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    ASSERT_NE(text, MAP_FAILED);
    for (size_t at = 0; at < kSize; at += kPiece)
        ASSERT_NE(
            mmap(text + at, kPiece, PROT_READ, MAP_SHARED | MAP_FIXED | MAP_POPULATE, letters, 0),
            MAP_FAILED);
    const str_list_t words = {2, {text, text}, {}};
    const std::string no_malloc = "\nErr: Malloc failed...";
    EXPECT_EQ(printed(TSH_TRACE_ALLOCATION, [&] { EXPECT_EQ(strsplit(text, " "), nullptr); }),
              no_malloc + "@malloc failed while duplicating cmdline\n");
    EXPECT_EQ(printed(0, [&] { EXPECT_EQ(tokenize(text, nullptr), nullptr); }), no_malloc);
    EXPECT_EQ(printed(0, [&] { EXPECT_EQ(str_list_join(&words), nullptr); }),
              "\nErr: Realloc failed...");
    munmap(text, kSize + 1);
    close(letters);
}

TEST(TshCommon, ListsAreJoinedPrintedAndReleased) {
    char a[] = "a";
    char none[] = "";
    char *texts[] = {a, none, nullptr, a};
    const auto join = [](const str_list_t &list) { return shown(str_list_join(&list)); };
    EXPECT_EQ(join({3, {a, none, a}, {}}), "a a");
    EXPECT_EQ(join({2, {a, none}, {}}), "a ");
    EXPECT_EQ(join({2, {a}, {}}), "a ");
    EXPECT_EQ(join({1, {none}, {}}), "");
    EXPECT_EQ(join({2, {none}, {}}), "null");
    EXPECT_EQ(join({}), "null");
    EXPECT_EQ(shown(str_list_join(nullptr)), "null");
    str_list_t *lists[STR_CMD_LISTS] = {tokenize("a b", ""), nullptr, strsplit("c", "")};
    str_cmd_list_free(lists);
    EXPECT_EQ(std::count(lists, lists + STR_CMD_LISTS, nullptr), STR_CMD_LISTS);
    const auto print = [&] { print_str_arr(texts), print_char("xyz", 2), print_char("xyz", 0); };
    EXPECT_EQ(printed(0, print), "\nStr : a\nStr : xy  ");
    EXPECT_EQ(str_arr_size(texts), 2);
    EXPECT_EQ(str_arr_size(nullptr), 0);
    EXPECT_EQ(print_str_arr(nullptr), 0);
    EXPECT_EQ(tokenize(nullptr, nullptr), nullptr);
    EXPECT_EQ(strsplit(nullptr, nullptr), nullptr);
    print_str_list(nullptr);
}

TEST(TshCommon, HexFieldsGetALeadingZeroIfTheirLengthIsOdd) {
    check(
        {
            {"1:23:abc", "01|23|0abc"},
            {"a::b:", "0a||0b"},
            {":", ""},
            {"abc", "0abc"},
            {"", ""},
        },
        [](const std::string &text) { return shown(hex_split(text.c_str(), ":")); });
    const auto report = [](const char *, GLogLevelFlags, const char *text, void *) { puts(text); };
    g_log_set_default_handler(report, nullptr);
    const std::string place = "file ../feature/tsh/src/tsh_common: line ";
    EXPECT_EQ(printed(0, [] { EXPECT_EQ(hex_split("", nullptr), nullptr); }),
              place + "245 (hex_split): assertion `delimiter != NULL' failed.\n");
    EXPECT_EQ(printed(0, [] { EXPECT_EQ(hex_split(nullptr, nullptr), nullptr); }),
              place + "244 (hex_split): assertion `string != NULL' failed.\n");
}

TEST(TshCommon, NumbersAreHexadecimalAndFitTheirWidth) {
    const auto numbers = [](const std::string &text) {
        return std::to_string(get_uint16_from_str(text.c_str())) + " " +
               std::to_string(get_uint8_from_str(text.c_str())) + " " +
               std::to_string(strxtoi(text.c_str()));
    };
    check(
        {
            {"0000", "0 0 0"},
            {"", "0 0 0"},
            {"00ff", "255 255 255"},
            {"FF", "255 255 255"},
            {"100", "256 -1 256"},
            {"12345", "74565 -1 74565"},
            {"1 2", "-1 -1 0"},
            {"+1", "-1 -1 0"},
            {"12g", "-1 -1 0"},
            {"1g2", "-1 -1 0"},
            {"0x1F", "-1 -1 31"},
            {"0X00ff", "-1 -1 255"},
            {"0x", "-1 -1 0"},
            {"0x0x1", "-1 -1 0"},
            {"zz", "-1 -1 0"},
            {"ffffffff", "-1 -1 4294967295"},
            {"80000000", "-2147483648 -1 2147483648"},
            {"100000001", "-1 -1 0"},
        },
        numbers);
    EXPECT_EQ(printed(TSH_TRACE_PARAMS,
                      [&] { get_uint16_from_str(nullptr), numbers("100"), numbers("zz"); }),
              "@Error in ID format.\n@Invalid Number detected.\n@Invalid Number detected.\n");
    EXPECT_EQ(get_uint8_from_str(nullptr), -1);
    EXPECT_EQ(strxtoi(nullptr), 0U);
    EXPECT_EQ(printed(~TSH_TRACE_PARAMS, [&] { get_uint16_from_str(nullptr), numbers("zz"); }), "");
}

TEST(TshCommon, RangesAreSeparatedByCommas) {
    range_preparse_str(nullptr);
    check(
        {
            {"1-5", "1,5"},
            {"10-19", "10,19"},
            {"9-0", "9,0"},
            {"/-1:-2", "/-1:-2"},
            {"-3--1", "-3,-1"},
            {"5--2", "5,-2"},
            {"--5", ",-5"},
            {"5---2", "5,,-2"},
            {"a-1-", "a-1,"},
        },
        [](std::string range) { return range_preparse_str(range.data()), range; });
}

TEST(TshCommon, CommandLinesWalkDownTheTree) {
    const harness::LoadedTree tree(
        grammar::main_root({grammar::keyword("show").child(grammar::keyword("health"))}));
    const auto find = [](const char *line) {
        return printed(TSH_TRACE_NAVIGATION, [&] {
            const tree_node_t *node = atnode_find_cmd_index(g_atn, line);
            printf("@%s", node == nullptr ? "null" : node->name);
        });
    };
    EXPECT_TRUE(find("sh\tHEA").ends_with("@at token found at ~depth: 0@health"));
    EXPECT_TRUE(find("sh bogus").ends_with("@atn Depth expired, aborting@null"));
    EXPECT_TRUE(
        find("sh bogus hea").ends_with("@Cmdline not parsed fully, index not found...\n@null"));
    EXPECT_EQ(find("  "), "@Empty cmdline, index not found...\n@null");
    EXPECT_EQ(atnode_find_cmd_index(nullptr, "sh"), nullptr);
}

TEST(TshCommon, AllocatedMemoryIsZero) {
    for (const uint32_t size : {1U, 2U, 3U, 4U, 5U, 1U << 20}) {
        auto *block = static_cast<char *>(tsh_malloc(size));
        EXPECT_EQ(std::count(block, block + size, '\0'), size);
        std::fill_n(block, size, 'x');
        tsh_free(block);
    }
}

TEST(TshCommon, StringsAreDuplicatedWithOrWithoutASpace) {
    EXPECT_EQ(shown(tsh_strdup("a")), "a");
    EXPECT_EQ(printed(0, [] { EXPECT_EQ(tsh_strdup(nullptr), nullptr); }), "");
    EXPECT_EQ(shown(tsh_strdup_with_space("a")), "a ");
    EXPECT_EQ(shown(tsh_strdup_with_space("")), " ");
    EXPECT_EQ(shown(tsh_strdup_with_space(nullptr)), " ");
}

TEST(TshCommon, SortingIsStableAndReturnsItsPasses) {
    using Words = std::vector<uint32_t>;
    const auto sorted = [](Words words) {
        const auto by_tens = [](uint32_t a, uint32_t b) { return a / 10 > b / 10 ? 1 : 0; };
        words.push_back(bsort(words.data(), static_cast<uint32_t>(words.size()), by_tens));
        return words;
    };
    EXPECT_EQ(sorted({}), Words({0}));
    EXPECT_EQ(sorted({7}), Words({7, 0}));
    EXPECT_EQ(sorted({10, 20}), Words({10, 20, 1}));
    EXPECT_EQ(sorted({20, 10}), Words({10, 20, 2}));
    EXPECT_EQ(sorted({30, 10, 20}), Words({10, 20, 30, 2}));
    EXPECT_EQ(sorted({29, 12, 21, 11, 5}), Words({5, 12, 11, 29, 21, 5}));
}

TEST(TshCommon, BitsAreFoundAndCounted) {
    std::mt19937_64 random(3);
    for (int round = 0; round < 300; ++round) {
        const uint64_t value = round == 0 ? ~0ULL : random() & random() & random();
        for (int32_t after = -1; after < 64; ++after) {
            const uint64_t above = after < 63 ? value >> (after + 1) << (after + 1) : 0;
            const int32_t next = above == 0 ? -1 : std::countr_zero(above);
            ASSERT_EQ(bit_pos_get64(value, after), next);
            ASSERT_EQ(bit_pos_get32(static_cast<uint32_t>(value), after), next < 32 ? next : -1);
        }
        ASSERT_EQ(bit_count_get64(value), std::popcount(value));
        ASSERT_EQ(bit_count_get(static_cast<uint32_t>(value)), bit_count_get64(value << 32));
    }
    for (const int32_t outside : {-2, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(bit_pos_get32(1, outside), -1);
        EXPECT_EQ(bit_pos_get64(1, outside), -1);
    }
}

TEST(TshCommon, BoundsAreInclusiveAndKeepTheSignOfTheirType) {
    EXPECT_EQ(check_uint_bounds(5, 5, 5), 1);
    EXPECT_EQ(check_uint_bounds(4, 5, 9), -1);
    EXPECT_EQ(check_uint_bounds(10, 5, 9), -1);
    EXPECT_EQ(check_uint_bounds(-1U, -5U, 0), -1);
    EXPECT_EQ(check_int_bounds(-1, -5, 0), 1);
    EXPECT_EQ(check_int64_bounds(-1, -2, 2), 1);
    EXPECT_EQ(check_uint64_bounds(1ULL << 32, 0, ~0U), -1);
}

TEST(TshCommon, ASignalHandlerInterruptsReads) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_EQ(signal_set(SIGALRM, [](int) {}), 0);
    EXPECT_EQ(signal_set(-1, [](int) {}), -1);
    ualarm(20000, 20000);
    for (char byte : {'a', 'b'})
        EXPECT_EQ(read(ends[0], &byte, 1), -1) << "not interrupted";
    ualarm(0, 0);
}

TEST(TshCommon, AFileNameIsWhatFollowsTheLastSlash) {
    char path[] = "/a/c.par";
    EXPECT_EQ(tsh_util_get_filename(path), path + 3);
    EXPECT_EQ(tsh_util_get_filename(path + 3), path + 3);
}

TEST(TshCommon, ALogMessageIsAccepted) {
    EXPECT_EQ(log_mesg("%d", 1), 0);
}

} // namespace
