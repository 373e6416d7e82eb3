// Trees as handles: opening, refusing, closing; cursors and lookups, in several trees and threads.
#include "atnode/command_lookup.h"
#include "atnode/cursor.h"
#include "atnode/lookup.h"
#include "cmd_gen/line_list.h"
#include "feature/tsh/src/word_split.h"
#include "parse_tree/tree_load.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/grammar.h"
#include "tests/support/harness.h"
#include "tests/support/random_tree.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using grammar::keyword;
using Nodes = std::vector<tree_node_t>;
using Tree = std::unique_ptr<tsh_tree_t, decltype(&tsh_tree_close)>;
using Cursor = std::unique_ptr<tsh_cursor_t, decltype(&tsh_cursor_free)>;

constexpr const char *kWords[] = {"show", "shut", "sh", "Port", "po"};
constexpr uint32_t kTypes[] = {0x40100001};

Tree over(const Nodes &nodes) {
    return {tsh_tree_over(nodes.data(), static_cast<uint32_t>(nodes.size()), nullptr),
            tsh_tree_close};
}

Cursor at_root(const Tree &tree) {
    return {tsh_cursor_new(tree.get()), tsh_cursor_free};
}

std::string opened(const std::string &path) {
    tsh_error_t error;
    const Tree tree{tsh_tree_open(path.c_str(), &error), tsh_tree_close};
    EXPECT_EQ(tree == nullptr, error.code != TSH_ERROR_NONE);
    return std::to_string(error.code) + " " + error.text;
}

Nodes two_level_tree(const std::string &word) {
    return grammar::lay_out(
        grammar::main_root({keyword(word).child(keyword("version").terminal())}));
}

