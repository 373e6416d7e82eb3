// Samples of command lines, held against the listing and against the check of what users type.
#include "tests/support/grammar.h"
#include "tests/support/random_tree.h"
#include "tests/support/replay.h"
#include "tests/support/scratch_test.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

using harness::Outcome;

constexpr const char *kWords[] = {"a", "ab", "c-1", "D", "e"};
constexpr uint32_t kTypes[] = {1, 2, 0x40100001, 0x40100008};

class Sample : public harness::ScratchTest {
protected:
    Sample() {
        store("lamps.yaml", harness::read_file(TEST_FILES "/grammars/lamps.yaml"));
        EXPECT_EQ(shell("ocmd_compile --main -W no-shadowed lamps.yaml").err, "");
    }

    void make_switch() const {
        EXPECT_EQ(shell("'" TEST_FILES "/../examples/switch/make.sh' switch").status, 0);
    }

    [[nodiscard]] std::string out(const std::string &command) const { return shell(command).out; }

    // What the check of a configuration must print: each comment "# COLUMN: REASON" is about the
    // line below it.
    [[nodiscard]] static std::string announced(const std::string &wrong) {
        std::string text;
        std::string reason;
        int number = 0;
        for (const std::string &line : harness::lines_of(wrong)) {
            ++number;
            if (line.starts_with("# "))
                reason = line.substr(2);
            else if (!reason.empty())
                text += "wrong:" + std::to_string(number) + ":" + std::exchange(reason, "") + "\n";
        }
        return text;
    }
};

TEST_F(Sample, IsTheListingWhereValuesAreTypes) {
    make_switch();
    for (const char *tree : {"lamps.par", "switch/main.par", "switch/lanes.par"}) {
        const std::string listed = out(std::string{"ocmd_show --commands "} + tree);
        EXPECT_EQ(out(std::string{"ocmd_sample --values types --flat "} + tree), listed) << tree;
        EXPECT_EQ(out(std::string{"for n in 1-3 4-4 5-9999; do ocmd_sample --lines $n --values "
                                  "types --flat "} +
                      tree + "; done"),
                  listed)
            << tree;
    }
}

TEST_F(Sample, IsAcceptedAsAConfiguration) {
    make_switch();
    EXPECT_EQ(shell("ocmd_compile -o parts.par '" TEST_FILES "/../examples/switch'/[!r]*.yaml").err,
              "");
    for (const char *tree : {"lamps.par", "switch/main.par", "parts.par"})
        for (const char *lines : {"", "--cover", "--random 500 --seed 7", "--optional without",
                                  "--random 500 --optional random"})
            for (const char *values : {"typical", "lowest", "highest", "random"}) {
                const std::string options = std::string{lines} + " --values " + values;
                const std::string sample = "ocmd_sample " + options + " " + tree + " >sample; ";
                EXPECT_EQ(
                    shell(sample + "grep -q '^[^#]' sample && ocmd_find --config=sample " + tree),
                    (Outcome{0, "", ""}))
                    << tree << " " << options;
            }
}

TEST_F(Sample, HasTheSameValuesEverywhere) {
    expect_replay(harness::read_file(TEST_FILES "/transcripts/samples.txt"));
}

TEST_F(Sample, OfARandomTreeIsAcceptedAsALine) {
    std::mt19937 random(11);
    for (int round = 0; round < 20; ++round) {
        store("tree.par", grammar::random_tree(random, kWords, kTypes));
        EXPECT_EQ(out("ocmd_sample --flat --random 9 tree.par | grep -v '^#' | while read -r line; "
                      "do ocmd_find tree.par \"$line\" >found || echo \"$line\"; done"),
                  "")
            << round;
        EXPECT_EQ(out("ocmd_sample tree.par >sample; ocmd_find tree.par --config=sample"), "")
            << round;
    }
}

