// Tests of enumeration, dump and main tree loading through the exported functions.
#include "atnode/relations.h"
#include "atnode/walk.h"
#include "cmd_gen/dump.h"
#include "cmd_gen/enumeration.h"
#include "cmd_gen/word.h"
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/trace.h"
#include "param_reg/builtin_types.h"
#include "param_reg/param_registry.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/harness.h"
#include "tests/support/loaded_tree.h"
#include "tests/support/random_tree.h"
#include "tests/support/replay.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

using grammar::keyword;
using grammar::parameter;
using harness::in_child;
using harness::LoadedTree;
using harness::Outcome;

grammar::Word two_commands() {
    return grammar::structural("R")
        .child(keyword("get").child(parameter(0x40000001).terminal()))
        .child(keyword("no").flags(TREE_FLAG_EXCLUDED).terminal().child(keyword("x").terminal()))
        .child(keyword("nor").flags(TREE_FLAG_EXCLUDED_ALSO).terminal())
        .child(keyword("mode").submode().child(keyword("in").terminal()));
}

// Lines across output blocks, lines longer than a block, nodes visited for the first time (below a)
// and again (below b), and numbers beyond the maximum and from the first.
TEST(Enumeration, PrintsManyLinesOfAnyLength) {
    const std::string prefixes[] = {"", std::string(200, 'p'), std::string(15307, 'q'),
                                    std::string(20000, 'r')};
    auto first = keyword("a");
    auto again = keyword("b");
    std::vector<std::string> commands;
    for (int group = 0; group < 120; ++group) {
        auto word = keyword("w").terminal();
        commands.emplace_back("  w");
        for (size_t leaf = 1; group % 20 == 19 && leaf < 15; ++leaf) {
            word.child(keyword(std::string(leaf, 'x')).terminal());
            commands.push_back("  w  " + std::string(leaf, 'x'));
        }
        first.child(word);
        again.child(word);
    }
    std::string expected = "before";
    uint32_t count = UINT32_MAX - 300;
    for (const std::string &prefix : prefixes)
        for (const char *parent : {"  a", "  b"})
            for (const std::string &command : commands) {
                char number[16];
                snprintf(number, sizeof number, "\n[%6u].", ++count);
                expected.append(number).append(prefix).append(parent).append(command);
            }
    const LoadedTree tree(grammar::structural("R").child(first).child(again));
    const Outcome outcome = in_child([&] {
        cmd_count = UINT32_MAX - 300;
        fputs("before", stdout);
        for (const std::string &prefix : prefixes)
            generate_cmds(g_atn, prefix.c_str());
        return 0;
    });
    EXPECT_TRUE(outcome.out == expected) << outcome.out.size() << " bytes";
}

TEST(Enumeration, AppendsWordsOfAnyLength) {
    const Outcome outcome = in_child([] {
        for (uint32_t bit = 0; bit < 20; ++bit)
            param_register(1U << bit, std::string(20, char('a' + bit)).c_str(), 0, nullptr, nullptr,
                           nullptr);
        const LoadedTree tree(grammar::structural("R").child(
            keyword("k").parameter(0xFFFFF).parameter(3).optional().terminal()));
        EXPECT_EQ(generate_cmds(g_atn, std::string(300000, 'p').c_str()), 0);
        char *line = add_param_str(add_token_str(tsh_strdup("line "), g_atn + 1), g_atn + 1);
        puts(line);
        const std::string expected = line + 5;
        tsh_free(line);
        char text[600];
        EXPECT_EQ(tsh_word_text(g_atn + 1, text, sizeof text), expected.size());
        EXPECT_EQ(text, expected);
        EXPECT_EQ(tsh_word_text(g_atn + 1, text, 3), expected.size());
        EXPECT_STREQ(text, "k[");
        EXPECT_EQ(tsh_word_text(g_atn, nullptr, 0), 0U);
        return 0;
    });
    std::string piece = "<";
    for (char letter = 'a'; piece.size() < 255; ++letter)
        piece.append(20, letter);
    const std::string word = "k[o]" + piece.substr(0, 255) + "[o]<" + std::string(20, 'a') +
                             std::string(20, 'b') + ">[o]";
    EXPECT_EQ(outcome.out,
              "\n[     1]." + std::string(300000, 'p') + "  " + word + "line " + word + "\n");
}

