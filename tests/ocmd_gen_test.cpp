// Tests of ocmd_gen: options, listings, dumps, rejected files and write errors.
#include "parse_tree/byte_order.h"
#include "tests/support/grammar.h"
#include "tests/support/harness.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using grammar::keyword;
using grammar::main_root;
using grammar::parameter;
using grammar::Word;
using harness::Outcome;

const std::string kNotMapped = "\n Error mapping main parse tree... \nstatus 1";
constexpr const char *kUsage = "\n\tOstrel Command Generation Utility"
                               "\n\n\tocmd_gen [-h] [-s tsh par file]"
                               "\n\t-h\tthis help"
                               "\n\t-s\tspecify .par file\n\n";

Word sample_root() {
    Word submode = parameter(0x40200001).submode();
    submode.child(keyword("rest").terminal())
        .child(keyword("label").child(parameter(2).optional().terminal()));
    return main_root({keyword("show").child(keyword("health").terminal()),
                      keyword("bay").child(submode),
                      keyword("peer")
                          .parameter(0x40100003)
                          .parameter(0x7F100000)
                          .optional(7)
                          .flags(TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)});
}

constexpr const char *kSampleListing = "\n[     1].  show  health"
                                       "\n[     2].  bay  <INTERFACE>"
                                       "\n[     3].    rest"
                                       "\n[     4].    label  <LINE>[o]"
                                       "\n[     5].  peer[o]<INTEGERINTEGER RANGE>[o]<>[o]";

// A hundred words with two children each: more lines than any run could print.
Word endless_root() {
    Word word = keyword("end").terminal();
    for (int level = 0; level < 100; ++level)
        word = keyword("a").child(word).child(keyword("b").terminal().child(word));
    return main_root({word});
}

class Utility : public testing::Test {
protected:
    void store(const std::vector<tree_node_t> &nodes, const char *name = "main.par") {
        grammar::write_main_tree(scratch_.path(name), nodes);
    }
    void store(const Word &root, const char *name = "main.par") {
        store(grammar::lay_out(root), name);
    }

    // Returns the output of a command, including messages, and its status.
    std::string shell(const std::string &command) {
        const Outcome outcome = scratch_.shell("exec 2>&1; " + command);
        return outcome.out + "status " + std::to_string(outcome.status);
    }

    harness::ScratchDir scratch_;
};

// The tree is from a subtree file: decompressed, without header and path, in host order.
TEST_F(Utility, ListsAndDumpsATree) {
    grammar::write_subtree_file(scratch_.path("sub.par"), {{sample_root(), ""}});
    shell("gzip -dc < sub.par | tail -c +26 > main.par");
    std::string nodes = harness::read_file(scratch_.path("main.par"));
    ntoh_array_tree(reinterpret_cast<tree_node_t *>(nodes.data()), 0, 0);
    harness::write_file(scratch_.path("main.par"), nodes);
    EXPECT_EQ(shell("ocmd_gen -s main.par"), kSampleListing + std::string("\n\nstatus 0"));
    EXPECT_EQ(shell("ocmd_gen -gs main.par"), R"(
  {  }[1], [4], [0], [0], [0]
   { show }[2], [1], [0], [0], [0]
   { health }[2], [0], [4], [0], [0]( terminal )
   { bay }[2], [1], [0], [0], [0]
   {  }[2], [2], [8], [0], [1]( submode )
   { rest }[2], [0], [4], [0], [0]( terminal )
   { label }[2], [1], [0], [0], [0]
   {  }[2], [0], [4], [0], [1]( Optional )( terminal )
   { peer }[2], [0], [c], [0], [2]( Optional )( terminal )( submode )
   {  }[2], [1], [0], [0], [0]
   {  }[2], [0], [0], [0], [0]status 0)");
}

TEST_F(Utility, ParsesOptionsAndSelectsTheTree) {
    store(sample_root());
    store(main_root({keyword("x").terminal()}), "other.par");
    const std::string listing = kSampleListing + std::string("\n\nstatus 0");
    EXPECT_EQ(shell("ocmd_gen -g -h"), kUsage + std::string("status 1"));
    EXPECT_EQ(shell("ocmd_gen -h -z -g"), kUsage + std::string("status 1"));
    EXPECT_EQ(shell("ocmd_gen -z 2>/dev/null || ocmd_gen -s 2>/dev/null"), "status 1");
    EXPECT_EQ(shell("ocmd_gen -s other.par -s main.par"), listing);
    EXPECT_EQ(shell("TSH_PARSE_TREE=other.par ocmd_gen -s main.par"), listing);
    EXPECT_EQ(shell("TSH_PARSE_TREE=main.par ocmd_gen"), listing);
    const std::string cut = std::string(119, '/') + "main.par"; // 127 characters
    EXPECT_EQ(shell("ocmd_gen -s ." + cut.substr(1) + "x"), listing);
    EXPECT_EQ(shell("TSH_PARSE_TREE=." + cut.substr(1) + "x ocmd_gen"), listing);
}

