// Tests of ocmd_show: its output is compared with the listing of ocmd_gen, with the bytes of the
// file, and with the tree that ocmd_compile makes of it.
#include "parse_tree/byte_order.h"
#include "tests/support/grammar.h"
#include "tests/support/scratch_test.h"
#include "treelink/subtree_read.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>

namespace {

using grammar::keyword;
using grammar::main_root;
using grammar::parameter;
using grammar::structural;
using grammar::Word;
using harness::read_file;

using Nodes = std::vector<tree_node_t>;

std::string bytes_of(const Nodes &nodes) {
    return {reinterpret_cast<const char *>(nodes.data()), nodes.size() * sizeof nodes[0]};
}

// Random records with values in every field, in the order of a compiler: any bytes in strings, or
// words that are unambiguous in a listing.
class Scrambled {
public:
    Scrambled(uint32_t seed, size_t count, bool any_bytes)
        : random_(seed), any_bytes_(any_bytes), nodes_(count) {
        std::vector<uint16_t> path{0};
        for (size_t i = 1; i < count; ++i) {
            while (path.size() > 1 && one_in(2))
                path.pop_back();
            const auto shared = static_cast<uint16_t>(random_() % i);
            if (one_in(3) && std::ranges::find(path, shared) == path.end())
                link(nodes_[path.back()], shared);
            link(nodes_[path.back()], uint16_t(i));
            path.push_back(uint16_t(i));
        }
        for (size_t i = 0; i < count; ++i)
            fill(nodes_[i], i);
    }
    [[nodiscard]] const Nodes &nodes() const { return nodes_; }

private:
    bool one_in(uint32_t n) { return random_() % n == 0; }

    static void link(tree_node_t &node, uint16_t child) {
        uint16_t *const end = node.children + node.child_count;
        if (node.child_count < TREE_MAX_CHILDREN && std::find(node.children, end, child) == end)
            node.children[node.child_count++] = child;
    }

    template <size_t Size> void put_text(char (&field)[Size]) {
        const char *sure[] = {"no", "8021q", "a: b", "# c", "Gr\xC3\xB6\xC3\x9F e", "\t\\\"'", "-"};
        if (any_bytes_ && one_in(2))
            std::generate_n(field, random_() % Size, [&] { return char(1 + random_() % 255); });
        else if (one_in(2))
            snprintf(field, Size, "%s", sure[random_() % (any_bytes_ ? std::size(sure) : 2)]);
    }

    uint64_t interfaces() {
        const uint64_t any = uint64_t{random_()} << 32 | random_();
        return one_in(2) ? 0 : (any & 1) != 0 ? any | TREE_INTF_IMPLIED : any;
    }

    void fill(tree_node_t &node, size_t index) {
        snprintf(node.name, sizeof node.name, "n%zu", index);
        put_text(node.help), put_text(node.submode_help), put_text(node.aux_text);
        put_text(node.func_id), put_text(node.mode_id), put_text(node.aux_label);
        node.optional = uint16_t(random_() % 3), node.cmi_msg_type = uint16_t(random_());
        node.token_id = uint32_t(random_()), node.command_id = uint32_t(random_() % 2);
        node.aux_value1 = uint16_t(random_()), node.aux_value2 = uint16_t(random_() % 2);
        std::ranges::generate(node.perms_mask, [&] { return uint8_t(one_in(4) ? random_() : 0); });
        node.intf_mask = interfaces();
        if (index == 0)
            return;
        put_text(node.token);
        node.param_count = uint16_t(one_in(2) ? random_() % 3 : 0);
        for (uint16_t i = 0; i < node.param_count; ++i) {
            const uint32_t masks[] = {1, 2, 0x40100001, 0x40100003, 0x40300004, 0x7F100001};
            parameter_info_t &param = node.params[i];
            param.type_mask = masks[random_() % std::size(masks)];
            param.intf_mask = interfaces();
            param.opaque1[random_() % 64] = param.opaque2[random_() % 16] = uint8_t(random_() % 2);
            param.int_min = int32_t(one_in(2) ? random_() : random_() % 3);
            param.int_max = one_in(3) ? INT32_MAX : int32_t(random_() % 3);
        }
        node.flags = one_in(2) ? TREE_FLAG_TERMINAL : uint32_t(random_());
        if (!any_bytes_ && node.param_count == 0 && node.token[0] == '\0')
            strcpy(node.token,
                   "on"); // a space for a missing word looks like the indentation of a submode
    }

    std::mt19937 random_;
    bool any_bytes_;
    Nodes nodes_;
};

// Returns the listing of ocmd_gen as independent lines.
std::string with_submodes(const std::string &listing) {
    std::vector<std::string> submodes;
    std::string lines;
    for (size_t at = 0; (at = listing.find("].", at)) != std::string::npos; ++at) {
        std::string text = listing.substr(at + 2, listing.find('\n', at) - at - 2);
        submodes.resize((text.find_first_not_of(' ') - 2) / 2);
        for (size_t gap = 0; (gap = text.find("  ")) != std::string::npos;)
            text.erase(gap, 1);
        submodes.push_back(text.substr(1, text.find_last_not_of(' ')));
        for (size_t i = 0; i < submodes.size(); ++i)
            lines += (i == 0 ? "" : " / ") + submodes[i];
        lines += '\n';
    }
    return lines;
}

// Plain model of ambiguous lines: all lines of a tree, one by one, with the nodes at which they
// end.
class LineModel {
public:
    LineModel(const Nodes &nodes, bool begins_with_root) : nodes_(nodes) {
        if (begins_with_root)
            go_to(0, "", false);
        else
            go_below(0, "", false);
    }

    [[nodiscard]] std::set<std::string> ambiguous() const {
        std::set<std::string> pairs;
        for (const auto &[line, ends] : lines_)
            for (const int a : ends[0].empty() ? ends[1] : ends[0])
                for (const int b : ends[0].empty() ? ends[1] : ends[0])
                    if (a < b && strcmp(node(a).func_id, node(b).func_id) != 0)
                        pairs.insert(std::to_string(a) + " and " + std::to_string(b));
        return pairs;
    }

private:
    [[nodiscard]] const tree_node_t &node(int i) const { return nodes_[static_cast<size_t>(i)]; }
    [[nodiscard]] bool has(int i, uint32_t flags) const { return (node(i).flags & flags) != 0; }