// Both words of the same types are entered, so that the next word can be either.
TEST_F(Sample, OfSiblingsOfTheSameTypesIsResolved) {
    store("s.yaml", "words: [{<STRING>: {name: a, words: {<STRING>: f}}}, "
                    "{<STRING>: {name: b, words: {<INTEGER>: f}}}]");
    EXPECT_EQ(shell("ocmd_compile --main -W no-same-word s.yaml && ocmd_sample s.par").out,
              "name name\n# cannot be typed: <STRING> <INTEGER>\n");
}

TEST_F(Sample, IsTheListingAndAcceptedForAnyTree) {
    EXPECT_EQ(harness::in_child([] {
                  replay(500, 400);
                  return 0;
              }),
              (Outcome{0, "", ""}));
}

TEST_F(Sample, OfWrongLinesIsRefusedWhereItSays) {
    make_switch();
    for (const char *tree : {"lamps.par", "switch/main.par"}) {
        const std::string wrong = out(std::string{"ocmd_sample --wrong "} + tree + " | tee wrong");
        const Outcome found = shell(std::string{"ocmd_find --config=wrong "} + tree);
        EXPECT_EQ(std::regex_replace(found.out, std::regex{", did you mean[^\n]*"}, ""),
                  announced(wrong))
            << tree;
    }
    std::mt19937 random(12);
    for (int round = 0; round < 20; ++round) {
        store("tree.par", grammar::random_tree(random, kWords, kTypes));
        const std::string wrong = out("ocmd_sample --wrong tree.par | tee wrong");
        EXPECT_EQ(std::regex_replace(out("ocmd_find --config=wrong tree.par"),
                                     std::regex{", did you mean[^\n]*"}, ""),
                  announced(wrong))
            << wrong;
    }
    const std::string wrong = out("ocmd_sample --wrong --flat lamps.par");
    for (const char *line :
         {"# 6: invalid <INTEGER> '0': expected 1 to 12\nlamp 0\n",
          "# 6: invalid <INTEGER> '13': expected 1 to 12\nlamp 13\n",
          "# 6: invalid <STRING> 'xxxxxx': expected at most 5 bytes\nward xxxxxx\n",
          "# 1: unknown word 'wardx'\nwardx ", "# 5: incomplete command\nward\n",
          "unexpected 'surplus'\nshow lane surplus\n"})
        EXPECT_NE(wrong.find(line), std::string::npos) << line;
}

TEST_F(Sample, IsTheCommandOfItsNumberOrSaysThatItCannotBeTyped) {
    store("sub.yaml", "below: p\nwords: {a: fa}"); // one record, whose root has a word
    store("like.yaml", "words: {user: {words: {name: by_name, <STRING>: by_string}}}");
    store("end.yaml",
          "words: {door: {submode: yes, words: {end: {submode: yes, words: {<>: f, open: f}}}}}");
    EXPECT_EQ(shell("ocmd_compile sub.yaml && ocmd_sample sub.par").out, "a\n");
    EXPECT_EQ(shell("ocmd_sample --flat --values types sub.par").out, "a\n");
    store("none.yaml", "words: {a: {name: a}}\n---\nbelow: a\nwords: {b: }\n");
    for (const char *options : {"--main -o none.par none.yaml", "none.yaml"})
        EXPECT_EQ(shell(std::string{"ocmd_compile -W no-dead-end "} + options +
                        " && ocmd_sample --random 3 none.par && ocmd_sample none.par"),
                  (Outcome{0, "", ""}));
    EXPECT_EQ(
        out("ocmd_compile --main like.yaml && ocmd_sample --cover like.par | grep -c '^user' && "
            "ocmd_sample --cover like.par | grep -cx 'user name'"),
        "2\n1\n");
    EXPECT_EQ(out("ocmd_compile --main end.yaml; ocmd_sample end.par"),
              "door\n  end\n# cannot be typed: door end\n# cannot be typed: door end open\n");

    std::vector<tree_node_t> nested(258); // as many words inside one another
    for (size_t i = 0; i < nested.size(); ++i) {
        snprintf(nested[i].name, sizeof nested[i].name, "n%zu", i);
        snprintf(nested[i].token, sizeof nested[i].token, "in%zu", i);
        nested[i].flags = i == 0 ? 0 : i == 257 ? TREE_FLAG_TERMINAL : TREE_FLAG_SUBMODE;
        nested[i].child_count = i < 257 ? 1 : 0;
        nested[i].children[0] = static_cast<uint16_t>(i + 1);
    }
    nested[0].token[0] = '\0';
    store("nested.par", nested);
    EXPECT_EQ(shell("ocmd_sample nested.par >saved").status, 1);
    EXPECT_EQ(out("tail -n 3 saved | sed 's/^ *//'"),
              "in255\n# more than 255 submodes inside one another: in256\n"
              "# more than 255 submodes inside one another: in257\n");
    EXPECT_EQ(shell("ocmd_find --config=saved nested.par"), (Outcome{0, "", ""}));
    EXPECT_EQ(out("sed 's/^ *//; s/# more[^:]*: //' saved >more; "
                  "ocmd_find --config=more nested.par | head -n 1"),
              "more:256:1: more than 255 submodes inside one another\n");
    EXPECT_EQ(out("ocmd_sample --flat --lines 256-257 nested.par | cut -c 1-25"),
              "in1 / in2 / in3 / in4 / i\n# cannot be typed: in1 in\n");
}

