// Tests of ocmd_find: command lines and saved configurations; results and messages.
#include "tests/support/random_tree.h"
#include "tests/support/scratch_test.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using harness::Outcome;
using Lines = std::vector<std::string>;

class Find : public harness::ScratchTest {
protected:
    Find() {
        store("main.yaml", harness::read_file(TEST_FILES "/grammars/lamps.yaml"));
        EXPECT_EQ(shell("ocmd_compile --main -W no-shadowed main.yaml").err, "");
    }

    // Returns the messages of a saved configuration, without the file name.
    [[nodiscard]] std::vector<std::string> messages(const std::string &config,
                                                    const std::string &options = "") const {
        store("saved", config);
        const Outcome outcome = shell("ocmd_find main.par --config=saved " + options);
        EXPECT_EQ(outcome.status, outcome.out.empty() ? 0 : 1) << outcome.err;
        return harness::lines_of(std::regex_replace(outcome.out, std::regex{"(^|\n)saved:"}, "$1"));
    }
};

// ---- One line ----

TEST_F(Find, PrintsTheCommandOrThePositionOfTheInvalidWord) {
    const std::string answers = harness::read_file(TEST_FILES "/transcripts/answers.txt");
    EXPECT_EQ(replayed(answers), answers);
}

// Returns the first error message, or the function, of a line in the example shell.
TEST_F(Find, AgreesWithTheExampleShell) {
    std::mt19937 random(5);
    constexpr const char *kWords[] = {"show",   "la",    "lamp", "3",    "/",    "br",
                                      "bright", "7x",    "lit",  "now",  "no",   "dye",
                                      "hue",    "pace7", "x",    "dip",  "nest", "egg",
                                      "pair",   "ward",  "sh",   "lane", "peek", "-7"};
    for (int round = 0; round < 100; ++round) {
        std::string line;
        for (size_t words = 1 + random() % 4; words > 0; --words)
            line += std::string{line.empty() ? "" : " "} + kWords[random() % std::size(kWords)];
        store("line", line + '\n');
        const std::string found = shell("ocmd_find -- main.par \"$(cat line)\" 2>&1").out;
        const std::string run = shell("'" EXAMPLE_SHELL "' main.par <line").out;
        std::smatch wanted;
        if (std::regex_search(found, wanted,
                              std::regex{"ocmd_find: ([^\n]*?)(, did you mean[^\n]*)?\n"}))
            EXPECT_EQ(run.substr(0, run.find('\n')), "error: " + wanted[1].str()) << line;
        else if (std::regex_search(found, std::regex{"submode:"}))
            EXPECT_EQ(run, "") << line;
        else if (std::regex_search(found, wanted, std::regex{"function: +([^\n]*)"}))
            EXPECT_EQ(run.substr(0, run.find(':')), wanted[1].str()) << line;
        else
            EXPECT_EQ(run, "nothing to run\n") << line;
    }
}

// ---- Saved configurations ----

TEST_F(Find, ReportsErrorsOfAConfigurationAtTheirPosition) {
    for (const char *name : {"lamps", "lamps_indented"}) {
        const std::string config =
            harness::read_file(TEST_FILES "/grammars/" + std::string{name} + ".config");
        EXPECT_EQ(messages(config), harness::announced(config)) << name;
    }
    EXPECT_EQ(shell("yes laap | head -n 202 >wrong; ocmd_find main.par --config=wrong "
                    "--config=wrong | grep -c 'did you mean'")
                  .out,
              "400\n");
    EXPECT_EQ(messages("lamp \"4\" \r\n dark\r\nward \"abcde\"\r\nshow lanes"), Lines{});
    EXPECT_EQ(messages(std::string("show lanes\0\n", 12)), Lines{"1:11: NUL byte"});
}

TEST_F(Find, ReadsValuesBeforeAbbreviationsInAConfiguration) {
    EXPECT_EQ(messages("lit no\nlit n\nlit nowhere"),
              (Lines{"3:5: invalid <STRING> 'nowhere': expected at most 3 bytes"}));
    EXPECT_TRUE(shell("ocmd_find main.par lit n").out.starts_with("command:     lit now"));
}

TEST_F(Find, SkipsAByteOrderMark) {
    EXPECT_EQ(messages("\xEF\xBB\xBFshow lanes\nshow lane s"), (Lines{"2:11: unexpected 's'"}));
}

TEST_F(Find, StartsInTheSubmodeOfALine) {
    const char *const config = "bright 7\nlane 5\nopen";
    EXPECT_EQ(messages("open\nbright 7\nopen", "--in 'la 3 / lane 4'"),
              (Lines{"3:1: unknown word 'open'"}));
    EXPECT_EQ(messages(config, "--in 'lamp 3'"), Lines{});
    EXPECT_EQ(shell("ocmd_find main.par --config=saved --in 'show lanes'").err,
              "ocmd_find: --in: 'show lanes' enters no submode\n");
    EXPECT_EQ(shell("ocmd_find main.par --config=saved --in 'lamp 13'").err,
              "ocmd_find: --in: invalid <INTEGER> '13': expected 1 to 12\n");
}