    void go_below(int parent, const std::string &line, bool is_late) {
        for (int i = 0; i < node(parent).child_count; ++i)
            go_to(node(parent).children[i], line, is_late);
    }

    void go_to(int child, const std::string &line, bool is_late) {
        const bool has_word = node(child).token[0] != '\0' || node(child).param_count > 0;
        if (has_word)
            take(child, line);
        if (has_word && node(child).optional == 0)
            return;
        const bool is_now_late = is_late || has_word;
        if (has(child, TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE) && !line.empty())
            lines_[line][is_now_late ? 1 : 0].insert(child);
        if (has(child, TREE_FLAG_SUBMODE))
            go_below(child, line + "/ ", false);
        if (!has(child, TREE_FLAG_SUBMODE) || node(child).optional == 4)
            go_below(child, line, is_now_late);
    }

    void take(int child, std::string line) {
        for (const char *c = node(child).token; *c != '\0'; ++c)
            line += char(tolower(*c));
        line += node(child).token[0] == '\0' ? "" : " ";
        for (int i = 0; i < node(child).param_count; ++i)
            line += std::to_string(node(child).params[i].type_mask) + " ";
        if (has(child, TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE))
            lines_[line][0].insert(child);
        go_below(child, line + (has(child, TREE_FLAG_SUBMODE) ? "/ " : ""), false);
    }

    const Nodes &nodes_;
    // Without and with words left out at the end.
    std::map<std::string, std::array<std::set<int>, 2>> lines_;
};

class Show : public harness::ScratchTest {
protected:
    using ScratchTest::store;
    void store(const Nodes &nodes) const { store("main.par", nodes); }

    // Returns the output of a command, including messages, and its status unless it is 0.
    std::string shell(const std::string &command) {
        const auto outcome = ScratchTest::shell("exec 2>&1; " + command);
        return outcome.out +
               (outcome.status == 0 ? "" : "status " + std::to_string(outcome.status));
    }
    std::string last_line(const std::string &command) {
        const std::string said = shell(command + " | tail -n 1");
        return said.substr(said.find_last_of(' ') + 1);
    }

    // Compiles a grammar of tests/grammars to NAME.par.
    void compile(const std::string &name, const std::string &options = "") {
        store(name + ".yaml", read_file(TEST_FILES "/grammars/" + name + ".yaml"));
        EXPECT_EQ(shell("ocmd_compile -W no-dead-end -W no-same-word -W no-redirect-root "
                        "-W no-unused-bounds -W no-second-root " +
                        options + " " + name + ".yaml"),
                  "");
    }

    // The nodes of bays.yaml.
    Nodes device() {
        compile("bays", "-W no-bounds --main");
        const std::string bytes = read_file(path("bays.par"));
        Nodes nodes(bytes.size() / sizeof(tree_node_t));
        memcpy(nodes.data(), bytes.data(), bytes.size());
        return nodes;
    }
};

TEST_F(Show, ListsAndCountsTheLinesOfTheListing) {
    std::vector<Nodes> trees{device()};
    for (uint32_t seed = 1; seed <= 20; ++seed)
        trees.push_back(Scrambled(seed, 100, false).nodes());
    for (Nodes &nodes : trees) {
        nodes.resize(nodes.size() + 1); // required by ocmd_gen
        strcpy(nodes.back().name, "tsh_redirect_root");
        nodes[0].children[nodes[0].child_count++] = uint16_t(nodes.size() - 1);
        store(nodes);
        const std::string lines = with_submodes(shell("ocmd_gen -s main.par"));
        EXPECT_EQ(shell("ocmd_show --commands main.par"), lines);
        EXPECT_EQ(last_line("ocmd_show main.par"),
                  std::to_string(std::ranges::count(lines, '\n')) + "\n");
        for (size_t i = 0; i < nodes.size(); ++i)
            snprintf(nodes[i].func_id, sizeof nodes[i].func_id, "f%zu", i % 7);
        store(nodes);
        const std::string first_word = lines.substr(0, lines.find(' '));
        for (const std::string &below : {std::string(), " --below '" + first_word + "'"}) {
            const std::string by_function =
                shell("ocmd_show --functions main.par" + below + " | sed -n 's/^  //p' | sort");
            if (by_function.find("\n... and ") == std::string::npos) { // at most 100 lines a node
                EXPECT_EQ(by_function, shell("ocmd_show --commands main.par" + below + " | sort"));
            }
        }
    }
}

TEST_F(Show, EscapesControlCharactersInJson) {
    store("c.yaml", R"(words: {a: {help: "xx\u0085\u001b\u007F\"\\yy", command: f}})");
    EXPECT_EQ(shell("ocmd_compile --main c.yaml && ocmd_show --json c.par | grep -o 'xx.*yy'"),
              R"(xx\u0085\u001b\u007f\"\\yy)"
              "\n");
}

// Each of 600 words is a command, the first of them enters a submode.
TEST_F(Show, ListsLinesOfAnyLength) {
    const std::string name(30, 'w');
    Word below = keyword("last").terminal();
    for (int level = 0; level < 600; ++level)
        below = keyword(name + std::to_string(level % 2)).terminal().child(below);
    store(grammar::lay_out(main_root({below.submode(), keyword("end").terminal()})));
    std::string line;
    std::string lines;
    for (int level = 599; level >= 0; --level) {
        line += name + std::to_string(level % 2);
        lines += line + "\n";
        line += level == 599 ? " / " : " ";
    }
    EXPECT_EQ(shell("ocmd_show --commands main.par"), lines + line + "last\nend\n");
}

// Pairs of words, each pair below both words of the previous one.
Nodes ladder(int levels, uint32_t flags) {
    Word left = keyword("a").flags(flags);
    Word right = keyword("b").flags(flags);
    for (; levels > 1; --levels) {
        const Word above = keyword("a").flags(flags).child(left).child(right);
        right = keyword("b").flags(flags).child(left).child(right);
        left = above;
    }
    return grammar::lay_out(structural("root").child(left).child(right));
}

