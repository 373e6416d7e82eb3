// Subtree files, good, damaged and hostile: what is filed and what is said.
#include "examples/grammar.h"
#include "parse_tree/tree_load.h"
#include "platform/tree_library.h"
#include "tests/support/harness.h"
#include "treelink/link_table.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <zlib.h>

namespace {

using grammar::keyword;
using grammar::Word;

using Nodes = std::vector<tree_node_t>;

constexpr size_t kPathLength = offsetof(subtree_header_t, path_len);
constexpr size_t kTreeBytes = offsetof(subtree_header_t, tree_bytes);
const std::string kCorrupted =
    "*** Treelink Warning ***: Incompatible format/Corrupted .par file x.par ignored\n";
const std::string kShort = "Treelink Error: Not able to read file x.par\n";

Nodes words(const std::string &token, int below = 1) {
    Word root = keyword(token);
    for (int i = 0; i < below; ++i)
        root.child(keyword(std::string(token).append(std::to_string(i))));
    return grammar::lay_out(root);
}

Nodes chain(int levels) {
    Word word = keyword("end");
    for (; levels > 1; --levels)
        word = keyword(std::string("x").append(std::to_string(levels))).child(word);
    return grammar::lay_out(word);
}

// One subtree as it stands in a file.
std::string stored(Nodes nodes, const std::string &names = "a,b") {
    char *bytes = nullptr;
    size_t size = 0;
    FILE *stream = open_memstream(&bytes, &size);
    subtree_path_t path;
    populate_subtree_path(&path, 2, names.c_str());
    write_array_tree_to_file(nodes.data(), static_cast<uint32_t>(nodes.size()), 1, &path, stream, 1,
                             0, 0);
    fclose(stream);
    std::string text(bytes, size);
    free(bytes);
    return text;
}

// The same with one word of the header changed.
std::string stored_with(size_t offset, uint32_t value, std::string bytes = stored(words("odd"))) {
    for (size_t i = 0; i < sizeof value; ++i)
        bytes[offset + i] = static_cast<char>(value >> (24 - 8 * i));
    return bytes;
}

// The same with a tree that somebody has been at.
std::string stored_odd(const std::function<void(Nodes &)> &spoil, Nodes nodes = words("odd", 3)) {
    spoil(nodes);
    return stored(nodes);
}

std::string name_list(int count) {
    std::string names;
    for (int i = 0; i < count; ++i)
        names.append("n").append(std::to_string(i)).append(",");
    return names;
}

void show_filed() {
    for (const subtree_entry_t *record = unresolved_subtree_table; record != nullptr;
         record = record->next) {
        printf("%s[%u]", record->nodes[0].token, record->node_count);
        for (int32_t i = 0; i < record->path_count; ++i)
            printf(" %s", record->attach_paths[i]);
        printf("\n");
    }
}

class SubtreeFile : public testing::Test {
protected:
    // Runs code inside the scratch folder; errors appear among what it prints.
    std::string output_of(const std::function<void()> &code) {
        const harness::Outcome outcome = harness::in_child([&] {
            setvbuf(stdout, nullptr, _IONBF, 0);
            setvbuf(stderr, nullptr, _IONBF, 0);
            dup2(STDOUT_FILENO, STDERR_FILENO);
            const bool there = chdir(scratch_.path("").c_str()) == 0;
            code();
            return there ? 0 : 1;
        });
        EXPECT_EQ(outcome.status, 0);
        return outcome.out;
    }
    std::string output_of_reading(const std::string &bytes) {
        harness::write_file(scratch_.path("x.par"), bytes);
        return output_of([] {
            printf("%d\n", read_parser_file("x.par", SUBTREE_FILE_ORDINARY));
            show_filed();
        });
    }
    std::string compressed(const std::string &bytes) {
        gzFile file = gzopen(scratch_.path("x.gz").c_str(), "wb");
        gzwrite(file, bytes.data(), static_cast<unsigned>(bytes.size()));
        gzclose(file);
        return harness::read_file(scratch_.path("x.gz"));
    }