TEST_F(Find, LeavesSubmodesAtWordsOutsideTheGrammar) {
    const Lines dark_is_unknown{"4:1: unknown word 'dark', did you mean 'ward'?"};
    EXPECT_EQ(messages("lamp 3\nlane 4\nExit\ndark\nquit"), Lines{});
    EXPECT_EQ(messages("lamp 3\nlane 4\nend\ndark"), dark_is_unknown);
    EXPECT_EQ(messages("lamp 3\nlane 4\nup\nup\nward 1", "--leave=back,up"), Lines{});
    EXPECT_EQ(messages("lamp 3\nlane 4\nexit\ndark", "--leave-all exit"), dark_is_unknown);
    EXPECT_EQ(messages("up").size(), 1U);
}

TEST_F(Find, ChecksNumbersAndLengthsOfAnyValue) {
    EXPECT_EQ(messages("site here\nlamp 13\nward abcdef", "--any-value"),
              (Lines{"2:6: invalid <INTEGER> '13': expected 1 to 12",
                     "3:6: invalid <STRING> 'abcdef': expected at most 5 bytes"}));
}

#ifdef __SANITIZE_ADDRESS__ // reserves more than any limit
const std::string kMemoryBound;
#else
const std::string kMemoryBound = "ulimit -v 1000000; ";
#endif

TEST_F(Find, ReportsUsageAndFileErrors) {
    store("saved", "show lanes\n");
    EXPECT_EQ(shell("ocmd_find main.par --config - --config=none <saved"),
              (Outcome{2, "", "ocmd_find: none: cannot be opened: No such file or directory\n"}));
    const std::pair<const char *, const char *> refused[] = {
        {"main.par --config=.", "ocmd_find: .: cannot be read: Is a directory"},
        {"main.par --config=- <&-", "ocmd_find: standard input: cannot be read: Bad file"},
        {"main.par --config=/dev/zero", "ocmd_find: /dev/zero: a line of more than 67108864 bytes"},
        {"none.par show", "ocmd_find: none.par: cannot be opened: No such file or directory"},
        {"main.par", "ocmd_find: no words to look up"},
        {"main.par ''", "ocmd_find: no words to look up"},
        {"main.par show --config=saved", "ocmd_find: either words or --config, not both"},
        {"main.par show --in lamp", "ocmd_find: --in without --config"},
        {"- --config=- <saved", "ocmd_find: standard input cannot be both the tree and a"},
        {"", "ocmd_find: no file"},
        {"main.par $(yes show | head -n 512)", "ocmd_find: more than 511 words"},
    };
    for (const auto &[arguments, told] : refused) {
        const Outcome outcome = shell(std::string("ocmd_find ") + arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_TRUE(outcome.err.starts_with(told)) << outcome.err;
    }
    EXPECT_EQ(shell("head -c 2500 main.par >cut.par; ocmd_find cut.par show 2>&1").status, 1);
    EXPECT_EQ(shell("head -c 3000 main.par >cut.par; ocmd_find cut.par show 2>&1").status, 1);
    EXPECT_TRUE(shell("(echo x; cat /dev/zero) | ocmd_find main.par --config=- 2>&1")
                    .out.starts_with("standard input:1:1: unknown word 'x'"));
    // One line of 30 MB, and one with the maximum number of words.
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

// Returns a line of ocmd_show --commands as lines of a configuration, with values for parameters.
std::string typed(std::string line) {
    line = std::regex_replace(line, std::regex{R"(\[o\])"}, "");
    line = std::regex_replace(line, std::regex{"<INTEGER>"}, "7");
    return std::regex_replace(line, std::regex{" / "}, "\n") + "\n";
}

TEST_F(Find, AcceptsEveryLineOfTheListingAndPointsIntoEveryBrokenOne) {
    constexpr const char *kWords[] = {"a", "ab", "abc", "b", "c-1", "D"};
    constexpr uint32_t kTypes[] = {0x40100001};
    std::mt19937 random(7);
    int number = 0;
    for (int round = 0; round < 40; ++round) {
        store("main.par", grammar::random_tree(random, kWords, kTypes));
        std::istringstream listing{shell("ocmd_show --commands main.par | head -n 60").out};
        std::string check = "ocmd_find main.par";
        std::string broken_check = check;
        std::string wanted;
        for (std::string line; std::getline(listing, line); ++number) {
            const std::string config = typed(line);
            // A line without words, or of a submode without words, cannot be typed.
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
                      std::to_string(last_word - last_line + 1) + ": '?!'\n";
        }
        if (wanted.empty())
            continue;
        EXPECT_EQ(shell(check), (Outcome{0, "", ""})) << "round " << round;
        const Outcome broken = shell(broken_check);
        EXPECT_EQ(std::regex_replace(broken.out, std::regex{"(: )\\w[^\n]*('\\?!')[^\n]*"}, "$1$2"),
                  wanted)
            << "round " << round;
    }
    EXPECT_GT(number, 300);
}

} // namespace