TEST_F(Show, CountsMoreLinesThanCanBeListed) {
    const struct {
        int levels;
        uint32_t flags;
        const char *count;
    } table[] = {
        {63, TREE_FLAG_TERMINAL, "18446744073709551614\n"},
        {64, TREE_FLAG_SUBMODE, "36893488147419103230\n"},
        {127, TREE_FLAG_TERMINAL, "340282366920938463463374607431768211454\n"},
        {200, 0, "0\n"},
    };
    for (const auto &[levels, flags, count] : table) {
        store(ladder(levels, flags));
        EXPECT_EQ(last_line("ocmd_show main.par"), count);
    }
    EXPECT_EQ(shell("ocmd_show --commands main.par"), ""); // at once
    store(ladder(128, TREE_FLAG_TERMINAL));
    EXPECT_EQ(shell("ocmd_show main.par | tail -n 1 | cut -c 28-"),
              "more than 340282366920938463463374607431768211454\n");
}

TEST_F(Show, SelectsLinesAndFunctionsOfASubtreeFromItsRootOn) {
    store("part.yaml", "below: p\nwords: {bay: {command: f, words: {up: {command: g, words: "
                       "{<INTEGER>: g}}, down: {submode: yes, words: {now: g}}}}}");
    EXPECT_EQ(shell("ocmd_compile part.yaml && ocmd_show --functions part.par"),
              "f()\n  bay\ng(...)\n  bay up\n  bay up <INTEGER>\n  bay down / now\n");
    EXPECT_EQ(shell("ocmd_show --commands --below bay part.par"),
              "bay\nbay up\nbay up <INTEGER>\nbay down\nbay down / now\n");
    EXPECT_EQ(shell("ocmd_show --functions --below 'bay  down ' part.par"),
              "g()\n  bay down / now\n");
    EXPECT_EQ(shell("ocmd_show --commands --below up part.par"),
              "ocmd_show: part.par: no command line starts with \"up\"\nstatus 1");
}

TEST_F(Show, ListsFunctionsWithModesAndParameters) {
    const Word port = parameter(0x40100001).func_id("port").terminal();
    const Nodes nodes = grammar::lay_out(
        main_root({keyword("bay").child(parameter(0x40100003)
                                            .mode_id("bay")
                                            .func_id("bay")
                                            .submode()
                                            .child(keyword("up").child(port))),
                   keyword("up").func_id("up").mode_id("top").terminal().child(port),
                   keyword("on").func_id("up").mode_id("bay").terminal()}));
    store(nodes);
    EXPECT_EQ(shell("ocmd_show --functions main.par"),
              "bay(INTEGER | INTEGER RANGE), mode bay\n"
              "  bay <INTEGERINTEGER RANGE>\n"
              "port(...), mode bay\n"
              "  bay <INTEGERINTEGER RANGE> / up <INTEGER>\n"
              "  up <INTEGER>\n"
              "up(), modes top and bay\n"
              "  up\n"
              "  on\n");
    EXPECT_EQ(shell("ocmd_show --functions --below 'bay <INTEGERINTEGER RANGE> up' main.par"),
              "port(INTEGER | INTEGER RANGE, INTEGER), mode bay\n"
              "  bay <INTEGERINTEGER RANGE> / up <INTEGER>\n");
    EXPECT_EQ(shell("ocmd_show --functions=c main.par | grep '^int'"),
              "int bay(const char *integer_integer_range_1);\n"
              "int port(int count, const char *const values[]);\n"
              "int up(void);\n");
    EXPECT_EQ(shell("ocmd_show --functions=d main.par"),
              "ocmd_show: invalid argument 'd' for --functions; expected c\n"
              "Try 'ocmd_show --help'.\nstatus 2");
    EXPECT_EQ(shell("ocmd_show --functions=c main.par main.par"),
              "ocmd_show: --functions=c requires exactly one file\n"
              "Try 'ocmd_show --help'.\nstatus 2");
    Nodes many = ladder(100, TREE_FLAG_TERMINAL);
    for (tree_node_t &node : many)
        if (node.child_count == 0)
            strcpy(node.func_id, node.token);
    store(many);
    std::string line;
    for (int i = 0; i < 99; ++i)
        line += "a ";
    EXPECT_EQ(shell("ocmd_show --functions main.par | head -n 3 | sed 's/node [0-9]*$/node N/'"),
              "a()\n  " + line +
                  "a\n  ... and 633825300114114700748351602687 more lines that end at node N\n");
    EXPECT_EQ(shell("ocmd_show --functions --below 'b b a' main.par | sed -n '2s/a a .*/.../p'"),
              "  b b ...\n");
    Word longest = parameter(0x40100001).func_id("g").terminal();
    for (int i = 0; i < 127; ++i) {
        const Word before = parameter(0x40100001).child(longest);
        longest = i == 0 ? Word{before}.func_id("f").terminal() : before;
    }
    store(grammar::lay_out(main_root({longest})));
    EXPECT_EQ(shell("ocmd_show --functions main.par | grep '(' | tr -dc 'fgI.()\n'"),
              "f(" + std::string(127, 'I') + ")\ng(...)\n");
}

TEST_F(Show, WritesFunctionsAsAHeaderThatCompiles) {
    std::vector<Word> words;
    for (const char *name :
         {"lamp-on", "lamp/on", "cmd_lamp_on", "int",   "exit",   "sinf",    "_x",
          "7",       "",        "lamp",        "index", "strdup", "signbit", "thrd_create",
          "size_t",  "FILE",    "va_list",     "I",     "and",    "read",    "str"})
        words.push_back(
            keyword("w").help("*/ int x; /* ?\?/ \xE2\x80\xAE").func_id(name).terminal());
    store(grammar::lay_out(main_root(words)));
    EXPECT_EQ(
        shell("ocmd_show --functions=c main.par | sed -n 's/^int \\(.*\\)(void);/\\1/p' | xargs"),
        "cmd_7 cmd_FILE cmd_I cmd__x cmd_and cmd_lamp_on cmd_exit cmd_index cmd_int lamp "
        "cmd_lamp_on_2 cmd_lamp_on_3 cmd_read cmd_signbit cmd_sinf cmd_size_t str cmd_strdup "
        "cmd_thrd_create cmd_va_list\n");
    EXPECT_EQ(shell("ocmd_show --functions=c main.par | grep -m 1 'int x'"),
              " *     *\\/ int x; /\\* ?\\?/ \\xe2\\x80\\xae\n");
    const std::string compile =
        "ocmd_show --functions=c main.par >f.h && cc -std=c11 -Wall -Werror -fsyntax-only f.h";
    EXPECT_EQ(shell(compile), "");
    for (uint32_t seed = 1; seed <= 10; ++seed) {
        store(Scrambled(seed, 60, true).nodes());
        EXPECT_EQ(shell(compile), "") << "seed " << seed;
    }
}