    harness::ScratchDir scratch_;
};

TEST_F(SubtreeFile, FilesWhatIsSoundAndRefusesTheRest) {
    struct {
        std::string bytes; // of the second of three subtrees
        std::string complaint;
        const char *filed = "";
    } const cases[] = {
        {stored(words("odd"), ",a,b,,c,"), "", "last[2] a b\nodd[2] a b c\n"},
        {stored(words("odd"), std::string(70, 'n')), "",
         "last[2] a b\n"
         "odd[2] nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn\n"},
        {stored(chain(256), ""), "", "last[2] a b\nx2[256]\n"},
        {stored(words("a,b,c", 0), name_list(31)), "",
         "last[2] a b\na,b,c[1] n0 n1 n2 n3 n4 n5 n6 n7 n8 n9 n10 n11 n12 n13 n14 n15 n16 n17 n18 "
         "n19 n20 n21 n22 n23 n24 n25 n26 n27 n28 n29 n30\n"},
        {stored(words("odd"), name_list(33)), kCorrupted},
        {stored_with(kPathLength, 1025), kCorrupted},
        {stored_with(kPathLength, UINT32_MAX), kCorrupted},
        {stored_with(kTreeBytes, 1500), kCorrupted},
        {stored_with(kTreeBytes, UINT32_MAX), kCorrupted},
        {stored_with(kTreeBytes, UINT32_MAX / 1000 * 1000), kCorrupted},
        {stored_with(kTreeBytes, 65537000), kCorrupted},
        {stored_with(kTreeBytes, 65536000), kShort},
        {stored_with(kTreeBytes, 0), ""},
        {stored(chain(257)), kCorrupted},
        {stored_odd([](Nodes &tree) { tree[2].children[tree[2].child_count++] = 0; }), kCorrupted},
        {stored_odd([](Nodes &tree) { tree[0].children[1] = 4; }), kCorrupted},
        {stored_odd([](Nodes &tree) { tree[0].children[1] = 1; }), kCorrupted},
        {stored_odd([](Nodes &tree) { tree[3].child_count = 193; }), kCorrupted},
        {stored_odd([](Nodes &tree) { tree[1].param_count = 3; }), kCorrupted},
        {stored_odd([](Nodes &tree) { memset(tree[1].name, 'n', sizeof tree[1].name); }),
         kCorrupted},
        {stored_odd([](Nodes &tree) { memset(tree[3].help, 'h', sizeof tree[3].help); }),
         kCorrupted},
    };
    for (const auto &test : cases) {
        const std::string file = stored(words("first")) + test.bytes + stored(words("last"));
        const std::string expected =
            std::string(test.complaint).append("0\n").append(test.filed) + "first[2] a b\n";
        EXPECT_EQ(output_of_reading(file), expected);
        EXPECT_EQ(output_of_reading(compressed(file)), expected);
    }
}

TEST_F(SubtreeFile, EndsAPathWithItsField) {
    const std::string full = stored(words("odd"), std::string(1018, ',') + "tail");
    std::string unterminated = stored_with(kPathLength, 1024, full);
    unterminated.insert(sizeof(subtree_header_t) + 1022, "!!");
    unterminated.erase(sizeof(subtree_header_t) + 1024, 1);
    EXPECT_EQ(output_of_reading(unterminated), "0\nodd[2] tail!\n");
    std::string cut = stored_with(kPathLength, 3);
    cut.erase(sizeof(subtree_header_t) + 3, 1);
    EXPECT_EQ(output_of_reading(cut), "0\nodd[2] a b\n");
}

TEST_F(SubtreeFile, EndsAnywhere) {
    const std::string whole = stored(words("one", 0)) + stored(words("two", 0));
    const size_t record = whole.size() / 2;
    const std::string gzip = compressed(whole);
    std::string expected;
    const std::string output = output_of([&] {
        for (size_t length = 0; length <= whole.size(); ++length) {
            harness::write_file("x.par", whole.substr(0, length));
            fresh_tree_linking = 1;
            read_parser_file("x.par", SUBTREE_FILE_ORDINARY);
            show_filed();
        }
        for (size_t length = 0; length < gzip.size(); ++length) { // whatever it says, it ends
            harness::write_file("z.par", gzip.substr(0, length));
            read_parser_file("z.par", SUBTREE_FILE_ORDINARY);
        }
    });
    for (size_t length = 0; length <= whole.size(); ++length) {
        if (length % record >= sizeof(subtree_header_t))
            expected += kShort;
        if (length == whole.size())
            expected += "two[1] a b\n";
        if (length >= record)
            expected += "one[1] a b\n";
    }
    EXPECT_EQ(output.substr(0, expected.size()), expected);
}

TEST_F(SubtreeFile, TellsWhatCannotBeOpenedAndInflated) {
    std::string gzip = compressed(stored(words("one")) + stored(words("two")));
    gzip += "\x1f\x8b\x08\xff and what else is no gzip header";
    EXPECT_EQ(output_of_reading(gzip), kCorrupted + "0\ntwo[2] a b\none[2] a b\n");
    const std::string output = output_of([] {
        for (const char *name : {"none.par", "."})
            printf("%d %d\n", read_parser_file(name, SUBTREE_FILE_ROOT), fresh_tree_linking);
        tree_node_t *tree = nullptr;
        for (const char *name : {static_cast<const char *>(nullptr), "none.par", "x.par"})
            printf("%d\n", get_main_parse_tree(name, &tree));
        printf("%s\n", tree[1].name);
        free_main_parse_tree(tree);
        harness::write_file("x.par", "");
        debug_flag = 1;
        read_parser_file("x.par", SUBTREE_FILE_ROOT);
        printf("%d\n", get_main_parse_tree("x.par", &tree));
    });
    EXPECT_EQ(output, "Treelink Error: Parser file none.par could not be opened \n-1 1\n"
                      "Treelink Error: Parser file . could not be opened \n-1 1\n"
                      "\nError: main par file not specified \n-1\n"
                      "Error: Parser file none.par could not be opened \n-1\n"
                      "2\none0\n"
                      "\nDone reading header file x.par\n"
                      "Done reading header file x.par\n"
                      "*** Fatal error: Not able to read main parser file \n-1\n");
}

// A few bytes that claim the largest tree there can be take no memory to speak of.
TEST_F(SubtreeFile, ClaimsCostNothing) {
    const std::string claim = stored_with(kTreeBytes, 65536000).substr(0, 40);
    harness::write_file(scratch_.path("x.par"), claim);
    const auto peak = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss; // in KB
    };
    EXPECT_EQ(output_of([&] {
                  const long before = peak();
                  read_parser_file("x.par", SUBTREE_FILE_ORDINARY);
                  printf("%s\n", peak() - before < 60000 ? "little" : "much");
              }),
              kShort + "little\n");
}

} // namespace
