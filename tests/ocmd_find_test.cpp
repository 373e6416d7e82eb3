// Resolving lines as their user and as the auditor of saved configurations does it: trees and text
// files in, answers and complaints out.
#include "tests/support/grammar.h"
#include "tests/support/random_tree.h"
#include "tests/support/scratch_test.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using grammar::keyword;
using grammar::main_root;
using grammar::parameter;
using grammar::structural;
using grammar::Word;
using harness::Outcome;

constexpr uint32_t kInteger = 0x40100001;
constexpr uint32_t kRanges = 0x40100008;
constexpr uint32_t kHex = 0x40100004;
constexpr uint32_t kString = 0x00000001;
constexpr uint32_t kLine = 0x00000002;
constexpr uint32_t kWwn = 0x40300002;

Word bounded(uint32_t type, int32_t least, int32_t greatest) {
    Word word = parameter(type).terminal();
    word.node().params[0].int_min = least;
    word.node().params[0].int_max = greatest;
    return word;
}

// A device whose lamps have lanes within.
Word device() {
    Word lane = parameter(kInteger).named("lane number").submode();
    lane.child(keyword("open").terminal());
    Word lamp = bounded(kInteger, 1, 12).named("lamp number").submode();
    lamp.help("Which lamp").mode_id("lamp").submode_help("Arranging a lamp");
    lamp.child(keyword("bright").child(bounded(kInteger, 0, 100).func_id("lamp_bright")))
        .child(keyword("label").child(bounded(kLine, 16, 0).help("Where it hangs")))
        .child(keyword("dark").terminal())
        .child(keyword("lane").child(lane));
    Word lamps = keyword("lamps").func_id("show_lamps").help("Lamps and who lit them");
    return main_root(
        {keyword("show")
             .child(lamps.child(parameter(kInteger).named("one").optional().terminal().child(
                 keyword("wear").terminal())))
             .child(keyword("lanes").terminal())
             .child(keyword("lane").named("show lane").terminal()),
         keyword("lamp").named("the lamp").child(lamp),
         keyword("ward").child(bounded(kString, 5, 0).named("ward name")),
         keyword("lanes").named("lanes there").child(bounded(kRanges, 1, 9).named("some")),
         keyword("peek").child(bounded(kHex, 0, 0).named("address")),
         keyword("pair").child(parameter(kWwn).parameter(kWwn).named("two").terminal()),
         keyword("pace").parameter(kInteger).terminal(),
         structural("gap").child(keyword("behind").terminal())});
}

class Find : public harness::ScratchTest {
protected:
    Find() { store("main.par", grammar::lay_out(device())); }

    // What is told of a saved configuration, without the file's name.
    [[nodiscard]] std::string complaints(const std::string &config) const {
        store("saved", config);
        const Outcome outcome = shell("ocmd_find main.par --config=saved");
        EXPECT_EQ(outcome.status, outcome.out.empty() ? 0 : 1) << outcome.err;
        return std::regex_replace(outcome.out, std::regex{"(^|\n)saved:"}, "$1");
    }
};

// ---- One line ----

TEST_F(Find, TellsAllAboutAnAbbreviatedLine) {
    EXPECT_EQ(shell("ocmd_find main.par SH lamps 2").out, "command:     show lamps <INTEGER>[o]\n"
                                                          "line:        show lamps 2\n"
                                                          "complete:    yes\n"
                                                          "node:        one (3)\n"
                                                          "follows:\n"
                                                          "  wear\n");
    EXPECT_EQ(shell("ocmd_find main.par show").out, "command:     show\n"
                                                    "line:        show\n"
                                                    "complete:    no\n"
                                                    "node:        show (1)\n"
                                                    "follows:\n"
                                                    "  lamps  Lamps and who lit them\n"
                                                    "  lanes\n"
                                                    "  lane\n");
    EXPECT_EQ(shell("ocmd_find main.par lam 3 / br 7").out,
              "command:     lamp <INTEGER> / bright <INTEGER>\n"
              "line:        lamp 3 / bright 7\n"
              "complete:    yes\n"
              "node:        parameter (10)\n"
              "function:    lamp_bright\n");
    EXPECT_EQ(shell("ocmd_find main.par lam 3").out, "command:     lamp <INTEGER>\n"
                                                     "line:        lamp 3\n"
                                                     "complete:    yes\n"
                                                     "node:        lamp number (8)\n"
                                                     "help:        Which lamp\n"
                                                     "mode:        lamp\n"
                                                     "submode:     Arranging a lamp\n"
                                                     "commands of the submode:\n"
                                                     "  bright\n"
                                                     "  label\n"
                                                     "  dark\n"
                                                     "  lane\n");
    const std::string first_lines = " | head -n 3";
    EXPECT_EQ(shell("ocmd_find main.par 'lam 3 / lab lef of / it'" + first_lines).out,
              "command:     lamp <INTEGER> / label <LINE>\n"
              "line:        lamp 3 / label lef of / it\n"
              "complete:    yes\n");
    EXPECT_EQ(shell("ocmd_find main.par sh lamps wear" + first_lines).out,
              "command:     show lamps <INTEGER>[o] wear\n"
              "line:        show lamps wear\n"
              "complete:    yes\n");
    EXPECT_EQ(shell("ocmd_find main.par pace7" + first_lines).out,
              "command:     pace<INTEGER>\nline:        pace7\ncomplete:    yes\n");
}