TEST_F(Show, ShowsTreesInEveryForm) {
    const Nodes nodes = device();
    compile("odd_texts");
    for (const std::string file : {"bays.par", "odd_texts.par"})
        for (const std::string form : {"summary", "commands", "nodes", "dot"}) {
            const std::string mode = form == "summary" ? "" : "--" + form;
            EXPECT_EQ(shell(("ocmd_show " + mode).append(" ").append(file)),
                      read_file(TEST_FILES "/grammars/" + file.substr(0, file.size() - 3) + form));
        }
    Nodes two(2);
    two[1].reserved[0] = 1;
    store(two);
    EXPECT_EQ(shell("ocmd_show --kind=main main.par | grep unreach"),
              "  unreachable nodes:       1\n");
    EXPECT_EQ(shell("ocmd_show --kind=main --nodes main.par | tail -n 2"),
              "  depth: not reached from the root\n  stray: reserved bytes\n");
}

// ---- File formats ----

// Returns a subtree file whose records have a short attach path and one node or more, in the other
// byte order.
std::string with_other_byte_order(std::string bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const size_t records = at + 24 + uint8_t(bytes[at + 11]);
        const auto size = uint32_t(uint8_t(bytes[at + 14]) << 8 | uint8_t(bytes[at + 15]));
        for (size_t word = at; word < at + 24; word += 4)
            std::reverse(&bytes[word], &bytes[word] + 4);
        Nodes nodes(size / sizeof(tree_node_t));
        memcpy(nodes.data(), &bytes[records], size);
        tsh_swap_array_order(nodes.data(), uint32_t(nodes.size()));
        bytes.replace(records, size, bytes_of(nodes));
        at = records + size;
    }
    return bytes;
}

// The same trees in files of every format: main.par, turned.par and packed.par; sub.par, plain.par
// and little.par.
class Formats : public Show {
protected:
    Formats() {
        Nodes nodes = Scrambled(7, 50, true).nodes();
        store(nodes);
        tsh_swap_array_order(nodes.data(), uint32_t(nodes.size()));
        store("turned.par", nodes);
        grammar::write_subtree_file(path("sub.par"),
                                    {{keyword("lane").child(keyword("up").terminal()), "desk,bay"},
                                     {keyword("down").terminal(), "bay"}});
        shell("gzip -dc <sub.par >plain.par; gzip -c main.par >packed.par");
        store("little.par", with_other_byte_order(read_file(path("plain.par"))));
    }
};

TEST_F(Formats, AreDetected) {
    EXPECT_EQ(shell("for f in main turned packed sub plain little; do "
                    "ocmd_show $f.par | head -n 1; done"),
              "main.par: main par file, little-endian\n"
              "turned.par: main par file, big-endian\n"
              "packed.par: main par file, gzip-compressed, little-endian\n"
              "sub.par: subtree file, gzip-compressed, big-endian, records: 2\n"
              "plain.par: subtree file, big-endian, records: 2\n"
              "little.par: subtree file, little-endian, records: 2\n");
}

TEST_F(Formats, OfMainParFilesAreDetectedWhileMostRecordsAreValid) {
    Nodes nodes(3);
    nodes[2].child_count = 0x7F7F; // too many in either byte order
    store("most.par", nodes);
    store("half.par", {nodes[0], nodes[2]});
    EXPECT_EQ(shell("ocmd_show most.par half.par"),
              "ocmd_show: most.par: node 2 \"\": child_count exceeds 192\n"
              "ocmd_show: half.par: record 1 has no nodes and ends the file; the following 1976 "
              "bytes are ignored\n"
              "half.par: subtree file, big-endian, records: 0\nstatus 1");
}

TEST_F(Formats, HaveTheSameRecordsFromFilesStreamsAndPipes) {
    EXPECT_EQ(shell("ocmd_show --commands sub.par"), "lane up\ndown\n");
    EXPECT_EQ(
        shell("records() { ocmd_show --json $1 | sed 1s/.*records//; }; "
              "for same in main:turned:packed sub:plain:little; do "
              "first=${same%%:*}.par; records $first >expected; test -s expected || echo $first; "
              "for f in $(echo $same | tr : ' '); do "
              "records $f.par | cmp - expected; records - <$f.par | cmp - expected; "
              "cat $f.par | records - | cmp - expected; done; done"),
        "");
}

TEST_F(Formats, OfACompressedMainParFileIsAnErrorOfACheck) {
    EXPECT_EQ(shell("ocmd_show --check packed.par sub.par"),
              "ocmd_show: packed.par: main par file is gzip-compressed and cannot be loaded\n"
              "sub.par: no errors in its trees\nstatus 1");
}

TEST_F(Formats, AreReadAsGiven) {
    EXPECT_EQ(shell("ocmd_show --kind=subtrees --byte-order=little main.par"),
              "ocmd_show: main.par: record 1 has no nodes and ends the file; the following 49976 "
              "bytes are ignored\n"
              "main.par: subtree file, little-endian, records: 0\nstatus 1");
}

// ---- Incomplete and corrupt files ----

class Incomplete : public Show {
protected:
    Incomplete() {
        grammar::write_subtree_file(path("sub.par"), {{keyword("up").terminal(), "bay"},
                                                      {keyword("down").terminal(), "bay"}});
        packed = read_file(path("sub.par"));
        shell("gzip -dc <sub.par >plain.par");
        plain = read_file(path("plain.par"));
        second = plain.size() / 2;
    }

