// Tests of ocmd_compile: valid, invalid and hostile grammar files; tree files and messages.
#include "tests/support/grammar.h"
#include "tests/support/random_tree.h"
#include "tests/support/scratch_test.h"
#include "tools/support/tree_input.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

using grammar::keyword;
using harness::Outcome;
using harness::read_file;
using tool::TreeFile;

std::string lines_matching(const std::string &text, const char *pattern) {
    std::string found;
    for (const std::string &line : harness::lines_of(text))
        if (std::regex_search(line, std::regex{pattern}))
            found += line + "\n";
    return found;
}

std::string numbered(const char *text, int number) {
    return std::string{text}.append(std::to_string(number));
}

std::string repeated(const std::string &text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

class Compile : public harness::ScratchTest {
protected:
    // Returns the messages of a grammar, without file names and source lines.
    [[nodiscard]] std::string told(const std::string &text, const std::string &options = "") const {
        store("g.yaml", text);
        const Outcome outcome = shell("ocmd_compile " + options + " -o g.par g.yaml");
        const std::string messages = lines_matching(outcome.err, "^ocmd_compile: ");
        return std::regex_replace(messages, std::regex{"ocmd_compile: (g\\.yaml:)?"}, "");
    }

    // Returns the nodes of the only document of a valid grammar.
    [[nodiscard]] std::vector<tree_node_t> nodes_of(const std::string &text) const {
        store("g.yaml", text);
        const Outcome outcome = shell("ocmd_compile -o g.par g.yaml");
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 0);
        const TreeFile file{path("g.par")};
        EXPECT_EQ(file.records().size(), 1U);
        const auto nodes = file.records().front().nodes;
        return {nodes.begin(), nodes.end()};
    }
};

// ---- Compiled records ----

TEST_F(Compile, FillsEveryFieldOfARecord) {
    const auto nodes = nodes_of(R"(
below: here
words:
  !bytes k\xe9\\<INTEGER> <0x5>:
    name: 'it''s'
    help: !bytes 'Gr\xfc\xdfe'
    command: f
    submode: {help: sub, mode: m}
    optional: 4
    excluded: yes
    flags: [31, 0]
    permissions: [0, 31, 127]
    interfaces: [0, 63]
    token_id: 0xffffffff
    command_id: 7
    message_type: 255
    aux_text: fifteen bytes..
    aux_label: "label \"é\""
    aux_value1: 1
    aux_value2: 65535
    parameters:
    - {min: -5, max: 5, interfaces: 0x2, opaque1: "00 ff 10", opaque2: ab}
    - {length: 64, interfaces: [0]}
    words:
    - <>: {name: a}
    - <>: {name: b}
    - c: {terminal: yes}
    marked: [b, c]
)");
    ASSERT_EQ(nodes.size(), 4U);
    tree_node_t expected{};
    strcpy(expected.name, "it's");
    strcpy(expected.token, "k\xe9\\");
    strcpy(expected.help, "Gr\xfc\xdf"
                          "e");
    strcpy(expected.submode_help, "sub");
    strcpy(expected.aux_text, "fifteen bytes..");
    strcpy(expected.func_id, "f");
    strcpy(expected.mode_id, "m");
    strcpy(expected.aux_label, "label \"\xc3\xa9\"");
    expected.optional = 4;
    expected.cmi_msg_type = 255;
    expected.flags = 0x8000040D;
    expected.token_id = 0xFFFFFFFF;
    expected.command_id = 7;
    expected.perms_mask[0] = 0x01;
    expected.perms_mask[3] = 0x80;
    expected.perms_mask[15] = 0x80;
    expected.params[0] = {0x40100001, 2, {0x00, 0xFF, 0x10}, -5, 5, {0xAB}};
    expected.params[1] = {0x5, 0xC0001, {}, 64, 0, {}};
    expected.aux_value1 = 1;
    expected.param_count = 2;
    expected.aux_value2 = 65535;
    expected.child_count = 3;
    expected.children[0] = 1;
    expected.children[1] = 2;
    expected.children[2] = 3;
    expected.child_link_bits[0] = 0x06;
    expected.intf_mask = 0x80000000000C0001;
    EXPECT_EQ(memcmp(nodes.data(), &expected, sizeof expected), 0);
}