TEST_F(Find, PointsAtTheWordThatIsNotKnown) {
    EXPECT_EQ(shell("ocmd_find main.par sho LANE").status, 0); // in full, though it begins another
    EXPECT_EQ(shell("ocmd_find main.par show la 7"),
              (Outcome{1, "",
                       "ocmd_find: 'la' is ambiguous: lamps, lane, lanes\n"
                       "  show la 7\n"
                       "       ^^\n"
                       "  lamps  Lamps and who lit them\n"
                       "  lane\n"
                       "  lanes\n"}));
    EXPECT_EQ(shell("ocmd_find main.par lamp 3 / brihgt"),
              (Outcome{1, "",
                       "ocmd_find: 'brihgt' is unknown here, did you mean 'bright'?\n"
                       "  lamp 3 / brihgt\n"
                       "           ^^^^^^\n"
                       "  bright\n"
                       "  label\n"
                       "  dark\n"
                       "  lane\n"}));
}

// ---- Saved configurations ----

TEST_F(Find, FollowsSubmodesThroughAConfiguration) {
    EXPECT_EQ(complaints("! saved today\n"
                         "lamp 3\n"
                         "  bright 80\n"
                         "\n"
                         "  lane 4\n"
                         "    open\n"
                         "  dark\n"
                         "# the other\r\n"
                         "lamp 4\r\n"
                         "\tlabel left of \"door\"\r\n"
                         "ward abc\n"
                         "behind"),
              "");
    EXPECT_EQ(complaints("bright 80\nlamp 3\nlane 4\nopen\nward abc\nopen\ndark\n"),
              "1:1: 'bright' is unknown here\n"
              "6:1: 'open' is unknown here\n"
              "7:1: 'dark' is unknown here, did you mean 'ward'?\n");
}

TEST_F(Find, JudgesValues) {
    EXPECT_EQ(complaints("lamp 0\n lamp 13\nlamp x\nlamp 12\nbright -1\nbright 1x\nbright 100\n"
                         "label 0123456789abcdef\nlabel 0123456789abcdefg\nward abcde\n"
                         "ward abcdef\nward \"a b\"\nlanes 1-3,9\nlanes 1-10\nlanes 1,,2\n"
                         "peek ffFF\npeek 0x12\npeek 100000000\npeek g\npair a b\npace x\n"),
              "1:6: '0' is no <INTEGER>: not from 1 to 12\n"
              "2:7: '13' is no <INTEGER>: not from 1 to 12\n"
              "3:6: 'x' is no <INTEGER>: not a number\n"
              "5:8: '-1' is no <INTEGER>: not from 0 to 100\n"
              "6:8: '1x' is no <INTEGER>: not a number\n"
              "9:7: '0123456789abcdefg' is no <LINE>: longer than 16 bytes\n"
              "11:6: 'abcdef' is no <STRING>: longer than 5 bytes\n"
              "14:7: '1-10' is no <INT MULTI RANGE>: not from 1 to 9\n"
              "15:7: '1,,2' is no <INT MULTI RANGE>: not a number\n"
              "18:6: '100000000' is no <HEX>: not from 0 to 4294967295\n"
              "19:6: 'g' is no <HEX>: not a hexadecimal number\n"
              "21:6: 'x' is no <INTEGER>: not a number\n");
}