    static std::string changed(const std::string &bytes, size_t at, const std::string &other) {
        return std::string{bytes}.replace(at, other.size(), other);
    }

    // Expects the message, and that this many records are still shown.
    void expect(const std::string &message, size_t records, const std::string &bytes) {
        store("cut.par", bytes);
        EXPECT_EQ(shell("ocmd_show --json cut.par >json; s=$?; grep -c '\"version' json; exit $s"),
                  "ocmd_show: cut.par: " + message + "\n" + std::to_string(records) + "\nstatus 1");
    }

    std::string packed;
    std::string plain;
    size_t second; // offset of the second record
};

TEST_F(Incomplete, MainParFilesAreShownToTheLastNode) {
    expect("file truncated inside node 6; node ignored", 1, bytes_of(Nodes(7)).substr(0, 6999));
    expect("only the first 65536 of 65540 nodes can be addressed; the others are ignored", 1,
           bytes_of(Nodes(65540)));
}

TEST_F(Incomplete, SubtreeFilesAreShownToTheLastRecord) {
    expect("record 2: file truncated inside the header", 1, plain.substr(0, second + 9));
    expect("record 2: file truncated inside the record; record ignored", 1,
           plain.substr(0, second + 26));
    expect("record 2: file truncated inside the record; record ignored", 1,
           plain.substr(0, plain.size() - 1));
    expect("record 3 has no nodes and ends the file; the following 4 bytes are ignored", 2,
           plain + std::string(24, '\0') + "rest");
}

TEST_F(Incomplete, HeadersAreReportedWithTheirError) {
    expect("record 2: corrupt header (attach path: 1025 bytes, nodes: 1000 bytes); this and all "
           "following records are ignored",
           1, changed(plain, second + 8, {"\0\0\4\1", 4}));
    expect("record 1: reserved header words are not zero; ignored", 2, changed(plain, 20, "\1"));
    expect("record 2: attach path is not a NUL-terminated string of 4 bytes", 2,
           changed(plain, second + 27, "x"));
}

TEST_F(Incomplete, CompressedDataIsShownToTheError) {
    const std::string checksum(1, char(packed[packed.size() - 6] ^ 1));
    expect("truncated gzip data", 2, packed.substr(0, packed.size() - 8));
    expect("corrupt gzip data: incorrect data check", 2,
           changed(packed, packed.size() - 6, checksum));
    expect("data after the compressed data is ignored", 2, packed + "tail");
    EXPECT_EQ(
        shell("(head -c 1500 plain.par | gzip; tail -c +1501 plain.par | gzip) >parts.par; "
              "for name in parts sub; do ocmd_show --json - <$name.par; done | sort | uniq -u"),
        "");
}

TEST_F(Incomplete, FilesDoNotKeepOthersFromBeingShown) {
    store("main.par", "no tree in here, and no record either");
    const std::string longest(1100, 'x'); // than a message has room for at first
    EXPECT_EQ(shell("ocmd_show " + longest),
              "ocmd_show: " + longest + ": cannot be opened: File name too long\nstatus 2");
    EXPECT_EQ(shell("ocmd_show main.par none.par . sub.par | head -n 1"),
              "ocmd_show: main.par: neither a main par file nor a subtree file\n"
              "ocmd_show: none.par: cannot be opened: No such file or directory\n"
              "ocmd_show: .: cannot be read: Is a directory\n"
              "sub.par: subtree file, gzip-compressed, big-endian, records: 2\n");
    Nodes endless(2);
    std::ranges::fill(endless[0].name, 'x');
    store(endless);
    EXPECT_EQ(shell("ocmd_show main.par"),
              "ocmd_show: main.par: neither a main par file nor a subtree file; --kind=main reads "
              "it as a main par file\nstatus 2");
}

#ifdef __SANITIZE_ADDRESS__ // reserves more than any limit
const std::string kMemoryBound;
#else
const std::string kMemoryBound = "ulimit -v 125000; ";
#endif

TEST_F(Show, KeepsOnlyInMemoryWhatATreeCanUse) {
    shell("head -c 100000000 /dev/zero | gzip -1 >main.gz");
    EXPECT_EQ(shell(kMemoryBound + "ocmd_show main.gz | head -n 2"),
              "ocmd_show: main.gz: only the first 65536 of 100000 nodes can be addressed; the "
              "others are ignored\n"
              "main.gz: main par file, gzip-compressed, little-endian\n  nodes: "
              "                  65536\n");
    EXPECT_EQ(shell(kMemoryBound + "gzip -dc main.gz | ocmd_show --kind=subtrees -"),
              "ocmd_show: standard input: record 1 has no nodes and ends the file; the following "
              "99999976 bytes are ignored\n"
              "standard input: subtree file, big-endian, records: 0\nstatus 1");
    grammar::write_subtree_file(path("sub.gz"), {{keyword("up").terminal(), "bay"}});
    EXPECT_EQ(
        shell("gzip -dc sub.gz >sub; for _ in 1 2; do head -c 12 sub; printf '\\3\\350\\0\\0'; "
              "tail -c +17 sub | head -c 12; head -c 65536000 /dev/zero; done >large;"
              "cat large sub | ocmd_show - | sed -n '1p; /^  nodes: /p'"),
        "standard input: subtree file, big-endian, records: 3\n"
        "  nodes:                   65536\n"
        "  nodes:                   65536\n"
        "  nodes:                   1\n");
}

