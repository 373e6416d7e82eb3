// Tests of the tree writer and of tree files: from the compiler's nodes to bytes.
#include "parse_tree/byte_order.h"
#include "parse_tree/tree_file.h"
#include "parse_tree/tree_load.h"
#include "platform/robust_string.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/grammar.h"
#include "tests/support/harness.h"
#include "tests/support/replay.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <utility>
#include <vector>
#include <zlib.h>

namespace {

using grammar::keyword;
using grammar::Word;
using harness::in_child;
using harness::Outcome;

// A chain of nodes, each the parent of the next.
class Chain {
public:
    explicit Chain(size_t length) : nodes_(length), links_(length) {
        for (size_t i = 0; i < length; ++i) {
            nodes_[i].array_index = -1;
            if (i > 0)
                nodes_[i - 1].children = &(links_[i] = {nullptr, &nodes_[i], 0});
        }
    }
    parser_node_t *top() { return nodes_.data(); }

    // Links the first node to the third, so that the first path is not the longest.
    parser_node_t *top_with_short_cut() {
        links_[0] = {nodes_[0].children, &nodes_[2], 0};
        nodes_[0].children = links_.data();
        return top();
    }

private:
    std::vector<parser_node_t> nodes_;
    std::vector<parser_link_t> links_;
};

int with_stream(const std::string &path, const char *mode, int32_t compressed,
                const std::function<int(void *)> &use) {
    if (compressed != 0) {
        gzFile file = gzopen(path.c_str(), mode);
        const int result = use(file);
        return gzclose(file), result;
    }
    FILE *file = fopen(path.c_str(), mode);
    const int result = use(file);
    return fclose(file), result;
}

constexpr subtree_path_t kPath{2, "show,get"};
constexpr size_t kHead = sizeof(subtree_header_t) + sizeof "show,get";

void write_tree(const std::string &path, parser_node_t *root) {
    with_stream(path, "wb", 1,
                [&](void *file) { return write_tree_to_file(root, 7, &kPath, file), 0; });
}

std::string inflated(const std::string &path) {
    return harness::run({"gzip", "-dc", path}).out;
}

Word full_word() {
    Word word = keyword("show").named("show_node").help("Help").submode_help("Sub");
    word.func_id("func").mode_id("a mode text longer than its field").flags(0x80000004);
    parser_node_t &node = word.optional(0x10002).parameter(0x40000001).parameter(8).node();
    node.aux_value1 = 0x1ABCD;
    node.aux_value2 = 0x21234;
    node.cmi_msg_type = 0xFE;
    node.token_id = 0x01020304;
    node.perms = 0x80000102;
    node.intf_mask = node.params[0].intf_mask = 1;
    node.params[1].intf_mask = UINT64_C(0x0102030405060708);
    for (parameter_info_t &parameter : node.params) {
        memset(parameter.opaque1, 0xA1, sizeof parameter.opaque1);
        memset(parameter.opaque2, 0xA2, sizeof parameter.opaque2);
        parameter.int_min = -2;
    }
    return word;
}

TEST(TreeWriter, StoresEveryFieldInBigEndianOrder) {
    const harness::ScratchDir scratch;
    const Word shared = keyword("version");
    const Word last = keyword("b");
    last.node().has_param1 = 1; // ignored without a first parameter
    const Word root =
        full_word().child(keyword("a").marked_child(shared)).marked_child(shared).child(last);
    write_tree(scratch.path("tree"), root.unplaced());
    const std::string record = inflated(scratch.path("tree"));
    ASSERT_EQ(record.size(), kHead + 4000);

    const auto text = [](std::string words, size_t field) {
        words.resize(field);
        return words;
    };
    const std::vector<std::pair<size_t, std::string>> expectations{
        {0, {"\0\0\0\7\0\0\0\2\0\0\0\11\0\0\x0F\xA0\0\0\0\0\0\0\0\0show,get\0", kHead}},
        {kHead, text("show_node", 64) + text("show", 32) + text("Help", 64) + text("Sub", 48) +
                    text("func", 48) + text("a mode text longer than", 72)},
        {kHead + 328, {"\0\2\0\xFE\x80\0\0\4\1\2\3\4\0\0\0\0\2\1\0\x80", 20}},
        {kHead + 360, {"\x40\0\0\1\0\0\0\0\0\x0C\0\1\xA1", 13}},
        {kHead + 435, {"\xA1\xFF\xFF\xFF\xFE\0\0\0\0\xA2", 10}},
        {kHead + 460, {"\0\0\0\x8\1\2\3\4\5\6\7\x8\xA1", 13}},
        {kHead + 559, {"\xA2\xAB\xCD\0\2\x12\x34\0\3\0\1\0\2\0\3\0\0", 17}},
        {kHead + 952, {"\2\0", 2}},
        {kHead + 984, {"\0\0\0\0\0\x0C\0\1\0\0\0\0\0\0\0\0", 16}},
        {kHead + 1000 + 566, {"\0\1\0\2", 4}},
        {kHead + 1000 + 952, {"\1\0", 2}},
        {kHead + 2000, text("version", 64)},
        {kHead + 3000, text("b", 64)},
        {kHead + 3000 + 562, {"\0\0\0\0\0\0", 6}},
    };
    for (const auto &[offset, bytes] : expectations)
        EXPECT_EQ(record.substr(offset, bytes.size()), bytes) << "at " << offset;
    const std::string command = "gzip -dc \"$0\" | od -An -tx1 -j12 -N4";
    EXPECT_EQ(harness::run({"sh", "-c", command, scratch.path("tree")}).out, " 00 00 0f a0\n");

    std::array<uint8_t, 16> permissions{0xFF, 0xFF, 0xFF, 0xFF, 0x81};
    treefile_copy_permissions_mask(permissions.data(), 0x80000102);
    EXPECT_EQ(permissions, (std::array<uint8_t, 16>{0x02, 0x01, 0, 0x80, 0x81}));
}

TEST(TreeFiles, ReadBackAsWritten) {
    const harness::ScratchDir scratch;
    const Word shared = full_word();
    const auto nodes =
        grammar::lay_out(full_word().child(shared).child(keyword("a").child(shared)));
    const std::string files[] = {scratch.path("plain"), scratch.path("packed")};
    for (const int32_t compressed : {0, 1}) {
        auto copy = nodes;
        with_stream(files[compressed], "wb", compressed, [&](void *file) {
            for (const int32_t network : {1, 0})
                EXPECT_EQ(write_array_tree_to_file(copy.data(), 3, 1, &kPath, file, network,
                                                   compressed, 0),
                          0);
            return 0;
        });
    }
    EXPECT_EQ(inflated(files[1]), harness::read_file(files[0]));
    EXPECT_EQ(harness::read_file(files[1]).rfind("\x1F\x8B\x08"), 0) << "one gzip member";
    EXPECT_EQ(harness::run({"gzip", "-k", files[0]}).status, 0);

    const std::pair<std::string, int32_t> ways[] = {
        {files[0], 0}, {files[0], 1}, {files[1], 1}, {files[0] + ".gz", 1}};
    for (const auto &[name, packed] : ways) {
        const auto loads = [&, packed = packed](void *file) -> int {
            std::vector<tree_node_t> loaded(4);
            EXPECT_EQ(read_regular_or_compressed(file, loaded.data(), kHead, packed), kHead);
            EXPECT_EQ(read_regular_or_compressed(file, loaded.data(), 3000, packed), 3000);
            ntoh_array_tree(loaded.data(), 0, 0);
            hton_array_tree(loaded.data(), 0, 0);
            ntoh_array_tree(loaded.data(), 0, 0);
            EXPECT_EQ(memcmp(loaded.data(), nodes.data(), 3000), 0);
            return read_regular_or_compressed(file, loaded.data(), 4000, packed);
        };
        EXPECT_EQ(with_stream(name, "rb", packed, loads), kHead + 3000) << name;
    }
}

TEST(TreeFiles, ConversionStaysInsideTheArrayWithAnyLinks) {
    const harness::ScratchDir scratch;
    std::vector<tree_node_t> nodes(3);
    memset(nodes.data(), 0xFE, 3000);
    nodes[1].optional = nodes[2].optional = 0x0102;
    with_stream(scratch.path("bare"), "wb", 0, [&](void *file) {
        EXPECT_EQ(write_array_tree_to_file(nodes.data(), 2, 0, nullptr, file, 1, 0, 1), 0);
        EXPECT_EQ(write_array_tree_to_file(nodes.data(), 0, 0, nullptr, file, 1, 0, 1), 0);
        EXPECT_EQ(write_array_tree_to_file(nodes.data(), 4294968, 0, nullptr, file, 0, 0, 1), -1)
            << "more bytes than a header can tell";
        return 0;
    });
    const std::string bytes = harness::read_file(scratch.path("bare"));
    EXPECT_EQ(bytes.size(), 2000);
    EXPECT_EQ(bytes.substr(1328, 2), "\1\2");
    EXPECT_EQ(nodes[2].optional, 0x0102);
}

// A file may have any number of records; indices can address 65,536 of them.
TEST(TreeFiles, RecordsAfterTheLastIndexAreNeverRead) {
    const harness::ScratchDir scratch;
    grammar::write_main_tree(scratch.path("huge"),
                             grammar::lay_out(grammar::main_root({keyword("x")})));
    std::filesystem::resize_file(scratch.path("huge"), 1'000'000'000);
    const Outcome outcome = in_child([&] {
        printf("%d ", tsh_init_redirect_root()); // no tree is loaded yet
        robust_strncpy(tsh_parse_file, scratch.path("huge").c_str(), sizeof tsh_parse_file);
        init_parse_tree();
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        const long megabytes = usage.ru_maxrss / 1024;
        printf("%s %zu bytes, %ld MB", atnode_redirect_root->name, main_tree_map_size, megabytes);
        return megabytes < 300 ? 0 : 1;
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("-1 redirect 1000000000 bytes, ")) << outcome.out;
}

// Returns the messages of the writer for a chain, and the number of stored nodes (0: no record).
struct Limit {
    size_t length;
    size_t nodes;
    std::string text;
    int status = kReturned;
    static constexpr int kReturned = 7; // the writer returned
};

TEST(TreeWriter, EnforcesItsLimits) {
    const std::string deep = "Error:Cycle in parse tree or maximum depth exceeded\n";
    const Limit limits[] = {
        {256, 256, ""},
        {257, 257, deep},
        {19998, 19998, deep},
        {19999, 0, "*** Maximum subtree size of 20000 nodes exceeded ***\n", 0},
    };
    for (const Limit &limit : limits) {
        const harness::ScratchDir scratch;
        Chain chain{limit.length};
        const Outcome outcome = in_child([&] {
            const rlimit small_stack{256 << 10, 256 << 10};
            setrlimit(RLIMIT_STACK, &small_stack);
            write_tree(scratch.path("tree"), nullptr);
            write_tree(scratch.path("tree"), chain.top_with_short_cut());
            return Limit::kReturned;
        });
        EXPECT_EQ(outcome.status, limit.status) << limit.length;
        EXPECT_EQ(outcome.out + outcome.err, limit.text) << limit.length;
        const size_t size = limit.nodes == 0 ? 0 : kHead + limit.nodes * TREE_NODE_SIZE;
        EXPECT_EQ(inflated(scratch.path("tree")).size(), size) << limit.length;
    }

    const harness::ScratchDir scratch;
    Word wide = keyword("wide");
    for (int i = 0; i <= TREE_MAX_CHILDREN; ++i)
        wide.child(keyword("w"));
    const Outcome outcome =
        in_child([&] { return write_tree(scratch.path("tree"), wide.unplaced()), 0; });
    EXPECT_EQ(outcome.err, "Error: node \"wide\" has more than 192 child links\n");
    EXPECT_EQ(inflated(scratch.path("tree")), "");
}

TEST(TreeWriter, AgreesWithAPlainRecursion) {
    replay(2000, 80);
}

TEST(TreeWriter, ExitsIfMemoryRunsOut) {
    if (!failing_malloc::available())
        GTEST_SKIP() << "a sanitizer owns malloc";
    Chain chain{5};
    for (long allocation = 1; allocation <= 7; ++allocation) {
        const auto write = [&](void *file) {
            failing_malloc::arm(allocation);
            return write_tree_to_file(chain.top(), 7, &kPath, file), 0;
        };
        const Outcome outcome = in_child([&] { return with_stream("/dev/null", "wb", 1, write); });
        EXPECT_EQ(outcome.status, 1) << allocation;
        EXPECT_EQ(outcome.err, " Error: malloc failed.") << allocation;
    }
}

} // namespace