TEST_F(Compile, SharesAliasesAndListsOfWords) {
    const auto nodes = nodes_of(R"(
below: ""
words:
  top:
    words:
      a: {words: &w {x: f, <WWN>: g}}
      b: {words: *w, help: &h text, marked: [<wwn>]}
      c: {help: *h, command: h}
)");
    ASSERT_EQ(nodes.size(), 6U);
    EXPECT_EQ(nodes[4].children[0], 2);
    EXPECT_EQ(nodes[4].children[1], 3);
    EXPECT_EQ(nodes[4].child_link_bits[0], 2);
    EXPECT_EQ(nodes[1].child_link_bits[0], 0);
    EXPECT_STREQ(nodes[3].name, "top.a.<WWN>");
    EXPECT_STREQ(nodes[5].help, "text");
}

TEST_F(Compile, NamesNodesByThePathOfWords) {
    const std::string deep = "a-rather-long-word-of-30-bytes: {words: {"
                             "another-quite-long-word-27b: {words: {";
    const std::string rest = "last-one<INTEGER>: f}}}}";
    const auto nodes = nodes_of("below: [desk, other]\nwords: {show.all: {words: {" + deep + rest +
                                ", <STRING> <LINE>: g}}}");
    const auto more = nodes_of("below: desk\nwords: {show.all: {words: {new: h, " + deep +
                               "neighbour: h, " + rest + ", <STRING> <LINE>: g}}}");
    EXPECT_STREQ(nodes[0].name, "desk.show%2eall");
    EXPECT_STREQ(nodes[1].name, "desk.show%2eall.a-rather-long-word-of-30-bytes");
    EXPECT_TRUE(std::regex_match(
        nodes[3].name,
        std::regex{"desk\\.show%2eall\\.a-rather-long-w.*~[0-9a-f]{12}~.*<INTEGER>"}))
        << nodes[3].name;
    EXPECT_STREQ(more[5].name, nodes[3].name);
    EXPECT_STREQ(nodes[4].name, "desk.show%2eall.<STRING><LINE>");
}

TEST_F(Compile, LinksAsTheLinkerDoes) {
    const std::string folder = TEST_FILES "/../examples/switch";
    const Outcome linked =
        shell("'" + folder + "/make.sh' . && mkdir parts && cp '" + folder +
              "'/*.yaml parts && ocmd_compile parts/*.yaml && "
              "ocmd_link --strict -p . -o linked.par parts/root.par parts/*.par");
    EXPECT_EQ(linked.err, "");
    EXPECT_EQ(read_file(path("main.par")), read_file(path("linked.par")));
    // Attached in another order than it is read, and to a word that is attached itself.
    store("root.yaml", "words: {arrange: {submode: yes}, show: {name: show, words: {clock: f}}}\n");
    store("parts.yaml",
          "below: ward\nwords: {label: {words: {<LINE>: {optional: yes, command: g}}}}\n"
          "---\nbelow: [arrange, show, arrange]\nwords: {ward: {name: ward}}\n");
    const Outcome both = shell("ocmd_compile --main -o - parts.yaml root.yaml >main.par && "
                               "ocmd_compile root.yaml parts.yaml && "
                               "ocmd_link -o linked.par root.par parts.par 2>/dev/null");
    EXPECT_EQ(both, (Outcome{0, "", ""}));
    EXPECT_EQ(read_file(path("main.par")), read_file(path("linked.par")));
    EXPECT_EQ(shell("ocmd_gen -s main.par").out,
              "\n[     1].  arrange\n[     2].    ward  label  <LINE>[o]\n[     3].  show  clock\n"
              "[     4].  show  ward  label  <LINE>[o]\n\n");
}

// ---- Errors ----

TEST_F(Compile, ReportsErrorsAtTheirPosition) {
    for (const char *name : {"mistaken_documents.yaml", "mistaken_words.yaml"}) {
        const std::string grammar = read_file(TEST_FILES "/grammars/" + std::string{name});
        std::vector<std::string> expected = harness::announced(grammar);
        std::vector<std::string> messages = harness::lines_of(told(grammar));
        std::ranges::sort(expected); // notes are about other lines
        std::ranges::sort(messages);
        EXPECT_EQ(messages, expected) << name;
        EXPECT_FALSE(std::filesystem::exists(path("g.par"))) << name;
    }
}