TEST_F(Utility, RejectsFilesThatAreNotTreesWithAReason) {
    grammar::write_subtree_file(scratch_.path("sub.par"), {{sample_root(), ""}});
    shell("gzip -dc < sub.par > plain.par");
    const std::string problem = "Problem with the parser file.\n";
    const std::string unmappable = "Error mapping file: Invalid argument\nmain.par: ";
    const std::string odd_size = " bytes is not a multiple of 1000";
    const std::string no_redirect_root =
        "main.par: root has no child \"tsh_redirect_root\" after its first child";
    const std::string not_found = "\n Error finding the tsh redirect root node ... \nstatus 1";
    const std::string no_file = ": No such file or directory";
    const struct {
        const char *make;
        std::string error;
        std::string ending = kNotMapped;
    } table[] = {
        {"rm -f main.par", "main.par" + no_file + "\n"},
        {": > main.par", unmappable + "it is empty\n"},
        {"head -c 999 /dev/zero > main.par",
         problem + "main.par: its size of 999" + odd_size + "\n"},
        {"head -c 1001 /dev/zero > main.par",
         problem + "main.par: its size of 1001" + odd_size + "\n"},
        {"echo x | gzip -n > main.par",
         problem + "main.par: its size of 22" + odd_size + "; it looks like a gzip file\n"},
        {"(head -c 2 sub.par; head -c 998 /dev/zero) > main.par",
         no_redirect_root + "; it looks like a gzip file\n", not_found},
        {"cp plain.par main.par",
         problem + "main.par: its size of 11025" + odd_size + "; it looks like a subtree file\n"},
        {"(head -c 10 plain.par; printf '\\4\\1'; tail -c +13 plain.par) > main.par", // of 1025
         problem + "main.par: its size of 11025" + odd_size + "\n"},
        {R"((head -c 12 plain.par; printf '\0\0\0\1'; tail -c +17 plain.par) > main.par)",
         problem + "main.par: its size of 11025" + odd_size + "\n"},
        {"head -c 11024 plain.par > main.par",
         problem + "main.par: its size of 11024" + odd_size + "\n"},
        {"tail -c +26 plain.par > main.par",
         "main.par: node 0 \"root\": child_count exceeds 192; it looks like network byte order\n"},
        {"rm main.par; mkdir main.par", problem + "main.par: it is not a regular file\n"},
        {"rmdir main.par; mkfifo main.par", unmappable + "it is not a regular file\n"},
    };
    for (const auto &row : table)
        EXPECT_EQ(shell(std::string(row.make) + "; ocmd_gen -s main.par"), row.error + row.ending);
    const std::string cut(127, 'x');
    EXPECT_EQ(shell("ocmd_gen -s " + cut + "x"),
              cut + no_file + "; names are cut at 127 characters\n" + kNotMapped);
}