// Small trees of all kinds, listed from any node at any stack height, in the fuzzer's format.
TEST(Enumeration, AgreesWithAPlainWalkAsDoAllOtherTreeOperations) {
    constexpr const char *kWords[] = {"a", "ab", "B", "abc"};
    constexpr uint32_t kTypes[] = {1, 0x40100001, 0x7F000000};
    const Outcome outcome = in_child([&] {
        std::mt19937 random(20250301);
        for (int round = 0; round < 1000; ++round) {
            auto nodes = grammar::random_tree(random, kWords, kTypes);
            for (tree_node_t &node : nodes)
                node.flags |= random() % 9 == 0 ? TREE_FLAG_EXCLUDED : 0;
            const size_t size = nodes.size() * TREE_NODE_SIZE;
            std::string input{static_cast<char>(size), static_cast<char>(size >> 8)};
            input.append(reinterpret_cast<const char *>(nodes.data()), size);
            for (const auto number : {random() % 2, 255 - random() % 12, random()})
                input += static_cast<char>(number);
            input += "A ab a";
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.data()), input.size());
        }
        return 0;
    });
    const size_t last_line = outcome.err.find_last_of('\n', outcome.err.size() - 2) + 1;
    EXPECT_EQ(outcome.status, 0) << outcome.err.substr(last_line);
}

// Two words on each of many levels, each a parent of both of the next: more paths than can be
// walked.
std::vector<tree_node_t> ladder(uint16_t levels) {
    std::vector<tree_node_t> nodes(2 * size_t{levels} + 1);
    for (size_t index = 0; index + 2 < nodes.size(); ++index) {
        const auto below = uint16_t((index + 1) / 2 * 2 + 1);
        nodes[index].child_count = 2;
        nodes[index].children[0] = below;
        nodes[index].children[1] = uint16_t(below + 1);
    }
    return nodes;
}

TEST(Enumeration, SkipsNodesThatLeadToNoLine) {
    for (const uint16_t levels : {uint16_t{100}, uint16_t{400}}) {
        std::vector<tree_node_t> nodes = ladder(levels);
        nodes.emplace_back().flags = TREE_FLAG_TERMINAL;
        const auto last = uint16_t(nodes.size() - 1);
        nodes[0].children[nodes[0].child_count++] = last;
        g_atn = nodes.data();
        const Outcome outcome = in_child([&] { return generate_cmds(g_atn, "only"); });
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.out, "\n[     1].only  ");
        EXPECT_EQ(outcome.err, "");
    }
}

TEST(Enumeration, ReportsWriteErrors) {
    const LoadedTree tree(two_commands());
    for (const uint32_t families : {0U, TSH_TRACE_WORDS}) {
        const Outcome outcome = in_child([&] {
            tsh_debug_filter = families;
            EXPECT_NE(freopen("/dev/full", "w", stdout), nullptr);
            EXPECT_EQ(generate_cmds(g_atn, nullptr), -1);
            EXPECT_EQ(atnode_stack_get_height(), 1);
            return 0;
        });
        EXPECT_EQ(outcome.status, 0);
        const Outcome after_error = in_child([&] {
            tsh_debug_filter = families;
            EXPECT_EQ(getc(stdout), EOF); // which sets the error indicator
            EXPECT_NE(ferror(stdout), 0);
            return generate_cmds(g_atn, nullptr);
        });
        EXPECT_EQ(after_error.status, 0);
        EXPECT_NE(after_error.out, "");
    }
}