TEST_F(Compile, ReportsYamlSyntaxErrorsAtTheirPosition) {
    const struct {
        const char *text;
        const char *told;
    } cases[] = {
        {"", "1:1: error: file contains no YAML document\n"},
        {"a: [1\nb: 2",
         "2:2: error: unexpected ':'; expected ',' or ']'\n1:4: note: the sequence begins here\n"},
        {"words: {a: \"b\xff\"}", "1:14: error: invalid character in YAML; use a !bytes string for "
                                  "arbitrary bytes\n"},
        {"a: {\n\tb: c\n\td: e", "3:1: error: tab used for indentation; expected spaces\n2:5: "
                                 "note: the string begins here\n"},
        {"a:\n\tb: c", "2:1: error: tab used for indentation; expected spaces\n"},
        {"\xc3\xa9: 'f\r\n\xe2\x82\xac: g", "2:5: error: unexpected end of file; expected the "
                                            "closing quote\n1:4: note: the string begins here\n"},
        {"words:\n  a: f\n  b\n", "3:3: error: expected ':' after this key\n"},
        {"words: {a: f}\n---\nbelow: a\nwords: {b: {hlep: x}}\n---\n]",
         "4:13: error: unknown key 'hlep' of a word, did you mean 'help'?\n"
         "6:1: error: unexpected ']'; expected a value\n"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(told(text), expected) << text;
}

TEST_F(Compile, ShowsLinesOfBothPlacesAndKeepsTheOldFile) {
    store("a.yaml", "below: x\nwords:\n  one: {name: same, command: f}\n");
    store("b.yaml", "below: x\nwords:\n  two: f\n---\nbelow: x\nwords:\n  zw\xc3\xb6lf:  # twelve\n"
                    "    name: same\n    command: f\n");
    store("a.par", "old");
    const Outcome outcome = shell("ocmd_compile a.yaml b.yaml");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "ocmd_compile: b.yaml:8:11: error: duplicate node name 'same' [duplicate-name]\n"
              "    name: same\n"
              "          ^~~~\n"
              "ocmd_compile: a.yaml:3:15: note: first defined here\n"
              "    one: {name: same, command: f}\n"
              "                ^~~~\n");
    EXPECT_EQ(read_file(path("a.par")), "old");
}

// Of 96 bytes, 32 are before the place, and the characters at both ends are whole.
TEST_F(Compile, ShowsThePartOfALongLineAroundThePlace) {
    std::string text = "words: {";
    for (int i = 10; i < 50; ++i)
        text += "é" + std::to_string(i) + ": f, ";
    text += "xyz: {comand: f, help: a}";
    for (int i = 10; i < 50; ++i)
        text += ", ü" + std::to_string(i) + ": f";
    store("g.yaml", text + "}");
    EXPECT_EQ(shell("ocmd_compile --check g.yaml 2>&1 | head -n 3 | tail -n 2").out,
              "    ...é47: f, é48: f, é49: f, xyz: {comand: f, help: a}, ü10: f, ü11: f, ü12: f, "
              "ü13: f, ü14: f...\n"
              "                                     ^~~~~~\n");
}

TEST_F(Compile, ReadsAnAliasAsWhatItStandsFor) {
    store("alias.yaml", "words: {a: {permissions: &p [1, 64], command: f}, b: {permissions: *p, "
                        "command: f}, c: {words: &w {x: f, y: f}, marked: &m [y]}, "
                        "d: {words: *w, marked: *m}}");
    EXPECT_EQ(shell("sed 's/\\*p/[1, 64]/; s/\\*m/[y]/' alias.yaml >plain.yaml; grep -c '*[pm]' "
                    "plain.yaml; ocmd_compile --main alias.yaml && ocmd_compile --main plain.yaml "
                    "&& cmp alias.par plain.par"),
              (Outcome{0, "0\n", ""}));
}

TEST_F(Compile, AppliesTheLevelsOfChecks) {
    const std::string dead_end = "below: x\nwords: {a: {words: {b: , c: {name: open}}}}\n";
    EXPECT_EQ(told(dead_end),
              "2:21: warning: dead end: no command ends at 'b' or at a descendant [dead-end]\n");
    EXPECT_TRUE(std::filesystem::exists(path("g.par")));
    EXPECT_EQ(told(dead_end, "-W no-dead-end --strict"), "");
    const std::string fault =
        "2:21: error: dead end: no command ends at 'b' or at a descendant [dead-end]\n";
    EXPECT_EQ(told(dead_end, "--strict"), fault);
    EXPECT_EQ(told(dead_end, "-W no-dead-end -E dead-end"), fault);
    EXPECT_EQ(told(dead_end, "-W no-dead-end -W always"),
              "1:1: warning: document starts here [always]\n");
    EXPECT_EQ(
        told(dead_end, "-W no-dead-end -E unknown-attach-point"),
        "1:8: error: unknown attach point 'x'; no input file defines it [unknown-attach-point]\n");
    EXPECT_EQ(
        told("words: {show: f}\n---\n" + dead_end, "--main -W no-dead-end -E unknown-attach-point"),
        "3:8: error: unknown attach point 'x'; no input file defines it\n");
    EXPECT_EQ(told(dead_end, "-W dead-ende"),
              "unknown check 'dead-ende', did you mean 'dead-end'?\n");
    EXPECT_EQ(told("words: [{<WWN>: f}, {<WWN> <LUN>: {name: n, command: g}}]", "-W no-same-word"),
              "");
    EXPECT_EQ(told("words: {a b: f}", "-W no-blank-in-word -E missing-help"),
              "1:9: error: 'a b' has no help text [no-help]\n");
}

TEST_F(Compile, ReportsTheFirstHundredErrorsOfAFile) {
    std::string text = "words:\n";
    for (int i = 0; i < 120; ++i)
        text += numbered("  w", i) + ": {hepl: x, command: f}\n";
    const std::string messages = told(text);
    EXPECT_EQ(std::ranges::count(messages, '?'), 100) << "each with what was meant";
    EXPECT_EQ(lines_matching(messages, "more"), " 20 more messages not shown\n");
}

TEST_F(Compile, AgreesWithTheTranscript) {
    expect_replay(read_file(TEST_FILES "/transcripts/grammars.txt"));
}

// ---- Limits ----

// What a tree lists comes back as a tree that lists the same lines, each once.
TEST_F(Compile, MakesAGrammarOfCommandLines) {
    constexpr const char *kWords[] = {"a", "ab", "b c", "c\x01", "D"};
    constexpr uint32_t kTypes[] = {1, 0x40100003, 0x40100005, 0};
    const std::string same = "ocmd_show --commands tree.par | grep . >listed || exit 0; "
                             "ocmd_compile --lines -o g.yaml listed && "
                             "ocmd_compile --main -W no-same-word -W no-shadowed g.yaml && "
                             "ocmd_show --commands g.par | ";
    std::mt19937 random(4);
    for (int round = 0; round < 60; ++round) {
        store("tree.par", grammar::random_tree(random, kWords, kTypes));
        EXPECT_EQ(shell(same + "grep . | sort >again; sort -u listed | cmp - again"),
                  (Outcome{0, "", ""}))
            << read_file(path("listed")) << read_file(path("g.yaml"));
    }
    EXPECT_EQ(shell("'" TEST_FILES "/../examples/switch/make.sh' . && mv main.par tree.par; " +
                    same + "cmp - listed"),
              (Outcome{0, "", ""}));
}

TEST_F(Compile, AcceptsTheMaximumNumberOfNodes) {
    // Groups of 191 words of three nodes each, and a smaller last group.
    const auto groups = [](int nodes) {
        std::string text = "words:\n";
        for (int group = 0; nodes > 0; ++group) {
            text += numbered("  g", group) + ":\n    words:\n";
            --nodes;
            for (int i = 0; i < 191 && nodes > 0; ++i, nodes -= 3)
                text += numbered("      w", i) +
                        (nodes == 1 ? ": f\n" : ": {words: {a: {words: {b: f}}}}\n");
        }
        return text;
    };
    EXPECT_EQ(told(groups(19995)), "");
    EXPECT_EQ(TreeFile{path("g.par")}.records()[0].nodes.size(), 19998U);
    EXPECT_NE(told(groups(19998)).find("too many nodes (limit: 19998 per tree)"),
              std::string::npos);
    EXPECT_EQ(told(groups(65533), "--main"), "");
    EXPECT_EQ(std::filesystem::file_size(path("g.par")), 65536000U);
    EXPECT_NE(told(groups(65536), "--main").find("too many nodes (limit: 65536 per tree)"),
              std::string::npos);
}

#ifdef __SANITIZE_ADDRESS__ // reserves more than any limit
const std::string kLimits = "ulimit -s 1024 && ";
#else
const std::string kLimits = "ulimit -s 512 && ulimit -v 1000000 && ";
#endif

TEST_F(Compile, SurvivesHostileInput) {
    std::string ladder = "words:\n  w0: &w0 f\n  w1: &w1 {words: {w0: *w0}}\n";
    for (int i = 2; i < 192; ++i) {
        const auto w = [i](int back) { return numbered("w", i - back); };
        ladder += "  " + w(0) + ": &" + w(0) + " {words: {" + w(1) + ": *" + w(1) + ", " + w(2) +
                  ": *" + w(2) + "}}\n";
    }
    const struct {
        std::string text;
        const char *told;
    } cases[] = {
        {"words: {" + repeated("a: {words: {", 299) + "b: f" + repeated("}}", 299) + "}",
         "g.yaml:1:3069: warning: tree has 301 levels, the limit is 256"},
        {"words: {" + repeated("a: {words: {", 300) + "b: f" + repeated("}}", 300) + "}",
         "1:3600: error: more than 600 levels of YAML"},
        {repeated("- ", 100000) + "a", "more than 600 levels of YAML"},
        {repeated("? ", 100000) + "a", "more than 600 levels of YAML"},
        {repeated("? ", 500) + "a", "key must be a string"},
        {repeated("[", 100000), "more than 600 levels of YAML"},
        {repeated("%TAG !a! b\r", 5000) + "---\na: b", "too many YAML directives"},
        {"words: {a: {help: &k !bytes '" + repeated("x", 800000) +
             "'}}\n---\nwords: {a: {help: &k '" + repeated("x", 800000) + "'}, b: {words: [" +
             repeated("{a: {help: *k}}, ", 3000) + "]}}",
         "aliases repeat more"},
        {"words: [{a: {marked: &m [" + repeated("b, ", 10000) + "], words: {b: f}}}, " +
             repeated("{a: {marked: *m, words: {b: f}}}, ", 500) + "]",
         "aliases repeat more"},
        {R"(words: {a: !bytes "\\x4"})", "invalid escape in !bytes"},
        {R"(words: {a: {name: "a\0b", command: f}})", "string contains a NUL byte"},
        {"words: [" + repeated("<URI>: f, ", 193) + "]",
         "too many words: 193 (limit: 192 per word)"},
        {ladder, "root has no 'tsh_redirect_root'"}, // does not fit after 192 words
    };
    for (const auto &hostile : cases) {
        store("g.yaml", hostile.text);
        const Outcome outcome = shell(kLimits + "ocmd_compile --main -o g.par g.yaml");
        EXPECT_LE(outcome.status, 1) << outcome.err.substr(0, 500);
        EXPECT_NE(outcome.err.find(hostile.told), std::string::npos) << outcome.err.substr(0, 500);
    }
}

TEST_F(Compile, UsesLittleMemoryForEachOfManyFiles) {
    const Outcome outcome =
        shell("yes 'words: {a: f}' | head -n 5000 | split -l 1 -a 3 - part. && " + kLimits +
              "ocmd_compile -o many.par part.*");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Compile, ReportsUsageAndFileErrors) {
    store("a.yaml", "words: {a: f}\n");
    store("a.yml", "words: {a: f}\n");
    const struct {
        const char *command;
        int status;
        const char *told;
    } cases[] = {
        {"ocmd_compile", 2, "ocmd_compile: missing operand: GRAMMAR.yaml\n"},
        {"ocmd_compile -", 2, "cannot derive an output name from standard input"},
        {"ocmd_compile a.yaml a.yml", 2, "a.yml: another input also produces a.par; use -o\n"},
        {"ocmd_compile a.yaml a.par", 2, "a.par: output of a.yaml would overwrite an input file"},
        {"ocmd_compile --lines a.yaml --main", 2, "--lines makes a grammar, --main compiles one"},
        {"ocmd_compile --lines -o a.yml a.yml", 2, "a.yml: is both input and output\n"},
        {"ocmd_compile --lines", 2, "ocmd_compile: missing operand: LINES\n"},
        {"seq 193 | sed 's/^/a w/' | ocmd_compile --lines -", 1,
         "standard input:193:3: error: too many words after the same beginning: 193 (limit: 192)"},
        {"seq -s ' ' 300 | ocmd_compile --lines -", 1, "too many words in a line (limit: 299)"},
        {"echo a b >l; ocmd_compile --lines --check -o l.yaml l && ! ls l.yaml 2>&1", 0, ""},
        {"ocmd_compile --lines -o l.yaml -M l.d l && grep -qx '  l' l.d", 0, ""},
        {"e=ééééé; e=$e$e$e$e$e$e$e$e$e; echo \"words: {a: {x$e: x}}\" | ocmd_compile -o x.par -",
         1, "unknown key 'xééééééééééééééééééééééééééééééééééééééé...' of a word"},
        {"printf 'a  # \\377' | ocmd_compile --lines -", 1,
         "standard input:1:6: error: help text is not UTF-8"},
        {"printf 'a  # %064d\\n' 0 | ocmd_compile --lines -", 1,
         "help text too long: 64 bytes (limit: 63)"},
        {"ocmd_compile -o a.yml a.yml", 2, "a.yml: is both input and output\n"},
        {"ocmd_compile none.yaml", 2, "none.yaml: cannot read: No such file or directory\n"},
        {"ocmd_compile -o /dev/full a.yaml", 2, "/dev/full: cannot be written: No space left"},
        {"ocmd_compile -o none/a.par a.yaml", 2, "none/a.par: cannot be written: No such file"},
        {"ocmd_compile --main a.yaml a.yml", 2,
         "--main with several grammars or standard input needs -o OUT\n"},
        {"ocmd_compile -o b.par a.yaml ./a.yaml", 2, "./a.yaml: is given twice\n"},
        {"ocmd_compile --main -p . -o ./main_tree2.pars a.yaml", 2, "is both input and output\n"},
        {"ocmd_compile --main -M ./b.par -o b.par a.yaml", 2, "the dependencies would overwrite"},
        {"ln -s b.par rule; ocmd_compile --main -M rule -o b.par a.yaml", 2,
         "the dependencies would overwrite"},
        {"ocmd_compile -M b.d -o 'b;c' a.yaml", 2, "b;c: make or Ninja would misread this name"},
        {"ocmd_compile -p . a.yaml", 2, "-p requires --main\n"},
        {"ocmd_compile -M '' a.yaml", 2, "empty argument for -M; expected a file name\n"},
        {"ocmd_compile -M a.par a.yaml", 2, "a.par: the dependencies would overwrite"},
        {"ocmd_compile -o - -M a.d a.yaml", 2, "-M requires an output file; use -o OUT\n"},
        {"ocmd_compile --check -o b.par - -M b.d <a.yaml && ! ls b.par b.d 2>&1", 0, ""},
        {"cat a.yaml | ocmd_compile -o - - | cmp - a.par", 0, ""},
        {R"(tr '\n' '\r' <a.yaml | ocmd_compile -o - - | cmp - a.par)", 0, ""},
        {R"((printf '\357\273\277'; cat a.yaml) | ocmd_compile -o - - | cmp - a.par)", 0, ""},
        {"iconv -t UTF-16 a.yaml | ocmd_compile -o - - | cmp - a.par", 0, ""},
        {R"((printf '\376\377'; printf 'b: \360\237\216\211\nc: \n' | iconv -f UTF-8 -t UTF-16BE; printf '\330\075b') | ocmd_compile -o b.par -)",
         1, "standard input:3:1: error: invalid character in YAML"},
        {R"(printf 'b:\r\nc: \r' | ocmd_compile -o b.par -)", 1,
         "standard input:2:1: error: unknown key 'c'"},
        {"echo 'below: x' | cat - a.yaml | ocmd_compile --main -o m.par -", 1,
         "standard input:1:8: error: no root among the input files"},
        {R"(printf 'words: {a: {name: a, words: {b: f}}}\n---\nbelow: a\n' | ocmd_compile --main -o m.par -)",
         1, "standard input:3:1: error: a subtree must have exactly one top-level word, found 0"},
        {"head -c 268435457 /dev/zero | ocmd_compile -o z.par -", 2,
         "file too large (limit: 268435456 bytes)"},
    };
    EXPECT_EQ(shell("ocmd_compile a.yaml").status, 0);
    for (const auto &request : cases) {
        const Outcome outcome = shell(request.command);
        EXPECT_EQ(outcome.status, request.status) << request.command << "\n" << outcome.err;
        EXPECT_NE(outcome.err.find(request.told), std::string::npos) << outcome.err;
    }
}

} // namespace
