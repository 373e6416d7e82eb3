// Tests of ocmd_diff.
#include "fuzz/small_tree.h"
#include "tests/support/grammar.h"
#include "tests/support/replay.h"
#include "tests/support/scratch_test.h"
#include "tools/support/types.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using grammar::keyword;
using grammar::main_root;
using grammar::parameter;
using grammar::structural;
using grammar::Word;
using harness::Outcome;
using Nodes = std::vector<tree_node_t>;

constexpr uint32_t kInteger = 0x40100001;
constexpr uint32_t kString = 1;

class Diff : public harness::ScratchTest {
protected:
    using ScratchTest::store;
    void store(const char *name, const Word &root) const { store(name, grammar::lay_out(root)); }

    // Returns the output for two trees.
    [[nodiscard]] std::string diff(const Word &before, const Word &after,
                                   const std::string &options = "") const {
        store("old.par", before);
        store("new.par", after);
        const Outcome outcome = shell("ocmd_diff " + options + " old.par new.par");
        EXPECT_EQ(outcome.status, outcome.out.empty() ? 0 : 1) << outcome.err;
        return outcome.out;
    }
};

// ---- Lines ----

// Random trees, and random later versions of them.
TEST(Difference, AppliedToTheLinesOfOneTreeGivesThoseOfTheOther) {
    tool::register_types();
    std::mt19937 random(20);
    for (int round = 0; round < 2000; ++round) {
        std::vector<uint8_t> bytes(220);
        for (uint8_t &byte : bytes)
            byte = static_cast<uint8_t>(random());
        Input rest{bytes.data(), bytes.size()};
        small_bounded_tree(rest);
        bytes.resize(bytes.size() - rest.text().size());
        std::vector<uint8_t> other = bytes;
        for (auto changes = random() % 3; changes > 0; --changes)
            other[1 + random() % (other.size() - 1)] ^= 1;
        bytes.insert(bytes.end(), other.begin(), other.end());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
}

TEST_F(Diff, KeepsLinesOfOneParentTogetherInTheOrderOfTheirTree) {
    Word bay = parameter(kInteger).named("number").submode();
    bay.child(keyword("wake").terminal()).child(keyword("rest").terminal());
    Word other_bay = parameter(kInteger).named("number").submode();
    other_bay.child(keyword("stir").terminal()).child(keyword("rest").terminal());
    other_bay.child(keyword("home").child(parameter(kString).terminal()));
    const Word show = keyword("show").child(keyword("lamps").terminal());
    const Word other_show = keyword("show").child(
        keyword("lamps").terminal().child(keyword("lit").terminal().optional()));
    EXPECT_EQ(diff(main_root({keyword("quit").terminal(), keyword("bay").child(bay), show}),
                   main_root({other_show, keyword("bay").child(other_bay)})),
              "- quit\n"
              "- bay <INTEGER> / wake\n"
              "+ bay <INTEGER> / stir\n"
              "+ bay <INTEGER> / home <STRING>\n"
              "+ show lamps lit[o]\n");
}

TEST_F(Diff, ComparesLinesAndNotNodes) {
    const Word end = keyword("end").terminal();
    const Word shared = main_root({keyword("a").child(end), keyword("b").child(end)});
    const Word copied = main_root(
        {keyword("b end").terminal(), keyword("a").named("a1").child(keyword("end").terminal()),
         keyword("a").named("a2").child(
             structural("gap").child(keyword("end").named("end2").terminal()))});
    EXPECT_EQ(diff(shared, copied), "");
    EXPECT_EQ(diff(shared, copied, "--stat"), "");
}

// ---- Groups ----

TEST_F(Diff, GroupsRenamedMovedAndSharedWordsWithTheirPlaces) {
    const auto tree = [](const char *lamp, Word rest, Word sleep, Word other_sleep) {
        const auto place = [&](const char *word, Word &more) {
            return keyword(word)
                .child(keyword(lamp).terminal())
                .child(keyword("shared").child(rest.terminal()))
                .child(more);
        };
        return main_root(
            {place("bay", sleep), place("yard", other_sleep), keyword(lamp).terminal()});
    };
    const auto sleep = [] {
        return keyword("sleep").child(keyword("now").terminal()).child(keyword("later").terminal());
    };
    const auto none = [] {
        return keyword("none").child(keyword("a").terminal()).child(keyword("b").terminal());
    };
    const Word number = parameter(kInteger);
    number.node().params[0].int_max = 9;
    EXPECT_EQ(diff(tree("dark", parameter(kInteger), sleep(), none()),
                   tree("unlit", number, none(), sleep().child(keyword("x").terminal())),
                   "--group"),
              "~ ... dark -> unlit, in 3 places\n"
              "    bay\n    yard\n    (first word)\n"
              "~ ... <INTEGER>: min none -> 0, in 2 places\n"
              "    bay shared\n    yard shared\n"
              "~ ... <INTEGER>: max none -> 9, in 2 places\n"
              "    bay shared\n    yard shared\n"
              "- bay sleep ...: 2 lines\n"
              "~ ... none ...: 2 lines moved\n"
              "  - yard\n"
              "  + bay\n"
              "+ yard sleep ...: 3 lines\n");
}

TEST_F(Diff, GroupsLinesByTheirFirstDifferentWords) {
    for (const std::string name : {"groups_before.yaml", "groups_after.yaml"})
        store(name, harness::read_file(TEST_FILES "/grammars/" + name));
    const std::string groups = harness::read_file(TEST_FILES "/transcripts/differences.txt");
    EXPECT_EQ(replayed(groups), groups);
}

// ---- Fields ----

TEST_F(Diff, ReportsAcceptedValuesByDefaultAndEveryOtherFieldOnRequest) {
    for (const std::string name : {"fields_before.yaml", "fields_after.yaml"}) {
        store(name, harness::read_file(TEST_FILES "/grammars/" + name));
        EXPECT_EQ(shell("ocmd_compile --main -Wno-same-word -Wno-dead-end -Wno-bounds " + name).err,
                  "");
    }
    const std::string trees = " fields_before.par fields_after.par";
    EXPECT_EQ(shell("ocmd_diff" + trees), (Outcome{1,
                                                   "~ <INTEGER>: min 0 -> 2\n"
                                                   "~ <INTEGER>: max 8 -> 12\n"
                                                   "~ <STRING><WWN>: length none -> 5\n"
                                                   "~ long<STRING>: length none -> 200\n"
                                                   "~ short<STRING>: length 32 -> 64\n"
                                                   "~ two<INTEGER> a: two<INTEGER> max 4 -> 9\n"
                                                   "~ two<INTEGER> b: two<INTEGER> max 9 -> 4\n"
                                                   "~ pair <INTEGER> <INTEGER>: "
                                                   "<INTEGER> max 4 | 9 -> 5 | 9\n"
                                                   "~ zone <INTEGER> ...: max 24 -> 12\n",
                                                   ""}));
    EXPECT_EQ(shell("ocmd_diff --stat" + trees).out, "- 0\n+ 0\n~ 9\n");
    EXPECT_EQ(shell("ocmd_diff --fields" + trees),
              (Outcome{1, harness::read_file(TEST_FILES "/grammars/fields.diff"), ""}));
    EXPECT_EQ(shell("ocmd_diff --json --stat" + trees).out,
              "{\"removed\":\"0\",\"added\":\"0\",\"changed\":\"9\"}\n");
    EXPECT_EQ(shell("ocmd_diff --fields --stat" + trees).out, "- 0\n+ 0\n~ 30\n");
}

// ---- Files ----

TEST_F(Diff, ReadsFilesOfEveryKind) {
    const Word before = keyword("lamp").child(keyword("dark").terminal());
    const Word after = keyword("lamp").child(keyword("unlit").terminal());
    grammar::write_subtree_file(path("old.sub"),
                                {{before, "root"}, {keyword("early").terminal(), "root"}});
    store("new.par", main_root({after}));
    const std::string told = "- lamp dark\n+ lamp unlit\n- early\n";
    EXPECT_EQ(shell("ocmd_diff old.sub new.par"), (Outcome{1, told, ""}));
    EXPECT_EQ(shell("ocmd_diff - new.par <old.sub"), (Outcome{1, told, ""}));
    EXPECT_EQ(shell("ocmd_diff -q old.sub new.par"), (Outcome{1, "", ""}));
    EXPECT_EQ(shell("ocmd_diff old.sub old.sub"), (Outcome{0, "", ""}));
}

TEST_F(Diff, ReportsUnreadableFilesAsErrors) {
    Nodes nodes = grammar::lay_out(main_root({keyword("lamp").terminal()}));
    store("good.par", nodes);
    nodes[1].children[nodes[1].child_count++] = 0;
    store("cycle.par", nodes);
    EXPECT_EQ(shell("ocmd_diff cycle.par cycle.par 2>&1").status, 2);
    EXPECT_EQ(shell("head -c 1500 good.par >cut.par; ocmd_diff cut.par cut.par 2>&1").status, 2);
    EXPECT_EQ(
        shell("ocmd_diff good.par none.par"),
        (Outcome{2, "", "ocmd_diff: none.par: cannot be opened: No such file or directory\n"}));
    EXPECT_EQ(shell(": >empty.par; ocmd_diff empty.par empty.par"),
              (Outcome{2, "", "ocmd_diff: empty.par: empty file; expected a tree\n"}));
    EXPECT_EQ(shell("ocmd_diff good.par").status, 2);
    EXPECT_EQ(shell("ocmd_diff --group --stat good.par good.par").err,
              "ocmd_diff: --group and --stat exclude each other\nTry 'ocmd_diff --help'.\n");
    EXPECT_EQ(shell("ocmd_diff - - </dev/null").status, 2);
}

// ---- Size ----

// A ladder of shared nodes: 2^rungs lines, which end at a given word.
Nodes ladder(size_t rungs, const char *last) {
    Nodes nodes(3 * rungs + 2);
    const auto link = [&](size_t from, size_t to) {
        nodes[from].children[nodes[from].child_count++] = static_cast<uint16_t>(to);
    };
    for (size_t i = 0; i < rungs; ++i) {
        for (size_t side = 1; side <= 2; ++side) {
            link(3 * i, 3 * i + side);
            link(3 * i + side, 3 * i + 3);
            strcpy(nodes[3 * i + side].token, side == 1 ? "l" : "r");
        }
    }
    strcpy(nodes.back().token, last);
    link(3 * rungs, 3 * rungs + 1);
    nodes.back().flags = TREE_FLAG_TERMINAL;
    return nodes;
}

TEST_F(Diff, ComparesMoreLinesThanCanBeListed) {
    store("old.par", ladder(100, "end"));
    store("new.par", ladder(100, "END"));
    store("longer.par", ladder(130, "end"));
    const std::string count = "1267650600228229401496703205376"; // 2^100
    EXPECT_EQ(shell("ocmd_diff old.par old.par"), (Outcome{0, "", ""}));
    EXPECT_EQ(shell("ocmd_diff --stat old.par new.par").out,
              "- " + count + "\n+ " + count + "\n~ 0\n");
    EXPECT_EQ(shell("ocmd_diff old.par new.par | head -n 2 | tail -c 14").out, "l l l l l END\n");
    EXPECT_EQ(
        shell("ocmd_diff --group old.par new.par | sed '2,21s/^    [lr ]*$/place/' | uniq").out,
        "~ ... end -> END, in " + count + " places\nplace\n    ... and " +
            "1267650600228229401496703205356 more\n");
    EXPECT_EQ(shell("ocmd_diff --stat old.par longer.par").out,
              "- " + count + "\n+ more than 340282366920938463463374607431768211454\n~ 0\n");
}

TEST_F(Diff, ComparesTreesOfMaximumDepth) {
    Nodes nodes(65000);
    for (size_t i = 1; i < nodes.size(); ++i) {
        strcpy(nodes[i].token, "w");
        nodes[i - 1].children[0] = static_cast<uint16_t>(i);
        nodes[i - 1].child_count = 1;
    }
    nodes.back().flags = TREE_FLAG_TERMINAL;
    store("old.par", nodes);
    strcpy(nodes.back().token, "end");
    store("new.par", nodes);
    const Outcome outcome = shell("ulimit -s 1024; ocmd_diff --fields old.par new.par | wc -c");
    EXPECT_EQ(outcome.out + outcome.err, "260002\n");
    EXPECT_EQ(shell("ulimit -s 1024; ocmd_diff --group old.par new.par | tail -c 13").out,
              "w w w -> end\n");
    for (size_t i = 1; i < 32000; nodes[32000 + i].token[0] = '\0', ++i)
        nodes[i].children[nodes[i].child_count++] = 32001;
    store("rows.par", nodes);
    EXPECT_EQ(shell("ocmd_diff rows.par rows.par").status, 0);
    EXPECT_EQ(shell("ocmd_diff old.par rows.par 2>&1 | grep -c 'too complex'").out, "1\n");
}

} // namespace