TEST(Enumeration, AppendFunctionsReleaseTheLineOnError) {
    if (!failing_malloc::available())
        GTEST_SKIP() << "a sanitizer owns malloc";
    const LoadedTree tree(
        grammar::structural("R").child(keyword("k").parameter(1).parameter(2).optional()));
    const Outcome outcome = in_child([&] {
        puts("before"); // both streams now have their buffers
        fputs("before", stderr);
        for (const long fail_at : {2L, 3L, 4L}) { // copy of the line, token, and two parts
            failing_malloc::arm(fail_at);
            char *line = add_token_str(tsh_strdup("line "), g_atn + 1);
            if (line != nullptr)
                line = add_param_str(line, g_atn + 1);
            EXPECT_EQ(line, nullptr);
            EXPECT_EQ(failing_malloc::disarm().live, 0);
        }
        return 0;
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out;
}

TEST(Enumeration, UsesNoCallStackForDepth) {
    std::vector<tree_node_t> nodes(TREE_MAX_NODES);
    for (size_t index = 0; index + 1 < nodes.size(); ++index) {
        nodes[index].child_count = 1;
        nodes[index].children[0] = uint16_t(index + 1);
    }
    nodes.back().flags = TREE_FLAG_TERMINAL;
    g_atn = nodes.data();
    const Outcome outcome = in_child([] {
        const rlimit small_stack{1 << 20, 1 << 20};
        setrlimit(RLIMIT_STACK, &small_stack);
        tsh_logfp = stdout;
        atnode_traverse(g_atn, 1, 3, -1, print_at_node, TREE_DUMP_SHORT);
        tsh_debug_filter = TSH_TRACE_WORDS; // selects the traced listing
        return generate_cmds(g_atn, nullptr);
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), TREE_MAX_NODES + 1);
}

TEST(Enumeration, WritesTracesBetweenItsLines) {
    const LoadedTree tree(two_commands());
    const Outcome outcome = harness::traced(TSH_TRACE_NAVIGATION | TSH_TRACE_PARAMS, [&] {
        generate_cmds(tree.node("get"), nullptr);
        cmd_count = 0;
        cmd_gen_mode_single = 1; // the types of an omitted node are not looked up
        generate_cmds(tree.node("get"), nullptr);
        const_cast<tree_node_t *>(tree.node("parameter"))->flags |= TREE_FLAG_EXCLUDED;
        generate_cmds(tree.node("get"), nullptr);
    });
    const std::string walk = "@atn stack push parent: get\n"
                             "@atn node get's first child is parameter\n"
                             "@Searching Pmask : 40000001\n@Param reg table search failed...\n"
                             "\n[     1].  <>"
                             "@atn stack peek TOP: loc 1: value: get\n@end of siblings\n"
                             "@atn stack pop parent: get\n";
    const std::string end = walk.substr(walk.find("@atn stack peek"));
    EXPECT_EQ(outcome.out, walk + walk + walk.substr(0, walk.find("@Searching")) + end);
}

TEST(Dump, ShowsEverythingAtTheVerboseLevel) {
    grammar::Word word = keyword("show").optional(3).terminal().submode();
    word.help("Help").submode_help("Sub").func_id("func").mode_id("mode").parameter(0x40100003);
    word.child(keyword("x")).child(keyword("y"));
    parser_node_t &node = word.node();
    node.token_id = UINT32_MAX;
    node.command_id = 7;
    node.cmi_msg_type = 255;
    node.intf_mask = UINT64_MAX;
    node.params[0].int_min = 0x18000;
    node.params[0].int_max = -1;
    node.params[0].intf_mask = UINT64_MAX;
    const LoadedTree tree(grammar::structural("R").child(word).child(parameter(0x40300002)));
    const Outcome outcome = in_child([&] {
        print_at_node(g_atn, TREE_DUMP_VERBOSE); // no stream yet
        tsh_logfp = stdout;
        init_params();
        print_at_node(tree.node("show"), TREE_DUMP_VERBOSE);
        print_at_node(tree.node("parameter"), TREE_DUMP_SHORT);
        atnode_root_depth = 5000;
        return print_at_node(tree.node("parameter"), TREE_DUMP_SHORT);
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "\n   { show }[2], [2], [c], [ffffffffffffffff], [1]( Optional )( terminal )"
              "( submode ), Token Id : 4294967295, Command Id : 7, Optional : 3, CMI Msg Type : 255"
              ", ModeID : mode, FuncID : func, Parameters : 1, Mask : 40100003, Max Str Len : "
              "-32768, Int Min : 98304\tInt Max : -1, Interface mask : 18446744073709551615"
              ", Child Index : 2, Child Index : 3, SubModeHelp : Sub, Help : Help"
              "\n   { WWN }[2], [0], [0], [0], [1]\n" +
                  std::string(1024, ' ') + "{ WWN }[5002], [0], [0], [0], [1]");
}

TEST(MainTree, IsMappedReadAndReleased) {
    const harness::ScratchDir scratch;
    const std::string path = scratch.path("main.par");
    const std::vector<tree_node_t> nodes = grammar::lay_out(two_commands());
    grammar::write_main_tree(path, nodes);
    const std::string bytes = harness::read_file(path);

    const tree_node_t *mapped = nullptr;
    const auto count = static_cast<int32_t>(nodes.size());
    ASSERT_EQ(mmap_main_parse_tree(path.c_str(), &mapped), count);
    EXPECT_EQ(munmap_main_parse_tree(mapped), 0);
    tree_node_t *read = nullptr;
    ASSERT_EQ(verify_and_read_parse_tree(path.c_str(), &read), count);
    EXPECT_EQ(std::string(read->name, bytes.size()), bytes);
    free_main_parse_tree(read);
    if (failing_malloc::available()) {
        failing_malloc::arm(1);
        EXPECT_EQ(verify_and_read_parse_tree(path.c_str(), &read), -1);
        failing_malloc::disarm();
    }
    harness::write_file(path, "x");
    const Outcome failures = in_child([&] {
        const tsh_generic_node_t hanging{0, {0, 1, 0}};
        tsh_parse_tree_release(&hanging);
        EXPECT_EQ(verify_and_read_parse_tree(path.c_str(), &read), -1);
        EXPECT_EQ(verify_and_read_parse_tree("/missing", &read), -1);
        EXPECT_EQ(mmap_main_parse_tree(path.c_str(), &mapped), -1);
        EXPECT_EQ(mmap_main_parse_tree("/missing", &mapped), -1);
        EXPECT_EQ(verify_and_mmap_parse_tree("/missing", &mapped), -1);
        return 0;
    });
    EXPECT_EQ(failures.status, 0);
    EXPECT_EQ(failures.out, "Parse tree not released\n");
    EXPECT_EQ(failures.err, "Error file format not main par file\n"
                            "Error opening file: No such file or directory\n"
                            "Error file size error.\n"
                            "Error cannot stat file: No such file or directory\n");
}

} // namespace