TEST_F(Show, WritesEveryByteAsJson) {
    Nodes nodes = Scrambled(3, 80, true).nodes();
    nodes[5].help[63] = 0, nodes[5].help[62] = 'x';             // behind the text's end
    nodes[6].children[191] = 7, nodes[7].params[1].int_max = 1; // past the counts
    nodes[6].child_count = nodes[7].param_count = 0;
    nodes[8].reserved[3] = 1, nodes[8].intf_mask = UINT64_MAX;
    store(nodes);
    compile("canonical");
    EXPECT_EQ(shell("ocmd_show --json main.par | " PYTHON_READER " | cmp - main.par; "
                    "gzip -dc <canonical.par >plain.par; "
                    "ocmd_show --json canonical.par | " PYTHON_READER " | cmp - plain.par"),
              "");
    EXPECT_EQ(shell("ocmd_show --json main.par | grep -o '\"intf_mask\":\"0xf*\",\"reserved.*'"),
              "\"intf_mask\":\"0xffffffffffffffff\",\"reserved\":\"00000001\"},\n");
    EXPECT_EQ(
        shell("ocmd_show --json main.par | grep -o '\"[a-z_0-9]*\":' | grep -v hex | "
              "tr -d '\":' | LC_ALL=C sort -u"),
        shell("sed -n '/^## ocmd_show/,/^## ocmd_find/s/^| \\([a-z][^|]*\\) |.*/\\1/p' '" TEST_FILES
              "/../doc/json.md' | sed 's/, /\\n/g' | LC_ALL=C sort -u"));
    nodes[9].flags = TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE | 1, nodes[9].param_count = 1;
    nodes[9].params[0].type_mask = 0x40100003;
    store(nodes);
    EXPECT_EQ(shell("ocmd_show --json main.par | grep '\"index\":9,' | "
                    "grep -o '\"flags\":[^]]*]\\|\"type_mask\":[^]]*]'"),
              "\"flags\":13,\"flag_names\":[\"terminal\",\"submode\"]\n"
              "\"type_mask\":1074790403,\"type_names\":[\"INTEGER\",\"INTEGER RANGE\"]\n");
}

// A file and its copy made from the output are equal byte for byte.
TEST_F(Show, WritesGrammarsThatCompileToTheSameBytes) {
    for (const std::string name : {"canonical", "odd_texts"}) {
        compile(name);
        EXPECT_EQ(shell("f=" + name + "; ocmd_show --yaml $f.par | diff $f.yaml -"), "");
    }
    const std::string there_and_back =
        "ocmd_show --yaml main.par >main.yaml && ocmd_compile --main -W no-same-word -W no-bounds "
        "-W no-redirect-root -W no-dead-end -W no-message-type -W no-unused-bounds "
        "-W no-suspect-name -W no-shadowed -o again.par main.yaml && "
        "cmp main.par again.par";
    for (uint32_t seed = 1; seed <= 40; ++seed) {
        store(Scrambled(seed, 60, true).nodes());
        EXPECT_EQ(shell(there_and_back), "") << "seed " << seed;
    }
    Nodes nodes = grammar::lay_out(main_root({keyword("a")
                                                  .child(keyword("x").named("f.4"))
                                                  .child(keyword("y").named("f"))
                                                  .child(keyword("z").named("f ")),
                                              keyword("b")}));
    const uint16_t shared[] = {2, 3, 4, 6}; // words whose anchors are alike, and the redirect root
    nodes[5].child_count = std::size(shared);
    std::ranges::copy(shared, nodes[5].children);
    store(nodes);
    EXPECT_EQ(shell(there_and_back), "");
}

TEST_F(Show, ReportsDataThatAGrammarCannotExpress) {
    const Nodes sound = grammar::lay_out(main_root(
        {keyword("a").terminal(), keyword("b").child(keyword("c").parameter(1).terminal())}));
    const struct {
        const char *loss;
        std::function<void(Nodes &)> spoil;
    } table[] = {
        {"node 1 a: bytes after the end of token", [](Nodes &n) { n[1].token[9] = 'x'; }},
        {"node 1 a: entries of params beyond param_count",
         [](Nodes &n) { n[1].params[0].int_min = 1; }},
        {"node 1 a: entries of children beyond child_count",
         [](Nodes &n) { n[1].children[0] = 2; }},
        {"node 1 a: entries of child_link_bits beyond child_count",
         [](Nodes &n) { n[1].child_link_bits[0] = 1; }},
        {"node 1 a: reserved bytes", [](Nodes &n) { std::end(n[1].reserved)[-1] = 1; }},
        {"node 3 c: interface kind 0 without 18 and 19",
         [](Nodes &n) { n[3].params[0].intf_mask = 1; }},
        {"1 unreachable node, first: node 6 \"\"", [](Nodes &n) { n.resize(7); }},
        {"the order of the nodes: node 2 is not in the order of the compiler",
         [](Nodes &n) { std::swap(n[0].children[0], n[0].children[1]); }},
    };
    for (const auto &[loss, spoil] : table) {
        Nodes nodes = sound;
        spoil(nodes);
        store(nodes);
        EXPECT_EQ(shell("ocmd_show --yaml main.par >main.yaml"),
                  "ocmd_show: main.par: cannot be expressed in a grammar: " + std::string(loss) +
                      "\nstatus 1");
    }
}

TEST_F(Show, ShowsAPartOfATree) {
    store(device());
    const std::string drawn = " main.par | sed -n 's/^  n[0-9]* .label=//p'";
    EXPECT_EQ(shell("ocmd_show --dot --levels=1" + drawn), R"("root",shape=diamond];
"show\n+2"];
"bay\n+1"];
"none\n+1"];
"rest",style="bold"];
)");
    EXPECT_EQ(shell("ocmd_show --dot --redirect-root main.par | grep -c redirect"), "2\n");
    const std::string interface =
        "\"<INTERFACE>[o]\",shape=ellipse,style=\"bold,dashed,filled\"];\n";
    EXPECT_EQ(shell("ocmd_show --dot --below '  show wear'" + drawn),
              R"("wear",tooltip="\"Wear\" &amp; <tear>"];)"
              "\n" +
                  interface);
    for (const std::string line :
         {"bay <STRING>[o] / lane<INTEGERINTEGER RANGE> / up <INTERFACE>[o]",
          "bay <STRING> lane<INTEGERINTEGER RANGE> up <INTERFACE>"})
        EXPECT_EQ(shell(("ocmd_show --dot --below '" + line).append("'").append(drawn)), interface);
    for (const std::string words : {"show", "bay <STRING>", "bay <STRING>[o] / label"})
        EXPECT_EQ(shell("ocmd_show --commands --below '" + words + "' main.par"),
                  shell("ocmd_show --commands main.par | grep '^" + words.substr(0, 12) +
                        "' | "
                        "grep '" +
                        words.substr(words.rfind(' ') + 1) + "'"));
    EXPECT_EQ(shell("ocmd_show --yaml --below 'bay <STRING>' main.par >part.yaml && "
                    "ocmd_compile -W no-dead-end -W no-bounds part.yaml && "
                    "ocmd_show --commands part.par"),
              shell("ocmd_show --commands main.par | sed -n 's/^bay //p'"));
    EXPECT_EQ(
        shell("ocmd_show --yaml --below 'show wear <INTERFACE>' main.par"),
        "below: show.wear\nwords:\n  <INTERFACE>: {name: port, terminal: yes, optional: yes}\n");
    EXPECT_EQ(shell("ocmd_show --json --below 'show wear' main.par | grep -o '^{\"index[^t]*'"),
              "{\"index\":3,\"name\":\"por\n{\"index\":4,\"name\":\"show.wear\",\"\n");
    for (const char *mode : {"dot", "commands", "yaml", "json", "functions"})
        EXPECT_EQ(shell(std::string("ocmd_show --below 'show bay' main.par --") + mode),
                  "ocmd_show: main.par: no command line starts with \"show bay\"\nstatus 1");
}