TEST(TreeHandle, RejectsInvalidTreesWithAnErrorValueAndNoOutput) {
    const harness::ScratchDir scratch;
    Nodes cycle = two_level_tree("show");
    cycle.back().children[cycle.back().child_count++] = 0;
    grammar::write_main_tree(scratch.path("cycle"), cycle);
    grammar::write_main_tree(scratch.path("good"), two_level_tree("show"));
    harness::write_file(scratch.path("empty"), "");
    harness::write_file(scratch.path("gzip"), "\x1f\x8b rest");

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(opened(scratch.path("missing")), "1 No such file or directory");
    EXPECT_EQ(opened(scratch.path("empty")), "2 it is empty");
    EXPECT_EQ(opened(scratch.path("gzip")),
              "2 its size of 7 bytes is not a multiple of 1000; it looks like a gzip file");
    EXPECT_EQ(opened(scratch.path("")), "2 it is not a regular file");
    EXPECT_EQ(opened(scratch.path("cycle")).substr(0, 6), "3 node");
    EXPECT_EQ(opened(scratch.path("good")), "0 ");
    EXPECT_EQ(tsh_tree_over(nullptr, 1, nullptr), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(TreeHandle, TreesAreIndependentOfTheLoadedTreeAndReleaseTheirMemory) {
    const harness::ScratchDir scratch;
    const std::string path = scratch.path("tree");
    const Nodes other = two_level_tree("other");
    grammar::write_main_tree(path, two_level_tree("show"));
    g_atn = atnode_root = other.data(); // the loaded tree of the process
    for (int round = 0; round < 100; ++round) {
        const Tree tree{tsh_tree_open(path.c_str(), nullptr), tsh_tree_close};
        const Tree beside = over(other);
        str_list_t *words = strsplit("sh ver", " ");
        const tree_node_t *root = tsh_tree_root(tree.get());
        const tree_node_t *found = tsh_tree_find_words(tree.get(), root, words);
        ASSERT_NE(found, nullptr);
        EXPECT_STREQ(found->name, "version");
        EXPECT_EQ(tsh_tree_index(beside.get(), found), -1);
        EXPECT_EQ(tsh_tree_find_words(beside.get(), other.data(), words), nullptr);
        EXPECT_EQ(tsh_tree_redirect_root(tree.get()) - root,
                  tsh_init_redirect_root() == 0 ? atnode_redirect_root - g_atn : -1);
        str_list_free(words);
    }
    EXPECT_EQ(harness::read_file("/proc/self/maps").find(path), std::string::npos);
}

void collect_paths(const Nodes &nodes, std::string path, uint16_t index,
                   std::vector<std::string> &paths) {
    path += std::string("/") + nodes[index].name;
    paths.push_back(path);
    for (uint16_t i = 0; i < nodes[index].child_count; ++i)
        collect_paths(nodes, path, nodes[index].children[i], paths);
}

std::string path_to(const Cursor &cursor) {
    std::string path;
    for (uint32_t levels = tsh_cursor_depth(cursor.get()); levels-- > 0;)
        path += std::string("/") + tsh_cursor_ancestor(cursor.get(), levels)->name;
    return path;
}

TEST(TreeHandle, ACursorVisitsEveryPathInPreorder) {
    std::mt19937 random{1};
    for (int round = 0; round < 200; ++round) {
        const Nodes nodes = grammar::random_tree(random, kWords, kTypes);
        std::vector<std::string> expected;
        collect_paths(nodes, "", 0, expected);
        const Tree tree = over(nodes);
        const Cursor cursor = at_root(tree);
        std::vector<std::string> visited;
        do {
            visited.push_back(path_to(cursor));
        } while (tsh_cursor_next(cursor.get()) != nullptr);
        EXPECT_EQ(visited, expected);
        EXPECT_EQ(tsh_cursor_depth(cursor.get()), 1U);
    }
}

TEST(TreeHandle, LooksUpTheFirstMatchAsInTheLoadedTree) {
    std::mt19937 random{2};
    for (int round = 0; round < 2000; ++round) {
        const Nodes nodes = grammar::random_tree(random, kWords, kTypes);
        g_atn = atnode_root = nodes.data();
        const Tree tree = over(nodes);
        const auto depth = static_cast<uint32_t>(random() % 5);
        const char *token = kWords[random() % std::size(kWords)];
        EXPECT_EQ(tsh_tree_find_token(tree.get(), nodes.data(), depth, token),
                  atnode_find_token(nodes.data(), static_cast<int32_t>(depth), token));
    }
}

TEST(TreeHandle, FindsNothingWithoutWordsOrMemory) {
    const Nodes nodes = two_level_tree("show");
    const Tree tree = over(nodes);
    const auto found = [&](const tree_node_t *node, const char *token) {
        return tsh_tree_find_token(tree.get(), node, 1, token) != nullptr;
    };
    EXPECT_TRUE(found(nodes.data(), "version"));
    EXPECT_FALSE(found(nodes.data(), ""));
    EXPECT_FALSE(found(nodes.data(), nullptr));
    EXPECT_FALSE(found(nullptr, "version"));
    EXPECT_EQ(tsh_tree_find_words(tree.get(), nodes.data(), nullptr), nullptr);
    if (!failing_malloc::available())
        return;
    failing_malloc::arm(1);
    const bool is_found = found(nodes.data(), "version");
    failing_malloc::disarm();
    EXPECT_FALSE(is_found);
    for (const long fail_at : {1, 2, 3}) {
        failing_malloc::arm(fail_at);
        const Cursor cursor = at_root(tree);
        failing_malloc::disarm();
        EXPECT_EQ(cursor == nullptr, fail_at < 3) << fail_at;
    }
}

TEST(TreeHandle, NeitherDepthNorSharedNodesExhaustAWalk) {
    Nodes ladder(TREE_MAX_NODES); // each rung leads to both nodes of the next one
    for (size_t i = 0; i + 2 < ladder.size(); ++i) {
        const size_t next = i / 2 * 2 + 2;
        ladder[i].child_count = 2;
        ladder[i].children[0] = static_cast<uint16_t>(next);
        ladder[i].children[1] = static_cast<uint16_t>(std::min(next + 1, ladder.size() - 1));
    }
    const Tree tree = over(ladder);
    const Cursor cursor = at_root(tree);
    while (tsh_cursor_to_child(cursor.get(), 1) != nullptr) {
    }
    EXPECT_EQ(tsh_cursor_depth(cursor.get()), TREE_MAX_NODES / 2U);
    EXPECT_EQ(tsh_cursor_position(cursor.get()), 1);
    EXPECT_EQ(tsh_tree_find_token(tree.get(), ladder.data(), UINT32_MAX, "none"), nullptr);
}

// The lines that begin with the words of nodes; "stopped" after what was written until then.
std::string lines_of(const Tree &tree, const std::vector<uint16_t> &path = {}, int32_t stop = 0) {
    struct Text {
        std::string lines;
        int32_t stop;
    } text{"", stop};
    const auto append = [](const char *part, size_t length, void *user) -> int32_t {
        auto *to = static_cast<Text *>(user);
        to->lines.append(part, length);
        return to->stop;
    };
    tsh_line_list_t *list = tsh_line_list_new(tree.get(), nullptr);
    const int32_t result =
        tsh_line_list_write(list, path.data(), static_cast<uint32_t>(path.size()), append, &text);
    tsh_line_list_free(list);
    return result == 0 ? text.lines : text.lines + "stopped";
}

TEST(TreeHandle, ListsTheLinesThatBeginWithWords) {
    const Nodes nodes = grammar::lay_out(grammar::main_root(
        {keyword("show").terminal().child(keyword("version").terminal()).child(keyword("port")),
         keyword("shut").terminal()}));
    const Tree tree = over(nodes);
    const auto index_of = [&](const char *words) {
        str_list_t *list = strsplit(words, " ");
        const tree_node_t *found = tsh_tree_find_words(tree.get(), nodes.data(), list);
        str_list_free(list);
        return static_cast<uint16_t>(tsh_tree_index(tree.get(), found));
    };
    const uint16_t show = index_of("show");
    EXPECT_EQ(lines_of(tree), "show\nshow version\nshut\n");
    EXPECT_EQ(lines_of(tree, {show}), "show\nshow version\n");
    EXPECT_EQ(lines_of(tree, {show, index_of("show version")}), "show version\n");
    EXPECT_EQ(lines_of(tree, {show, index_of("show port")}), "");
    EXPECT_EQ(lines_of(tree, {static_cast<uint16_t>(nodes.size())}), "stopped");
    EXPECT_EQ(lines_of(tree, {show}, 7), "show\nshow version\nstopped");
}

// Held by the thread sanitizer as well.
TEST(TreeHandle, ThreadsShareATreeAndOpenTheirOwn) {
    const harness::ScratchDir scratch;
    const std::string path = scratch.path("tree");
    const Nodes nodes = two_level_tree("show");
    grammar::write_main_tree(path, nodes);
    const Tree shared = over(nodes);
    std::vector<std::string> visited(4);
    std::vector<std::thread> threads;
    threads.reserve(visited.size());
    for (std::string &names : visited)
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                names.clear();
                const Tree own{tsh_tree_open(path.c_str(), nullptr), tsh_tree_close};
                for (const Tree *tree : {&own, &shared}) {
                    names += lines_of(*tree);
                    const Cursor cursor = at_root(*tree);
                    do {
                        names += tsh_cursor_node(cursor.get())->name + std::string(" ");
                    } while (tsh_cursor_next(cursor.get()) != nullptr);
                    names +=
                        tsh_tree_find_token(tree->get(), tsh_tree_root(tree->get()), 1, "v")->name;
                }
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(visited[0].find("show version\n"), 0U);
    EXPECT_EQ(visited, std::vector<std::string>(4, visited[0]));
}

} // namespace