TEST_F(Utility, RejectsInvalidTrees) {
    using Nodes = std::vector<tree_node_t>;
    const struct {
        const char *fault; // on standard error; null for a valid tree
        std::function<void(Nodes &)> spoil;
    } table[] = {
        {"node 2 \"health\": child index out of range (child 0: node 11)",
         [](Nodes &n) { n[2].child_count = 1, n[2].children[0] = uint16_t(n.size()); }},
        {"(child 0: node 3 \"bay\")", [](Nodes &n) { n[7].child_count = 1, n[7].children[0] = 3; }},
        {R"(node 3 "\x0ant\x80": token is not terminated)",
         [](Nodes &n) { strcpy(n[3].name, "\nnt\x80"), memset(n[3].token, 'x', 32); }},
        {": name is not terminated", [](Nodes &n) { memset(n[1].name, 'x', 64); }},
        {": help is not terminated", [](Nodes &n) { memset(n[1].help, 'x', 64); }},
        {": submode_help is not terminated", [](Nodes &n) { memset(n[1].submode_help, 1, 32); }},
        {": aux_text is not terminated", [](Nodes &n) { memset(n[1].aux_text, 'x', 16); }},
        {": func_id is not terminated", [](Nodes &n) { memset(n[1].func_id, 'x', 48); }},
        {": mode_id is not terminated", [](Nodes &n) { memset(n[1].mode_id, 'x', 24); }},
        {": aux_label is not terminated", [](Nodes &n) { memset(n[1].aux_label, 'x', 48); }},
        {nullptr, // records without an index are not checked
         [](Nodes &n) { n.resize(70001), n[70000].child_count = 200; }},
        {nullptr, // a shared child, and unused links after the last child
         [](Nodes &n) {
             n[2].child_count = 1, n[2].children[0] = 6;
             std::fill(n[9].children + 1, n[9].children + 192, uint16_t{65535});
         }},
        {nullptr, // unreachable nodes may form a cycle
         [](Nodes &n) {
             n.resize(n.size() + 1);
             n.back().child_count = 1, n.back().children[0] = uint16_t(n.size() - 1);
         }},
    };
    for (const auto &row : table) {
        Nodes nodes = grammar::lay_out(sample_root());
        row.spoil(nodes);
        store(nodes);
        const std::string said = shell("ocmd_gen -s main.par | head -c 400");
        if (row.fault == nullptr) {
            EXPECT_TRUE(said.starts_with("\n[     1].  ")) << said;
            continue;
        }
        EXPECT_TRUE(said.starts_with("main.par: node ")) << said;
        EXPECT_NE(said.find(row.fault + std::string("\n\n Error mapping main")), said.npos) << said;
    }
}

// The stack contains the root and 254 levels below it; each other level is reported.
TEST_F(Utility, ListsTreesOfAnyDepth) {
    constexpr size_t kLevels = 65000;
    std::vector<tree_node_t> nodes = grammar::lay_out(main_root({keyword("on")}));
    size_t last = 1;
    for (size_t level = 1; level < kLevels; ++level) {
        nodes[last].children[nodes[last].child_count++] = uint16_t(nodes.size());
        last = nodes.size();
        strcpy(nodes.emplace_back().token, "on");
    }
    nodes[last].flags = TREE_FLAG_TERMINAL;
    store(nodes);
    EXPECT_EQ(shell("ulimit -s 1024; ocmd_gen -s main.par 2>errors | wc -c"), "260012\nstatus 0");
    EXPECT_EQ(shell("sort errors | uniq -c"), "  64745 atn stack: push: overflow\nstatus 0");
    EXPECT_EQ(shell("ulimit -s 1024; ocmd_gen -gs main.par | grep -c on"), "65000\nstatus 0");
}

TEST_F(Utility, NeedsARedirectRootAfterTheFirstChild) {
    const Word redirect = grammar::structural("tsh_redirect_root");
    const Word only = grammar::structural("root").child(redirect);
    const Word first = grammar::structural("root").child(redirect).child(keyword("x"));
    const Word almost = grammar::structural("root")
                            .child(keyword("x"))
                            .child(keyword("y").named("tsh_redirect_root2"));
    for (const Word &root : {only, first, almost, grammar::structural("root")}) {
        store(root);
        EXPECT_EQ(shell("ocmd_gen -s main.par 2>/dev/null"),
                  "\n Error finding the tsh redirect root node ... \nstatus 1");
    }
    store(main_root({keyword("x")}));
    EXPECT_EQ(shell("ocmd_gen -s main.par"), "\n\nstatus 0");
}

TEST_F(Utility, ReportsEveryWriteError) {
    store(sample_root());
    store(endless_root(), "endless.par");
    for (const std::string run :
         {"-s main.par", "-gs main.par", "-s endless.par", "-gs endless.par"})
        EXPECT_EQ(shell("ocmd_gen " + run + " >&-"),
                  "ocmd_gen: cannot write to standard output: Bad file descriptor\nstatus 1");
}

TEST_F(Utility, ExitsAtOnceOnASignalOrAClosedPipe) {
    store(endless_root());
    for (const std::string options : {"-s", "-gs"}) {
        const std::string start = "ocmd_gen " + options + " main.par ";
        EXPECT_EQ(shell("{ " + start + "; echo $? >&2; } | head -c 9 >head"), "141\nstatus 0");
        EXPECT_EQ(shell("timeout -s INT --preserve-status 0.2 " + start + ">/dev/null"),
                  "status 130");
    }
}

} // namespace