TEST_F(Show, RejectsInvalidTreesAndReportsEveryError) {
    Nodes nodes = device();
    store("sound.par", nodes);
    nodes[2].child_count = 1, nodes[2].children[0] = 1;
    std::ranges::fill(nodes[3].token, 'x');
    store(nodes);
    const std::string faults = "ocmd_show: main.par: node 3 \"port\": token is not terminated\n"
                               "ocmd_show: main.par: node 2 \"show.bays\": cycle: link to an "
                               "ancestor (child 0: node 1 "
                               "\"show\")\n";
    EXPECT_EQ(shell("ocmd_show --check -W no-dead-end main.par sound.par"),
              faults + "sound.par: no errors in its trees\nstatus 1");
    for (const char *mode : {"", "--commands", "--nodes", "--yaml", "--json", "--dot"})
        EXPECT_EQ(shell(std::string("ocmd_show ") + mode + " main.par"), faults + "status 1");
    std::string names = "a";
    for (int i = 0; i < SUBTREE_ATTACH_PATHS; ++i)
        names += ",a";
    grammar::write_subtree_file(path("sub.par"), {{keyword("up"), names}});
    EXPECT_EQ(shell("ocmd_show --check sub.par"),
              "ocmd_show: sub.par: record 1: attach path has 33 names (limit: 32)\n"
              "status 1");
    nodes.assign(100, {});
    for (size_t i = 0; i < 40; ++i)
        nodes[i].param_count = 3;
    store(nodes);
    EXPECT_EQ(shell("ocmd_show main.par 2>&1 | grep -c 'param_count exceeds 2'"), "10\n");
    EXPECT_EQ(shell("ocmd_show --check main.par 2>&1 | grep -c 'param_count exceeds 2'"), "40\n");
}

TEST_F(Show, FindsEveryPairOfNodesAtWhichALineEnds) {
    std::map<std::string, std::set<std::string>> expected;
    for (uint32_t seed = 0; seed < 400; ++seed) {
        std::mt19937 random{seed};
        Nodes nodes(5 + random() % 6);
        for (size_t i = 0; i < nodes.size(); ++i) {
            for (size_t child = i + 1; child < nodes.size(); ++child)
                if (child == i + 1 || random() % 3 == 0)
                    nodes[i].children[nodes[i].child_count++] = uint16_t(child);
            const char *tokens[] = {"", "a", "A", "b", "ab"};
            strcpy(nodes[i].token, tokens[random() % std::size(tokens)]);
            nodes[i].param_count = uint16_t(random() % 4 == 0 ? 1 + random() % 2 : 0);
            for (parameter_info_t &parameter : nodes[i].params)
                parameter.type_mask = uint32_t(1 + random() % 2);
            nodes[i].optional = random() % 3 == 0 ? uint16_t(1 + random() % 4) : 0;
            const uint32_t flags[] = {0, TREE_FLAG_TERMINAL, TREE_FLAG_SUBMODE};
            nodes[i].flags = flags[random() % 3];
            nodes[i].func_id[0] = char('f' + random() % 3);
        }
        // A main tree, or a subtree, whose lines begin with the word of node 0.
        const bool is_subtree = seed % 2 == 1;
        const uint32_t header[] = {1, 2, 2, uint32_t(nodes.size() * sizeof nodes[0]), 0, 0};
        if (!is_subtree)
            nodes[0].token[0] = '\0', nodes[0].param_count = 0;
        const std::string name = (is_subtree ? "sub" : "main") + std::to_string(seed) + ".par";
        const std::string start{reinterpret_cast<const char *>(header), sizeof header};
        store(name, (is_subtree ? start + std::string{"x\0", 2} : "") + bytes_of(nodes));
        expected[name] = LineModel{nodes, is_subtree}.ambiguous();
    }
    std::map<std::string, std::set<std::string>> found;
    std::istringstream lines{
        shell("check='ocmd_show --check -W no-same-word --byte-order=little'; "
              "$check --kind=main main?*.par; $check --kind=subtrees sub?*.par")};
    const std::regex pattern{
        "ocmd_show: (.*.par)(?:: record 1)?: warning: '.+' ends at node (\\d+) \"\" and node "
        "(\\d+) \"\" \\[ambiguous\\]"};
    std::smatch match;
    size_t count = 0;
    for (std::string line; std::getline(lines, line);)
        if (std::regex_match(line, match, pattern)) {
            const bool is_new =
                found[match[1]].insert(match[2].str() + " and " + match[3].str()).second;
            EXPECT_TRUE(is_new) << line;
            ++count;
        }
    for (const auto &[name, pairs] : expected)
        EXPECT_EQ(found[name], pairs) << name << "\n" << shell("ocmd_show --nodes " + name);
    EXPECT_GT(count, 400U);
}

