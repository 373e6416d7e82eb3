// Tree files from the compiler's nodes to the bytes that other programs see.
#include "examples/grammar.h"
#include "parse_tree/tree_file.h"
#include "platform/byte_order.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/harness.h"

#include <cstdio>
#include <cstring>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <sys/mman.h>
#include <zlib.h>

namespace {

using grammar::keyword;
using grammar::Word;
using harness::in_child;
using harness::Outcome;
using harness::ScratchDir;

// Nodes linked by hand, for shapes that no grammar has.
struct Graph {
    std::deque<parser_node_t> nodes;
    std::deque<parser_link_t> links;

    parser_node_t *add(char *name = nullptr) {
        parser_node_t &node = nodes.emplace_back();
        node.name = name;
        node.array_index = -1;
        return &node;
    }

    // Puts a link to the child in front of the parent's others.
    parser_link_t *link(parser_node_t *parent, parser_node_t *child) {
        links.push_back({parent->children, child, 0});
        return parent->children = &links.back();
    }

    parser_node_t *chain(int length) {
        parser_node_t *bottom = add();
        parser_node_t *top = bottom;
        for (; length > 1; --length) {
            parser_node_t *above = add();
            link(above, top);
            top = above;
        }
        return top;
    }
};

subtree_path_t below(const std::string &names) {
    subtree_path_t path{2, {}};
    names.copy(path.path, sizeof path.path - 1);
    return path;
}

std::string inflated(const std::string &path) {
    return harness::run({"gzip", "-dc", path}).out;
}

using Stream = std::unique_ptr<void, std::function<void(void *)>>;

Stream open_stream(const std::string &path, const char *mode, bool compressed) {
    if (compressed)
        return {gzopen(path.c_str(), mode), [](void *file) { gzclose(static_cast<gzFile>(file)); }};
    return {fopen(path.c_str(), mode), [](void *file) { fclose(static_cast<FILE *>(file)); }};
}

void write_tree(const std::string &path, parser_node_t *root) {
    const Stream stream = open_stream(path, "wb", true);
    const subtree_path_t attach_path = below("show,get");
    write_tree_to_file(root, 7, &attach_path, stream.get());
}

parameter_info_t parameter_of(uint32_t type_mask, uint64_t intf_mask) {
    parameter_info_t parameter{type_mask, intf_mask, {}, -2, 300, {}};
    memset(parameter.opaque1, 0xA1, sizeof parameter.opaque1);
    memset(parameter.opaque2, 0xA2, sizeof parameter.opaque2);
    return parameter;
}

Word full_word() {
    Word word =
        keyword("show").named("show_node").help("Help").submode_help("Sub").flags(0x80000004);
    word.func_id("func").mode_id("a mode text longer than its field").optional(0x10002);
    parser_node_t &node = word.node();
    node.aux_value1 = 0x1ABCD;
    node.aux_value2 = 0x21234;
    node.cmi_msg_type = 0xFE;
    node.token_id = 0x01020304;
    node.command_id = 5;
    node.perms = 0x80000102;
    node.intf_mask = 1;
    node.params[0] = parameter_of(0x40000001, 1);
    node.params[1] = parameter_of(8, UINT64_C(0x0102030405060708));
    node.has_param0 = node.has_param1 = 1;
    return word;
}

TEST(TreeWriter, StoresEveryFieldMostSignificantByteFirst) {
    const ScratchDir scratch;
    const std::string file = scratch.path("subtree.par");
    const Word shared = keyword("version");
    Word root = full_word();
    root.child(keyword("a").marked_child(shared)).marked_child(shared).child(keyword("b"));
    write_tree(file, root.unplaced());

    struct Expectation {
        size_t offset;
        std::string bytes;
    };
    const auto text = [](const char *words, size_t field) {
        std::string bytes = words;
        bytes.resize(field);
        return bytes;
    };
    const std::string record = inflated(file);
    constexpr size_t kRoot = 24 + sizeof "show,get";
    const std::vector<Expectation> expectations{
        {0, std::string("\0\0\0\7\0\0\0\2\0\0\0\11\0\0\x0F\xA0\0\0\0\0\0\0\0\0show,get\0", kRoot)},
        {kRoot, text("show_node", 64) + text("show", 32) + text("Help", 64) + text("Sub", 32) +
                    text("", 16) + text("func", 48) + text("a mode text longer than", 24) +
                    text("", 48)},
        {kRoot + 328, {"\0\2\0\xFE\x80\0\0\4\1\2\3\4\0\0\0\5\2\1\0\x80", 20}},
        {kRoot + 360, {"\x40\0\0\1\0\0\0\0\0\x0C\0\1\xA1", 13}},
        {kRoot + 435, {"\xA1\xFF\xFF\xFF\xFE\0\0\1\x2C\xA2", 10}},
        {kRoot + 460, {"\0\0\0\x8\1\2\3\4\5\6\7\x8\xA1", 13}},
        {kRoot + 559, {"\xA2\xAB\xCD\0\2\x12\x34\0\3\0\1\0\2\0\3\0\0", 17}},
        {kRoot + 952, {"\2\0", 2}},
        {kRoot + 984, {"\0\0\0\0\0\x0C\0\1\0\0\0\0\0\0\0\0", 16}},
        {kRoot + 1000 + 566, {"\0\1\0\2", 4}},
        {kRoot + 1000 + 952, {"\1\0", 2}},
        {kRoot + 2000, text("version", 64)},
        {kRoot + 3000, text("b", 64)},
    };
    ASSERT_EQ(record.size(), kRoot + 4000);
    for (const auto &[offset, bytes] : expectations)
        EXPECT_EQ(record.substr(offset, bytes.size()), bytes) << "at " << offset;

    const auto dump = harness::run({"sh", "-c", "gzip -dc \"$0\" | od -An -tx1 -j12 -N4", file});
    EXPECT_EQ(dump.out, " 00 00 0f a0\n");
}

TEST(TreeWriter, WhatIsAbsentIsLeftOut) {
    Word word = keyword("show");
    word.node().token = nullptr;
    word.node().has_param1 = 1;
    word.node().has_param0 = 2;
    Graph graph;
    word.node().children = graph.link(graph.add(), nullptr);
    std::vector<tree_node_t> nodes = grammar::lay_out(word);
    ASSERT_EQ(nodes.size(), 2);
    EXPECT_STREQ(nodes[0].token, "");
    EXPECT_EQ(nodes[0].param_count, 0);
    EXPECT_EQ(nodes[0].children[0], 1);

    uint8_t bits[16];
    memset(bits, 0xFF, sizeof bits);
    treefile_copy_permissions_mask(bits, 0x00000100);
    EXPECT_EQ(memcmp(bits, "\0\1\0\0\xFF\xFF", 6), 0);
    write_node_to_array(nullptr, nodes.data());
    EXPECT_EQ(memcmp(nodes.data(), &nodes[1], TREE_NODE_SIZE), 0);
}

TEST(TreeFiles, ReadBackAsWritten) {
    const ScratchDir scratch;
    Word root = full_word();
    const Word shared = full_word();
    root.child(shared).child(keyword("a").child(shared));
    const std::vector<tree_node_t> nodes = grammar::lay_out(root);
    const auto count = static_cast<uint32_t>(nodes.size());
    const size_t size = nodes.size() * TREE_NODE_SIZE;
    const std::string plain = scratch.path("plain");
    const std::string packed = scratch.path("packed");
    const subtree_path_t path = below("root");
    for (const bool compressed : {false, true}) {
        auto copy = nodes;
        const Stream stream = open_stream(compressed ? packed : plain, "wb", compressed);
        ASSERT_EQ(
            write_array_tree_to_file(copy.data(), count, 1, &path, stream.get(), 1, compressed, 0),
            0);
        EXPECT_NE(memcmp(copy.data(), nodes.data(), size), 0);
    }
    EXPECT_EQ(inflated(packed), harness::read_file(plain));
    ASSERT_EQ(harness::run({"sh", "-c", "gzip <\"$0\" >\"$0.gz\"", plain}).status, 0);

    const std::vector<std::pair<std::string, int>> ways{
        {plain, 0}, {plain, 1}, {packed, 1}, {plain + ".gz", 1}};
    for (const auto &way : ways) {
        const int32_t compressed = way.second;
        const Stream stream = open_stream(way.first, "rb", compressed != 0);
        const auto read = [&](void *buffer, size_t most) {
            return read_regular_or_compressed(stream.get(), buffer, static_cast<uint32_t>(most),
                                              compressed);
        };
        subtree_header_t header;
        char text[8];
        std::vector<tree_node_t> loaded(nodes.size() + 1);
        ASSERT_EQ(read(&header, sizeof header), 24);
        ntoh_subtree_header(&header);
        EXPECT_EQ(header.tree_bytes, size);
        ASSERT_EQ(read(text, header.path_len), 5);
        EXPECT_STREQ(text, "root");
        ASSERT_EQ(read(loaded.data(), size + TREE_NODE_SIZE), static_cast<int>(size));
        ntoh_array_tree(loaded.data(), 0, 0);
        EXPECT_EQ(memcmp(loaded.data(), nodes.data(), size), 0) << way.first;
        hton_array_tree(loaded.data(), 0, 0);
        ntoh_array_tree(loaded.data(), 0, 0);
        EXPECT_EQ(memcmp(loaded.data(), nodes.data(), size), 0);
    }
}

TEST(TreeFiles, ConversionStaysInsideTheArrayWhateverItsLinksSay) {
    const ScratchDir scratch;
    constexpr size_t kPage = 4096;
    auto *pages = static_cast<char *>(
        mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(mprotect(pages + kPage, kPage, PROT_NONE), 0);
    auto *nodes = reinterpret_cast<tree_node_t *>(pages + kPage - 2000);
    memset(nodes, 0xFE, 2000);
    nodes[1].optional = 0x0102;
    {
        const Stream stream = open_stream(scratch.path("bare"), "wb", false);
        EXPECT_EQ(write_array_tree_to_file(nodes, 2, 0, nullptr, stream.get(), 1, 0, 1), 0);
    }
    const std::string bytes = harness::read_file(scratch.path("bare"));
    ASSERT_EQ(bytes.size(), 2000);
    EXPECT_EQ(bytes.substr(1328, 2), "\1\2");
    munmap(pages, 2 * kPage);
}

// A limit of the writer: what becomes of the process, its messages and the record's node count.
struct Limit {
    const char *name;
    std::function<parser_node_t *(Graph &)> build;
    int status; // kWentOn when the writer returned
    const char *out;
    const char *err;
    size_t nodes; // 0: no record
};

constexpr int kWentOn = 7;
constexpr const char *kCycle = "Error:Cycle in parse tree or maximum depth exceeded\n";
char node_name[] = "broad";

parser_node_t *broad(Graph &graph, int links) {
    parser_node_t *root = graph.add(node_name);
    for (; links > 0; --links)
        graph.link(root, graph.add());
    return root;
}

TEST(TreeWriter, HoldsItsLimits) {
    const std::vector<Limit> limits{
        {"longest chain", [](Graph &graph) { return graph.chain(19998); }, kWentOn, "", kCycle,
         19998},
        {"one node more", [](Graph &graph) { return graph.chain(19999); }, 0,
         "*** Maximum subtree size of 20000 nodes exceeded ***\n", "", 0},
        {"deepest tree", [](Graph &graph) { return graph.chain(256); }, kWentOn, "", "", 256},
        {"a level more", [](Graph &graph) { return graph.chain(257); }, kWentOn, "", kCycle, 257},
        {"cycle",
         [](Graph &graph) {
             parser_node_t *root = graph.chain(2);
             graph.link(root->children->child, root);
             return root;
         },
         kWentOn, "", kCycle, 2},
        {"192 links", [](Graph &graph) { return broad(graph, 192); }, kWentOn, "", "", 193},
        {"193 links", [](Graph &graph) { return broad(graph, 193); }, kWentOn, "",
         "Error: node \"broad\" has more than 192 child links\n", 0},
        {"looping list",
         [](Graph &graph) {
             parser_node_t *root = broad(graph, 1);
             return root->children->next = root->children, root;
         },
         kWentOn, "", "Error: node \"broad\" has more than 192 child links\n", 0},
        {"child of an earlier write",
         [](Graph &graph) {
             parser_node_t *root = broad(graph, 2);
             root->children->child->array_index = 65536;
             return root;
         },
         kWentOn, "", "Error: node \"broad\" has a child placed by an earlier write\n", 2},
        {"no tree", [](Graph &) { return nullptr; }, kWentOn, "", "", 0},
    };
    for (const Limit &limit : limits) {
        SCOPED_TRACE(limit.name);
        const ScratchDir scratch;
        const Outcome outcome = in_child([&] {
            Graph graph;
            write_tree(scratch.path("tree"), limit.build(graph));
            return kWentOn;
        });
        EXPECT_EQ(outcome.status, limit.status);
        EXPECT_EQ(outcome.out, limit.out);
        EXPECT_EQ(outcome.err, limit.err);
        const size_t size = limit.nodes == 0 ? 0 : 24 + sizeof "show,get" + limit.nodes * 1000;
        EXPECT_EQ(inflated(scratch.path("tree")).size(), size);
    }
}

TEST(TreeWriter, ASecondRecordNeedsFreshIndices) {
    const ScratchDir scratch;
    const Word root = keyword("a").child(keyword("b").child(keyword("c")));
    const Outcome outcome = in_child([&] {
        const Stream stream = open_stream(scratch.path("tree"), "wb", true);
        const subtree_path_t path = below("");
        write_tree_to_file(root.unplaced(), 1, &path, stream.get());
        write_tree_to_file(&root.node(), 1, &path, stream.get());
        write_tree_to_file(root.unplaced(), 1, &path, stream.get());
        return 0;
    });
    EXPECT_EQ(outcome.err, "Error: node \"a\" has a child placed by an earlier write\n");
    const std::string bytes = inflated(scratch.path("tree"));
    EXPECT_EQ(bytes.size(), 3 * 25 + 3000 + 1000 + 3000);
    EXPECT_EQ(bytes.substr(3025 + 12, 4), std::string("\0\0\x03\xE8", 4));
}

TEST(TreeWriter, EndsWithoutScratchMemory) {
    if (!failing_malloc::available())
        GTEST_SKIP() << "a sanitizer owns malloc";
    const Outcome outcome = in_child([] {
        failing_malloc::arm(1);
        write_tree_to_file(nullptr, 1, nullptr, nullptr);
        return kWentOn;
    });
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, " Error: malloc failed.");
}

TEST(TreeFiles, EveryFailedWriteIsReported) {
    const ScratchDir scratch;
    const std::string file = scratch.path("file");
    harness::write_file(file, "");
    const std::vector<std::pair<std::string, const char *>> places{{file, "rb"},
                                                                   {"/dev/full", "wb"}};
    for (const auto &[path, mode] : places)
        for (const bool compressed : {false, true})
            for (const uint32_t count : {1U, 40U}) {
                const Outcome outcome = in_child([&, &path = path, &mode = mode] {
                    std::vector<tree_node_t> nodes(count);
                    const subtree_path_t attach_path = below("a");
                    const Stream stream = open_stream(path, mode, compressed);
                    const int result = write_array_tree_to_file(
                        nodes.data(), count, 1, &attach_path, stream.get(), 1, compressed, 0);
                    return result == -1 ? kWentOn : 0;
                });
                EXPECT_EQ(outcome.status, kWentOn) << path << compressed << count;
                EXPECT_EQ(outcome.out, "Error in writing to main_tree file\n");
            }
}

TEST(TreeWriter, DebugPrintsTellSizes) {
    const ScratchDir scratch;
    const Outcome outcome = in_child([&] {
        debug_flag = 2; // only 1 counts
        Graph graph;
        write_tree(scratch.path("tree"), graph.chain(1));
        debug_flag = 1;
        write_tree(scratch.path("tree"), graph.chain(2));
        const Stream stream = open_stream(scratch.path("bare"), "wb", false);
        const subtree_path_t path = below("");
        return write_array_tree_to_file(nullptr, 0, 1, &path, stream.get(), 1, 0, 1);
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "Size of tree node is 1000Size of parameter_info_t is 100 \n"
              "Treefile: Going to write 24 bytes of header, 9 bytes of path and 2 nodes "
              "(2000 bytes) to file \n"
              "Treefile: Going to write 24 bytes of header, 1 bytes of path and 0 nodes "
              "(0 bytes) to file \n");
    EXPECT_EQ(harness::read_file(scratch.path("bare")), "");
}

} // namespace