TEST_F(Sample, OfAllWordsHasOptionalOnesBothWays) {
    store("o.yaml", "words: {show: {words: {x: {optional: yes, words: {lamp: f}}}}, go: f, "
                    "bay: {words: {near: {optional: yes, submode: yes, words: {dark: f}}}}}");
    EXPECT_EQ(shell("ocmd_compile --main o.yaml && ocmd_sample --cover o.par").out,
              "bay near\n  dark\nbay\ngo\nshow x lamp\nshow lamp\n");
}

// Pearson's test: with 36 lines and 35 degrees of freedom, more than 66.6 is expected once in a
// thousand seeds.
TEST_F(Sample, IsUniform) {
    constexpr int kDrawn = 36000;
    std::map<std::string, int> drawn;
    std::map<std::string, int> listed;
    for (const std::string &line : harness::lines_of(
             out("ocmd_sample --random 36000 --seed 3 --values types --flat lamps.par")))
        ++drawn[line];
    const std::vector<std::string> lines = harness::lines_of(out("ocmd_show --commands lamps.par"));
    for (const std::string &line : lines)
        ++listed[line];
    double distance = 0;
    for (const auto &[line, count] : listed) {
        const double expected =
            static_cast<double>(kDrawn) * count / static_cast<double>(lines.size());
        distance += std::pow(drawn[line] - expected, 2) / expected;
    }
    EXPECT_EQ(drawn.size(), listed.size());
    EXPECT_LT(distance, 66.6);
}

// Levels of two words each: 2^40 lines, and more than can be counted.
TEST_F(Sample, OfAGreatTreeIsDrawnFromAllItsLines) {
    for (const size_t levels : {size_t{40}, size_t{200}}) {
        std::vector<tree_node_t> nodes(2 * levels + 1);
        for (size_t i = 0; i < nodes.size(); ++i) {
            snprintf(nodes[i].token, sizeof nodes[i].token, i % 2 == 0 ? "even" : "odd");
            snprintf(nodes[i].name, sizeof nodes[i].name, "n%zu", i);
            const size_t next = (i + 1) / 2 * 2 + 1;
            if (next + 1 < nodes.size()) {
                nodes[i].child_count = 2;
                nodes[i].children[0] = static_cast<uint16_t>(next);
                nodes[i].children[1] = static_cast<uint16_t>(next + 1);
            } else {
                nodes[i].flags = TREE_FLAG_TERMINAL;
            }
        }
        store("huge.par", nodes);
        const std::string lines =
            out("ocmd_sample --random 400 --values types --flat huge.par | cut -d ' ' -f 1 | grep "
                "-c odd");
        EXPECT_NEAR(std::stoi(lines), 200, 50) << levels;
    }
    EXPECT_EQ(out("ocmd_sample --lines 2-2 --values types huge.par | tr ' ' '\\n' | grep -c even"),
              "1\n");
    EXPECT_EQ(out("n=170141183460469231731687303715884105729; ocmd_sample --lines $n-$n --flat "
                  "--values types huge.par | tr ' ' '\\n' | grep -n even"),
              "73:even\n");
}