TEST_F(Show, StopsASearchForAmbiguousLinesThatIsTooLong) {
    Nodes nodes(1 + 100 + 100 * 100); // lines of two equal words end at 10,000 nodes
    for (size_t i = 0; i < nodes.size(); ++i) {
        snprintf(nodes[i].func_id, sizeof nodes[i].func_id, "f%zu", i);
        nodes[i].token[0] = i == 0 ? '\0' : 'a';
        nodes[i].flags = i == 0 ? 0 : TREE_FLAG_TERMINAL;
        nodes[i].child_count = i <= 100 ? 100 : 0;
        for (size_t child = 0; child < nodes[i].child_count; ++child)
            nodes[i].children[child] = uint16_t(100 * i + 1 + child);
    }
    store(nodes);
    EXPECT_NE(shell("ocmd_show --check --kind=main main.par")
                  .find("main.par: warning: too many similar or optional words; the search for "
                        "ambiguous lines stopped before its end [ambiguous]\n"),
              std::string::npos);
}

TEST_F(Show, MakesTheChecksThatAreEnabled) {
    store("k.yaml", "words:\n  show:\n    help: Show\n    words: {lamps: {name: a, command: f}, "
                    "LAMPS: {name: b}, lam: {name: c, terminal: yes},\n"
                    "      <INTEGER>: {name: d, min: 5, max: 2, command: g}}\n");
    store("r.yaml", "words: {a: f}\n---\nwords: {b: g}\n");
    EXPECT_EQ(
        shell("ocmd_compile --main -W no-same-word -W no-bounds -W no-dead-end -W no-shadowed "
              "k.yaml; { printf stray; head -c 995 /dev/zero; } >>k.par; "
              "ocmd_compile -W no-second-root r.yaml"),
        "");
    EXPECT_EQ(
        shell("ocmd_show --check -W no-same-word k.par r.par"),
        "ocmd_show: k.par: warning: node 4 \"c\": 'lam' is shadowed by its sibling 'LAMPS' in "
        "the shell's first-match lookup [shadowed]\n"
        "ocmd_show: k.par: warning: node 3 \"b\": no command ends at 'LAMPS' or at a "
        "descendant [dead-end]\n"
        "ocmd_show: k.par: error: node 5 \"d\": minimum 5 of <INTEGER> exceeds its maximum 2 "
        "[bounds]\n"
        "ocmd_show: k.par: warning: node 8 \"stray\" is unreachable from the root "
        "[unreachable]\n"
        "ocmd_show: r.par: record 2: warning: second root: like record 1, it has no attach "
        "path [second-root]\nr.par: no errors in its trees\nstatus 1");
    const std::string off = "-W no-shadowed -W no-dead-end -W no-unreachable ";
    EXPECT_EQ(shell("ocmd_show --check -E no-function -W no-bounds " + off + "k.par"),
              "ocmd_show: k.par: error: node 3 \"b\" and its sibling node 2 \"a\" match the same "
              "word 'lamps' [same-word]\n"
              "ocmd_show: k.par: error: node 4 \"c\": a command without a function ends here "
              "[no-function]\nstatus 1");
    EXPECT_EQ(shell("ocmd_show --check --strict -W no-help " + off +
                    "-W no-same-word k.par 2>&1 | grep -c 'error: .* has no help text .no-help.'"),
              "4\n");
    EXPECT_EQ(last_line("ocmd_show --strict k.par"), "--help'.\n");
    EXPECT_EQ(shell("ocmd_show --check -W depth k.par"),
              "ocmd_show: unknown check 'depth'\nTry 'ocmd_show --help'.\nstatus 2");
}

TEST_F(Show, ShowsSeveralFilesUnderTheirNames) {
    store(grammar::lay_out(structural("root").child(keyword("up").terminal())));
    store("empty.par", "");
    EXPECT_EQ(shell("ocmd_show --commands main.par empty.par"), "main.par:\nup\nempty.par:\n");
    EXPECT_EQ(shell("ocmd_show --yaml empty.par main.par"),
              "# empty.par\n# main.par\nredirect_root: no\nwords:\n  up: {terminal: yes}\n");
    for (const char *wrong :
         {"", "--dot --json main.par", "--levels=1 main.par", "--nodes --below=up main.par",
          "--json --redirect-root main.par", "--dot --levels=-1 main.par",
          "--dot --levels=:1 main.par", "--dot --levels=1x main.par", "--kind=tree main.par"})
        EXPECT_EQ(
            shell("ocmd_show " + std::string(wrong) + " >said 2>&1; s=$?; tail -n 1 said; exit $s"),
            "Try 'ocmd_show --help'.\nstatus 2");
    EXPECT_EQ(shell("\"$(command -v ocmd_show)\" --none"),
              "ocmd_show: unrecognized option '--none'\nTry 'ocmd_show --help'.\nstatus 2");
}

TEST_F(Show, HandlesDeepTreesAndFileErrors) {
    Nodes chain(TREE_MAX_NODES);
    for (size_t i = 0; i < chain.size(); ++i) {
        chain[i].name[0] = chain[i].token[0] = 'a';
        chain[i].flags = TREE_FLAG_TERMINAL;
        chain[i].child_count = i + 1 < chain.size() ? 1 : 0;
        chain[i].children[0] = i + 1 < chain.size() ? uint16_t(i + 1) : 0;
    }
    chain[0].token[0] = '\0';
    store(chain);
    EXPECT_EQ(
        shell("ulimit -s 1024; for mode in check nodes json yaml dot; do "
              "ocmd_show --$mode main.par >out || echo $mode; done; "
              "ocmd_show main.par | tail -n 1; ocmd_show --commands main.par | head -n 3"),
        "ocmd_show: main.par: cannot be expressed in a grammar: node 300 a: more than 600 levels "
        "of YAML\nyaml\n  command lines:           65535\na\na a\na a a\n");
    EXPECT_EQ(shell("{ ocmd_show --json main.par; echo \"status $?\" >&2; } | "
                    "{ head -c 9 >head; truncate -s 0 main.par; cat >rest; }"),
              "ocmd_show: main.par: file was truncated while being read\nstatus 2\n");
    EXPECT_EQ(
        shell("ulimit -c 0; mkfifo pipe; ocmd_show pipe & exec 3>pipe; " // once it has opened it
              "kill -TRAP $!; wait $! 2>&-"),
        "status 133");
}

} // namespace