TEST_F(Find, TellsWhereALineGoesWrong) {
    EXPECT_EQ(complaints("show\n"
                         "show la\n"
                         "show lanes more\n"
                         "pair one\n"
                         "  shwo lanes\n"),
              "1:5: the command is not complete\n"
              "2:6: 'la' is ambiguous: lamps, lane, lanes\n"
              "3:12: 'more' is too much: nothing can follow here\n"
              "4:9: the command is not complete\n"
              "5:3: 'shwo' is unknown here, did you mean 'show'?\n");
    EXPECT_EQ(complaints(std::string("show lanes\0\n", 12)), "1:11: a zero byte\n");
}

#ifdef __SANITIZE_ADDRESS__ // reserves more than any limit
const std::string kMemoryBound;
#else
const std::string kMemoryBound = "ulimit -v 1000000; ";
#endif

TEST_F(Find, IsNotImpressedByBadDays) {
    store("saved", "show lanes\n");
    EXPECT_EQ(shell("ocmd_find main.par --config - --config=none <saved"),
              (Outcome{2, "", "ocmd_find: none: cannot be opened: No such file or directory\n"}));
    EXPECT_EQ(shell("ocmd_find main.par --config=. 2>&1").status, 2);
    EXPECT_EQ(shell("ocmd_find none.par show 2>&1").status, 2);
    EXPECT_EQ(shell("ocmd_find main.par 2>&1").status, 2);
    EXPECT_EQ(shell("head -c 2500 main.par >cut.par; ocmd_find cut.par show 2>&1").status, 1);
    EXPECT_EQ(shell("head -c 3000 main.par >cut.par; ocmd_find cut.par show 2>&1").status, 1);
    EXPECT_EQ(shell("echo x >saved; ocmd_find main.par --config=saved >/dev/full").status, 2);
    // One line of 30 MB, and one of as many words as there can be.
    EXPECT_EQ(shell("head -c 30000000 /dev/zero | tr '\\0' x >saved;"
                    "(" +
                    kMemoryBound + "ocmd_find main.par --config=saved) | wc -l")
                  .out,
              "1\n");
    EXPECT_EQ(
        shell("head -c 3000000 /dev/urandom >saved; ocmd_find main.par --config=saved >out").status,
        1);
}

// ---- Every line ----

// A line of ocmd_show --commands as lines of a configuration, parameters given values.
std::string typed(std::string line) {
    line = std::regex_replace(line, std::regex{R"(\[o\])"}, "");
    line = std::regex_replace(line, std::regex{"<INTEGER>"}, "7");
    return std::regex_replace(line, std::regex{" / "}, "\n") + "\n";
}

TEST_F(Find, AcceptsEveryLineOfTheListingAndPointsIntoEveryBrokenOne) {
    constexpr const char *kWords[] = {"a", "ab", "abc", "b", "c-1", "D"};
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        store("main.par", grammar::random_tree(random, kWords, {&kInteger, 1}));
        std::istringstream listing{shell("ocmd_show --commands main.par | head -n 60").out};
        std::string check = "ocmd_find main.par";
        std::string broken_check = check;
        std::string wanted;
        int number = 0;
        for (std::string line; std::getline(listing, line); ++number) {
            const std::string config = typed(line);
            // A line without words, or of a submode without any, cannot be typed.
            if (config[0] == '\n' || config.find("\n\n") != std::string::npos)
                continue;
            const std::string name = std::to_string(number);
            store(name, config);
            check += " --config=" + name;
            const size_t last_line = config.find_last_of('\n', config.size() - 2) + 1;
            const size_t last_word =
                std::max(config.find_last_of(" \n", config.size() - 2) + 1, last_line);
            store("broken" + name, config.substr(0, last_word) + "?!\n");
            broken_check += " --config=broken" + name;
            wanted += "broken" + name + ":" +
                      std::to_string(std::count(config.begin(), config.end(), '\n')) + ":" +
                      std::to_string(last_word - last_line + 1) + ": '?!' is\n";
        }
        if (wanted.empty())
            continue;
        EXPECT_EQ(shell(check), (Outcome{0, "", ""})) << "round " << round;
        const Outcome broken = shell(broken_check);
        EXPECT_EQ(std::regex_replace(broken.out, std::regex{"'\\?!' is[^\n]*"}, "'?!' is"), wanted)
            << "round " << round;
    }
}

} // namespace