// Each of two subtrees has levels of two words below its root: 2^41 lines in all, 2^128, which is
// one too many to count, and 2^151.
TEST_F(Sample, OfSeveralSubtreesIsDrawnFromAllTheirLines) {
    for (const int levels : {40, 127, 150}) {
        std::string words = "{even: f, odd: f}";
        for (int level = 1; level < levels; ++level) {
            const std::string name = "a" + std::to_string(level) + " ";
            words.insert(0, "{even: {words: &" + name).append("}, odd: {words: *" + name + "}}");
        }
        store("one.yaml", "below: a\nwords: {one: {words: " + words + "}}\n");
        store("two.yaml", "below: b\nwords: {two: {words: " + words + "}}\n");
        EXPECT_EQ(shell("ocmd_compile -o both.par one.yaml two.yaml").err, "");
        for (const char *tree : {"one.par", "both.par"}) {
            const std::vector<std::string> lines = harness::lines_of(
                out(std::string{"ocmd_compile one.yaml; ocmd_sample --random 400 --values types "
                                "--flat "} +
                    tree));
            const auto count = [&](const char *start) {
                return static_cast<int>(std::ranges::count_if(
                    lines, [&](const std::string &line) { return line.starts_with(start); }));
            };
            EXPECT_EQ(count("one ") + count("two "), 400) << tree;
            EXPECT_NEAR(count("one "), *tree == 'o' ? 400 : 200, 50) << levels;
            EXPECT_NEAR(count("one odd "), *tree == 'o' ? 200 : 100, 50) << levels;
        }
    }
}

TEST_F(Sample, IsDividedByNumberAmongWorkers) {
    if (shell("command -v parallel").status != 0)
        GTEST_SKIP() << "parallel is not installed";
    make_switch();
    EXPECT_EQ(out("seq 1 100 332 | HOME=$PWD parallel --will-cite -j 4 -k "
                  "'ocmd_sample --flat --lines {}-$(({} + 99)) switch/main.par'"),
              out("ocmd_sample --flat switch/main.par"));
}

TEST_F(Sample, RefusesWhatItDoesNotUnderstand) {
    const std::pair<const char *, const char *> refused[] = {
        {"", "no file"},
        {"lamps.par lamps.par", "more than one file"},
        {"--values big lamps.par", "invalid argument 'big' of --values"},
        {"--random x lamps.par", "invalid argument 'x' of --random: expected a number"},
        {"--lines 3 lamps.par", "invalid argument '3' of --lines: expected A-B"},
        {"--lines -3 lamps.par", "invalid argument '-3' of --lines: expected A-B"},
        {"--lines 3- lamps.par", "invalid argument '3-' of --lines: expected A-B"},
        {"--lines 3-2 lamps.par", "invalid argument '3-2' of --lines: expected A from 1 to B"},
        {"--lines 37-40 lamps.par", "lamps.par: no line 37: the file has 36"},
        {"--cover --wrong lamps.par", "only one of --random, --cover, --lines and --wrong"},
        {"--cover --optional with lamps.par", "--optional has no effect with --cover"},
        {"--wrong --values types lamps.par", "--wrong needs values, not types"},
    };
    for (const auto &[arguments, message] : refused) {
        const Outcome outcome = shell(std::string{"ocmd_sample "} + arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_TRUE(outcome.err.starts_with(std::string{"ocmd_sample: "} + message)) << outcome.err;
    }
}

} // namespace
