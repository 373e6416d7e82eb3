// Tests of the linker: valid, corrupt and hostile subtree files; a main par file and messages.
#include "feature/tsh/src/trace.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_load.h"
#include "tests/support/grammar.h"
#include "tests/support/scratch_test.h"
#include "treelink/file_replacement.h"
#include "treelink/link_driver.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>

namespace {

using grammar::keyword;
using grammar::main_root;
using grammar::parameter;
using grammar::structural;
using grammar::Word;
using harness::Outcome;
using harness::read_file;

using Nodes = std::vector<tree_node_t>;

class Link : public harness::ScratchTest {
protected:
    Link() { store("root.par", {{main_root({keyword("show"), keyword("arrange")}), ""}}); }

    void store(const std::string &file, const std::vector<grammar::Subtree> &subtrees) const {
        grammar::write_subtree_file(path(file), subtrees);
    }
    void store_prebuilt(const std::string &file, const Word &word) const {
        grammar::write_main_tree(path(file), grammar::lay_out(structural("root").child(word)));
    }

    // Returns the output and messages of a command.
    std::string shell(const std::string &command) {
        return ScratchTest::shell("exec 2>&1; " + command).out;
    }
};

const std::regex kAddresses("-?[0-9]+, new is -?[0-9]+ |-?[0-9]+ Location:-?[0-9]+");

// Returns the bytes of one subtree in a file.
std::string stored(Nodes nodes, const std::string &names = "a,b") {
    char *bytes = nullptr;
    size_t size = 0;
    FILE *stream = open_memstream(&bytes, &size);
    subtree_path_t path;
    populate_subtree_path(&path, 2, names.c_str());
    const auto count = static_cast<uint32_t>(nodes.size());
    write_array_tree_to_file(nodes.data(), count, 1, &path, stream, 1, 0, 0);
    fclose(stream);
    std::string text(bytes, size);
    free(bytes);
    return text;
}

// Shared nodes, several attach paths, submodes, parameters of many types, a conflict, a chain that
// cannot be resolved, and an attach point that only the prebuilt tree contains.
TEST_F(Link, LinksAGrammarOfManyFiles) {
    const Word end = keyword("short").terminal().optional();
    store("health.par", {{keyword("health").terminal().child(end), "show"},
                         {keyword("guests").child(end), "show"}});
    store("bay.par", {{keyword("bay")
                           .child(parameter(0x40200001).named("port").submode())
                           .child(parameter(0x40200002).named("ports").terminal()),
                       "arrange"}});
    const Word pace = parameter(0x40100001).parameter(0x40300002).named("size");
    store("reach.par", {{keyword("reach")
                             .child(keyword("host").child(parameter(0x40000003).named("peer")))
                             .child(keyword("pace").child(pace)),
                         "show,port"}});
    store("leaf.par", {{keyword("spare").terminal(), "peer,size,,peer"}});
    store("bell.par", {{keyword("bell").named("bell1").terminal(), "show"}});
    store("chime.par", {{keyword("bell").named("bell2").terminal(), "show,arrange"}});
    store("lost.par", {{keyword("lost"), "nowhere"}, {keyword("found"), "lost"}});
    store("trace.par", {{keyword("grains").terminal(), "trace"}, {parameter(4), "show"}});
    const Word trace = keyword("trace").terminal().child(keyword("spilt"));
    store_prebuilt("main_tree.pars", keyword("probe").terminal().child(trace));
    Word ladder = keyword("end");
    for (int i = 0; i < 100; ++i) // more paths than any walk could follow
        ladder = keyword("a").child(ladder).child(keyword("b").child(ladder));
    store_prebuilt("main_tree2.pars", ladder);

    shell("cp leaf.par leaf.pars; cp root.par tsh_root.par; ocmd_link -v -p . -o main.par root.par "
          "health bay.par reach tsh_root leaf.pars tsh_root.par main_tree root.par bell.par "
          "none chime.par lost.par trace.par >out 2>err");
    EXPECT_EQ(shell("cat err; sed '/^$/,$d' out"), // up to the tree
              read_file(TEST_FILES "/traces/linking.txt"));
    EXPECT_EQ(shell("ocmd_gen -s main.par"), read_file(TEST_FILES "/traces/linked.txt"));
    const std::string make = "'" TEST_FILES "/../examples/switch/make.sh' switch";
    EXPECT_EQ(shell("mkdir switch; echo > switch/stale.par; CDPATH=. " + make), "");
}

TEST_F(Link, SelectsItsInputFiles) {
    const std::string longest = std::string(59, 'n') + ".par";
    const std::string merging = "Merging file root.par\n";
    const auto not_opened = [](const std::string &name) {
        return "Treelink Error: Parser file " + name + " could not be opened \n";
    };
    const std::string missing =
        not_opened(longest) + "Treelink Error: Parser file " + longest + " was not added \n";
    struct {
        std::vector<std::string> names;
        std::string out;
        std::string err;
    } const cases[] = {
        {{"x/tsh_root.par"},
         merging + "-1\n",
         not_opened("x/tsh_root.par") + "Treelink Error: Error in adding root parser file \n"},
        {{longest + "s"},
         merging + "Treelink Error: filename " + longest + "s too long by 1\n-1\n",
         ""},
        {{longest, longest + "s"},
         merging + "Merging file " + longest + "\nMerging file " + longest + "\n5\n",
         missing + missing},
        {{"tsh_root.par", "bell", "main_tree", "tsh_root"}, // the root again, and no subtree
         merging + "Merging file bell.par\nLinked subtree at attach path show \n6\n",
         ""},
        {std::vector<std::string>(513, "ward"), "-1\n",
         "Treelink Error: file list has 512 as last index, over 511 \n"},
    };
    store("bell.par", {{keyword("bell"), "show"}});
    std::filesystem::current_path(path(""));
    std::filesystem::copy("root.par", "tsh_root.par");
    for (const auto &[names, out, err] : cases) {
        par_file_list_t list{{}, static_cast<int32_t>(names.size()) - 1};
        for (size_t i = 0; i < names.size() && i < PAR_FILE_LIST_SIZE; ++i)
            strcpy(reinterpret_cast<char *>(&list.entries[i]) + 24, names[i].c_str());
        const auto link = [&] {
            tree_node_t *tree = nullptr;
            verbose = 1;
            printf("%d\n", get_linked_parse_tree(&tree, &list, "root.par"));
            free(tree);
            return 0;
        };
        const Outcome outcome = harness::in_child(link);
        EXPECT_EQ(outcome.out, out);
        EXPECT_EQ(outcome.err, err);
    }
}

TEST_F(Link, EnforcesItsLimits) {
    Word wide = keyword("wide");
    for (int i = 0; i < TREE_MAX_CHILDREN; ++i)
        wide.child(keyword(std::string("w").append(std::to_string(i))));
    store("wide.par", {{wide, "show"}});
    store("one.par", {{keyword("one"), "wide,show"}});
    store("top.par", {{main_root({keyword("show")}), ""}});
    harness::write_file(path("large.par"), stored(Nodes(TREE_MAX_NODES - 4), "show"));
    harness::write_file(path("many.par"), stored(Nodes(1), "show"));
    shell("gzip many.par; mv many.par.gz many.par; for i in $(seq 17); do " // 131,072 times
          "cat many.par many.par > more; mv more many.par; done; cat many.par top.par > more.par");
    harness::write_file(path("empty.par"), "");
    const std::string error = "*** Tree Linking Error *** ";
    const auto too_large = [&](const char *count) {
        return error + "The linked tree would have " + count + " nodes (limit: 65536)\n1\nold";
    };
    const std::pair<const char *, std::string> cases[] = {
        {"root.par wide.par one.par",
         error + "Node one not attached below wide: parent has 192 children (limit)\n1\nroo"},
        {"top.par large.par", "0\nroo"},
        {"root.par large.par", too_large("65537")},
        {"root.par more.par",
         "*** Treelink Warning ***: File more.par exceeds 1048576 nodes or 131072 subtrees per "
         "link, the rest of it is ignored\n" +
             too_large("131076")},
        {"empty.par one.par", "ocmd_link: empty.par: root file contains no subtree\n1\nold"},
        {"none.par", "Treelink Error: Parser file none.par could not be opened \n"
                     "ocmd_link: none.par: cannot be read: No such file or directory\n2\nold"},
    };
    const std::string link = "echo old > main.par; ocmd_link -o main.par ";
    for (const auto &[files, text] : cases)
        EXPECT_EQ(shell(link + files + "; echo $?; head -c 3 main.par"), text);
}

// Missing input gives status 1; with --strict, so does every warning, and nothing is written.
TEST_F(Link, ReportsMissingInputAndWarnings) {
    const auto ladder = [](const std::string &name) {
        Word word = keyword(name + "0");
        for (int i = 1; i < 200; ++i)
            word = keyword(name + std::to_string(i)).child(word);
        return word;
    };
    store("sound.par", {{keyword("bell").named("bell1").terminal(), "show"}});
    store("again.par", {{keyword("guests").child(keyword("show")), "show"}});
    store("clash.par", {{keyword("bell").named("bell2"), "show"}});
    store("deep.par", {{ladder("a"), "show"}, {ladder("b"), "a0"}});
    store("lost.par", {{keyword("lost"), "nowhere"}});
    store("loose.par", {{keyword("loose"), ""}, {keyword("lost"), ""}});
    store("loud.par", {{keyword("BELL").named("loud"), "show"}});
    store("egg.par", {{keyword("egg").child(keyword("shell")), "nest"}});
    store("hen.par", {{keyword("hen").child(keyword("nest")), "shell"}});
    store("roots.par", {{keyword("other"), ""}, {main_root({keyword("show")}), ""}});
    grammar::write_main_tree(path("yesterday.par"), grammar::lay_out(main_root({})));
    harness::write_file(path("cut.par"), stored(Nodes(1), "show") + "cut");
    std::filesystem::create_directory(path("invalid"));
    harness::write_file(path("invalid/main_tree.pars"), "no tree");
    Nodes circle(1);
    circle[0].child_count = 1;
    grammar::write_main_tree(path("invalid/main_tree2.pars"), circle);
    const std::string again = "*** Treelink Warning ***: Duplicate nodename show in again.par\n";
    struct {
        const char *files;
        std::string told;
        int warnings;
        bool lossless;
    } const cases[] = {
        {"root.par sound", "", 0, true},
        {"root.par again.par", again + again, 2, true},
        {"root.par deep.par",
         "ocmd_link: main.par: warning: tree has more than 256 levels; listings omit siblings "
         "below "
         "level 256 [depth]\n",
         1, true},
        {"root.par sound.par clash.par",
         "*** Tree Linking Error *** Conflicting nodes bell2 and bell1 attaching below the same "
         "parent\n",
         1, false},
        {"root.par lost.par", "***Treelink Warning***: Unresolved path nowhere in file lost.par \n",
         1, false},
        {"root.par loose.par",
         "ocmd_link: loose.par: second root file: it contains a subtree without an attach path, "
         "which is "
         "not linked; add 'below' to its grammar\n",
         1, false},
        {"root.par yesterday.par", "ocmd_link: yesterday.par: file contains no subtree\n", 1,
         false},
        {"root.par cut.par",
         "*** Treelink Warning ***: File cut.par could not be read to its end: truncated inside "
         "a header\n",
         1, false},
        {"-p invalid root.par",
         "Problem with the parser file.\n"
         "*** Treelink Warning ***: Prebuilt tree invalid/main_tree.pars cannot be used\n"
         "invalid/main_tree2.pars: node 0 \"\": cycle: link to an ancestor (child 0: node 0 "
         "\"\")\n"
         "*** Treelink Warning ***: Prebuilt tree invalid/main_tree2.pars cannot be used\n"
         "main_tree_to_hash: can't read file \nmain_tree_to_hash: can't read file \n",
         2, true},
        {"root.par sound.par loud.par",
         "ocmd_link: main.par: warning: siblings loud and bell1 below show match the same word: "
         "'BELL' and 'bell' [same-word]\n",
         1, true},
        {"root.par egg.par hen.par",
         "*** Tree Linking Error *** Node egg not attached below nest: link would create a cycle "
         "(egg.par and hen.par)\n",
         1, false},
        {"root.par none.par",
         "Treelink Error: Parser file none.par could not be opened \n"
         "ocmd_link: none.par: not linked: No such file or directory\n",
         1, false},
        {"roots.par", "ocmd_link: roots.par: only the last subtree of the root file was linked\n",
         1, false},
    };
    const std::string link = "echo old > main.par; ocmd_link -o main.par ";
    for (const auto &test : cases) {
        EXPECT_EQ(shell(link + test.files + "; echo $?; grep -c old main.par"),
                  test.told + (test.lossless ? "0\n0\n" : "1\n0\n"));
        const std::string refused =
            "ocmd_link: main.par: not written: " + std::to_string(test.warnings) +
            (test.warnings == 1 ? " warning" : " warnings") + " (--strict)\n1\n1\n";
        EXPECT_EQ(shell(link + "--strict " + test.files + "; echo $?; grep -c old main.par"),
                  test.warnings == 0
                      ? "0\n0\n"
                      : std::regex_replace(test.told, std::regex{": warning: "}, ": error: ") +
                            refused);
    }
    EXPECT_EQ(shell(link + "-W no-depth root.par deep.par; echo $?"), "0\n");
    EXPECT_EQ(shell(link + "-E same-word root.par sound.par loud.par 2>&1 | tail -n 1"),
              "ocmd_link: main.par: not written: 1 error\n");
}

// Names and words in files, and file names, with an escape sequence, C1 in UTF-8, and C1 as a byte.
TEST_F(Link, EscapesControlCharacters) {
    const std::string raw = "\x1B]52;\x07\x7F\xC2\x9B\x9B\xC3\x9B";
    const std::string escaped = "\\x1b]52;\\x07\\x7f\\xc2\\x9b\\x9b\xC3\x9B";
    const std::string listed = "show " + escaped + "\n";
    store(raw + ".par", {{keyword("lost"), raw}, {keyword(raw).named("odd").terminal(), "show"}});
    EXPECT_EQ(shell("ocmd_link -v -o main.par root.par *52* | grep -a 52"),
              "***Treelink Warning***: Unresolved path " + escaped + " in file " + escaped +
                  ".par \nMerging file " + escaped + ".par\n    5: odd \"" + escaped + "\"\n");
    EXPECT_EQ(shell("ocmd_gen -s main.par | grep -a 52"), "[     1].  show  " + raw + "\n");
    EXPECT_EQ(shell("ocmd_gen -s *52* 2>&1 >&- | grep -a 52"),
              escaped + ".par: its size of 110 bytes is not a multiple of 1000; it looks like a "
                        "gzip file\n");
    EXPECT_EQ(shell("ocmd_diff main.par root.par"), "- " + listed);
    EXPECT_EQ(shell("mv *52* $(printf '\\033'); ocmd_show --commands main.par $(printf '\\033')"),
              "main.par:\n" + listed + "\\x1b:\n" + escaped + "\n");
}

// ---- Output files: completely old or completely new ----
constexpr const char *kLinkAndList = "ocmd_link -o main.par root.par; echo $?; ls -a | grep main; ";

TEST_F(Link, GivesTheOutputTheModeOfTheFileThatItReplaces) {
    const std::string link = kLinkAndList;
    EXPECT_EQ(shell("umask 27; " + link + "stat -c '%a %s' main.par"), "0\nmain.par\n640 5000\n");
    EXPECT_EQ(shell("echo old > there; chmod 604 there; ln there too; ln -sf there main.par; " +
                    link + "stat -c '%F %a %s' main.par there; cat too"),
              "0\nmain.par\nsymbolic link 777 5\nregular file 604 5000\nold\n");
}

TEST_F(Link, LeavesTheOldFileIfTheNewOneCannotBeWritten) {
    const auto not_written = [](const std::string &file, const std::string &reason) {
        return "ocmd_link: " + file + ": cannot be written: " + reason + "\n";
    };
    const std::string link = kLinkAndList;
    const std::string full = "Error in writing to main_tree file\n";
    const std::string no_space = "No space left on device";
    EXPECT_EQ(shell("echo old > main.par; trap '' XFSZ; ulimit -f 2; " + link + "cat main.par"),
              full + not_written("main.par", "File too large") + "2\nmain.par\nold\n");
    EXPECT_EQ(shell("ln -sf /dev/full main.par; " + link + "stat -c %F main.par"),
              full + not_written("main.par", no_space) + "2\nmain.par\nsymbolic link\n");
    EXPECT_EQ(shell("ocmd_link -o /dev/full root.par >&-"),
              not_written("/dev/full", no_space) + not_written("standard output", "write error"));
    EXPECT_EQ(shell("ocmd_link -o none/main.par root.par"),
              "Error: Could not open main par file for writing \n" +
                  not_written("none/main.par", "No such file or directory"));
}

TEST_F(Link, WritesTheSameTreeToAFileAndToStandardOutput) {
    EXPECT_EQ(shell("ocmd_link -o there root.par >&- 2>&-; echo $?"), "0\n");
    EXPECT_EQ(shell("ocmd_link -o /dev/stdout root.par | cmp - there"), "");
    EXPECT_EQ(shell("ocmd_link -o - root.par <&- | cmp - there"), "");
    EXPECT_EQ(shell("ocmd_link -v -p . -o - - < root.par 2>err | cmp - there; grep Display err"),
              "Displaying Tree\n");
    EXPECT_EQ(shell("ocmd_link -n -o net root.par; cmp net there | wc -l; "
                    "od -An -tx1 -j 566 -N 4 net"),
              "1\n 00 03 00 01\n");
}

TEST_F(Link, LeavesTheOldOrTheNewFileWhenItIsKilled) {
    for (int i = 0; i < 40; ++i) {
        const std::string now =
            shell("echo old > there; ocmd_link -o there root.par & sleep 0.00" +
                  std::to_string(i % 10) + "; kill $! 2>&-; wait 2>&-; cat there");
        EXPECT_TRUE(now == "old\n" || now.size() == 5000) << now.size();
    }
    EXPECT_EQ(shell("ls -A | grep -v '^.tsh-'"), "root.par\nthere\n");
}

TEST_F(Link, KeepsTheOldFileIfTheReplacementIsAbandoned) {
    harness::write_file(path("target"), "old");
    tsh_file_replacement_t *file = tsh_file_replacement_open(path("target").c_str());
    fputs("given up", tsh_file_replacement_stream(file));
    tsh_file_replacement_abandon(file);
    EXPECT_EQ(shell("ls -A; cat target"), "root.par\ntarget\nold");
}

Nodes chain(uint16_t levels) {
    Nodes nodes(levels);
    for (uint16_t i = 1; i < levels; ++i)
        nodes[i - 1U].children[nodes[i - 1U].child_count++] = i;
    return nodes;
}

// Returns a subtree with one big-endian word changed.
std::string poked(size_t offset, uint32_t word, std::string bytes = stored(Nodes(1))) {
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        bytes[offset++] = static_cast<char>(word >> shift);
    return bytes;
}

constexpr size_t kHeader = sizeof(subtree_header_t);
constexpr const char *kCannotRead = "Treelink Error: Not able to read file x.par\n";
constexpr const char *kNotToEnd =
    "*** Treelink Warning ***: File x.par could not be read to its end: ";
// Prints the attach points of the subtrees of x.par.
constexpr const char *kLinkX = "ocmd_link -v -o /dev/null root.par x.par | "
                               "sed -n 's/^Linked subtree at attach path //p' | tr -d '\n'; ";

// A subtree file x.par, linked below words of a root file.
class LinkOfOneFile : public Link {
protected:
    void store_root(std::initializer_list<const char *> names) const {
        std::vector<Word> words;
        for (const char *name : names)
            words.push_back(structural(name));
        store("root.par", {{main_root(words), ""}});
    }

    // Plain and gzip-compressed.
    void expect_printed(const std::string &file, const std::string &printed) {
        harness::write_file(path("x.par"), file);
        EXPECT_EQ(shell(kLinkX), printed);
        EXPECT_EQ(shell(std::string("gzip x.par; mv x.par.gz x.par; ") + kLinkX), printed);
    }

    const std::string whole = stored(Nodes(1)); // a subtree below a and b
};

TEST_F(LinkOfOneFile, ReadsValidRecordsAndIgnoresAFileFromACorruptOneOn) {
    constexpr size_t kPathLength = offsetof(subtree_header_t, path_len);
    constexpr size_t kTreeBytes = offsetof(subtree_header_t, tree_bytes);
    const std::string n31 = "n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,";
    const std::string long_name(63, 'l');
    const std::string corrupted =
        "*** Treelink Warning ***: Incompatible format/Corrupted .par file x.par ignored\n";
    Nodes circle = chain(4);
    circle[2].children[circle[2].child_count++] = 0;
    struct {
        std::string bytes;   // second of three subtrees
        std::string printed; // messages, and attach points of this and the last subtree
    } const cases[] = {
        {stored(chain(4), ",c,,n,"), "a b c n "},
        {stored(Nodes(1), ""), "ocmd_link: x.par: second root file: it contains a subtree without "
                               "an attach path, which is "
                               "not linked; add 'below' to its grammar\na b "},
        {stored(Nodes(1), long_name + "cut"), "a b " + long_name + " "},
        {stored(Nodes(1), n31 + "c"), "a b n c "},
        {stored(Nodes(1), n31 + "n,c"), corrupted},
        {poked(kHeader, 0x612C6221), "a b a b! "}, // "a,b!" without NUL
        {poked(kHeader + 1020, 0x2C2C6321, stored(Nodes(1), std::string(1023, ','))),
         "a b c "}, // the last name exceeds the field
        {poked(kPathLength, 1025), corrupted},
        {poked(kPathLength, UINT32_MAX), corrupted},
        {poked(kTreeBytes, 1500), corrupted},
        {poked(kTreeBytes, UINT32_MAX / 1000 * 1000), corrupted},
        {poked(kTreeBytes, 65537000), corrupted},
        {poked(kTreeBytes, 65536000), kCannotRead},
        {poked(kTreeBytes, 0), "*** Treelink Warning ***: File x.par: record 2 has no nodes and "
                               "ends the file, the rest of it is ignored\n"},
        {stored(chain(1000)), "ocmd_link: /dev/null: warning: tree has more than 256 levels; "
                              "listings omit siblings below level 256 [depth]\n"
                              "a b a b "},
        {stored(circle), corrupted},
    };
    store_root({"a", "b", "b!", "c", "n", long_name.c_str()});
    for (const auto &[bytes, printed] : cases) {
        SCOPED_TRACE(printed);
        expect_printed(std::string(whole).append(bytes) + whole, printed + "a b ");
    }
    expect_printed(whole, "a b ");
}

TEST_F(LinkOfOneFile, ReadsATruncatedFileUpToItsLastCompleteRecord) {
    store_root({"a", "b"});
    for (const unsigned length : {1U, 23U, 24U, 27U, 28U, 500U, 1027U})
        expect_printed(whole + whole.substr(0, length),
                       (length < kHeader ? kNotToEnd + std::string("truncated inside a header\n")
                                         : kCannotRead) +
                           std::string("a b "));
    harness::write_file(path("x.par"), whole);
    shell(R"(gzip x.par; printf '\37\213\10\377 is no gzip header' | cat x.par.gz - > x.par)");
    EXPECT_EQ(shell(kLinkX), kNotToEnd + std::string("corrupt gzip data\na b "));
    // Compressed data truncated at any position.
    harness::write_file(path("x.par"), whole + whole);
    EXPECT_EQ(shell("gzip -f x.par; for i in $(seq 2 $(($(stat -c %s x.par.gz) - 1))); do "
                    "head -c $i x.par.gz > x.par; ocmd_link -o /dev/null root.par x.par 2>&1; "
                    "echo $?; done | sort -u"),
              kNotToEnd + std::string("truncated gzip data\n1\n") + kCannotRead +
                  "ocmd_link: x.par: file contains no subtree\n");
}

TEST_F(Link, PrintsDebugOutput) {
    const Outcome outcome = harness::in_child([&] {
        std::filesystem::current_path(path(""));
        debug_flag = 1;
        store("tree.par", {{keyword("one").child(keyword("two")), "show"}});
        treelink_output_stream_set(stdout);
        static par_file_list_t list{{}, 0};
        strcpy(list.entries[0].file_name, "tree.par");
        return update_main_parse_tree_file(&list, "root.par", "main.par", 0);
    });
    EXPECT_EQ(outcome.status, 0);
    auto told = harness::lines_of(std::regex_replace(outcome.out, kAddresses, ""));
    std::ranges::sort(told); // GLib chooses the order of a table
    EXPECT_EQ(told, harness::lines_of(read_file(TEST_FILES "/traces/link.txt")));
}

// ---- Exported operations besides linking ----
TEST_F(Link, ReadsMainTreesFromSubtreeFiles) {
    store("tree.par", {{keyword("one").child(keyword("two")), "show"}});
    const Outcome outcome = harness::in_child([&] {
        tree_node_t *tree = nullptr;
        debug_flag = 1;
        for (const std::string &name :
             {std::string("/"), std::string("/dev/null"), path("tree.par")})
            printf("%d\n", get_main_parse_tree(name.c_str(), &tree));
        printf("%d\n", get_main_parse_tree(nullptr, &tree));
        return free_main_parse_tree(tree);
    });
    EXPECT_EQ(outcome.err, "Error: Parser file / could not be opened \n");
    EXPECT_EQ(outcome.out, R"(-1
Done reading header file /dev/null
*** Fatal error: Not able to read main parser file 
-1
Subtree length=2000
Treenode size=1000
0: one "one" 1
  1: two "two"
Done with ntoh conversion of temp tree
2

Error: main par file not specified 
-1
)");
}

TEST_F(Link, MakesSpaceForTheTreeUnderConstruction) {
    const Outcome outcome = harness::in_child([] {
        assign_space(ASSIGN_SPACE_EXACT, 3);
        strcpy(tsh_main_tree[2].name, "kept");
        tsh_main_tree_node_count = 3;
        assign_space(0, 4);
        printf("%u %s\n", tsh_main_tree_max_nodes, tsh_main_tree[2].name);
        tsh_main_tree_node_count = UINT32_MAX; // the sum overflows
        assign_space(0, 2);
        printf("%u\n", tsh_main_tree_max_nodes);
        return 0;
    });
    EXPECT_EQ(outcome.out, "12 kept\n12\n");
    const Outcome listed = harness::in_child([] {
        assign_space(0, 1); // a tree that is not yet valid
        for (const uint16_t child : std::initializer_list<uint16_t>{0, 7, 65535})
            tsh_main_tree->children[tsh_main_tree->child_count++] = child;
        debug_flag = 1;
        return assign_space(0, 6);
    });
    EXPECT_EQ(std::regex_replace(listed.out, kAddresses, ""),
              R"(Old size = 5, Numnodes = 6, Allocated memory = 10 
Old memory was 
0:  "" 0 7 65535
  7:  ""
  65535:  ""
)");
}

TEST_F(Link, LeavesListedSubtreesWithoutNodesToTheCaller) {
    const Outcome outcome = harness::in_child([] {
        tree_node_t node{};
        subtree_entry_t ours{};
        subtree_entry_t *none = nullptr;
        subtree_entry_t *roots = &ours;
        treelink_cleanup(&none, &roots, nullptr);
        roots = static_cast<subtree_entry_t *>(calloc(1, sizeof ours));
        roots->nodes = static_cast<tree_node_t *>(malloc(sizeof node));
        roots->next = &ours; // only the head of the root list is released
        ours.nodes = &node;
        treelink_cleanup(&none, &roots, nullptr);
        return 0;
    });
    EXPECT_EQ(outcome, Outcome({0, "", ""}));
}

TEST_F(Link, AppendsTheNodesOfASubtreeToAnArray) {
    const Outcome outcome = harness::in_child([] {
        std::vector<tree_node_t> array(5);
        std::vector<tree_node_t> tree(2);
        tree[0].child_count = 1;
        tree[0].children[0] = 1;
        subtree_entry_t record{};
        record.nodes = tree.data();
        record.node_count = 2;
        uint32_t next = 3;
        treelink_init();
        const uint32_t place =
            add_subtree_in_main_tree(array.data(), &next, nullptr, &record, treelink_table);
        printf("%u %u %u %u\n", place, record.position, next, array[3].children[0]);
        return 0;
    });
    EXPECT_EQ(outcome, Outcome({0, "3 3 5 4\n", ""}));
}

TEST_F(Link, LeavesNoNodesOfARecordThatCannotBeRead) {
    tree_node_t node{};
    tree_node_t *nodes = &node;
    uint32_t count = 7;
    subtree_path_t attach_path{};
    FILE *empty = fopen("/dev/null", "r");
    EXPECT_EQ(read_par_tree("x.par", empty, &nodes, &count, &attach_path, 1, 0), -1);
    EXPECT_EQ(nodes, nullptr);
    EXPECT_EQ(count, 0U);
    fclose(empty);
}

TEST_F(Link, ExtractsTheNamesOfAnAttachPath) {
    subtree_entry_t entry{};
    entry.path_count = 1;
    EXPECT_EQ(extract_path(nullptr, entry.attach_paths), 0);
    EXPECT_EQ(entry.path_count, 0);
    EXPECT_EQ(extract_path("n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n",
                           entry.attach_paths),
              32);
    EXPECT_EQ(entry.path_count, 32);
    EXPECT_STREQ(entry.attach_paths[31], "n");
    EXPECT_EQ(extract_path("one,,two", entry.attach_paths), 2);
    EXPECT_EQ(entry.path_count, 2);
    EXPECT_STREQ(entry.attach_paths[1], "two");
}

TEST_F(Link, BorrowsANodeWithoutItsChildren) {
    store_prebuilt("main_tree.pars", keyword("probe").terminal().child(keyword("short")));
    std::string folder = path("");
    const Outcome outcome = harness::in_child([&] {
        prebuilt_main_tree_path = folder.data();
        subtree_entry_t entry{};
        printf("%d\n", main_tree_to_dl_hash());
        printf("%d\n", node_pickup_from_main_tree("nowhere", nullptr, &entry));
        std::filesystem::resize_file(path("main_tree.pars"), 0); // the tree was read, not mapped
        treelink_init();
        printf("%d\n", node_pickup_from_main_tree("probe", treelink_table, &entry));
        const tree_node_t &borrowed = entry.next->nodes[0];
        printf("%s %x %u %u\n", borrowed.name, borrowed.flags, borrowed.child_count,
               borrowed.children[0]);
        return 0;
    });
    EXPECT_EQ(outcome.out, "0\n0\n1\nprobe 0 0 0\n");
    EXPECT_EQ(harness::in_child(main_tree_to_dl_hash), Outcome({1, "", ""})) << "no directory";
}

TEST_F(Link, PrintsItsUsageAndReportsUsageErrors) {
    EXPECT_TRUE(shell("ocmd_link --help").starts_with("Usage: ocmd_link [OPTION...] -o MAIN.par"));
    const std::string hint = "Try 'ocmd_link --help'.\n2\n";
    EXPECT_EQ(shell("ocmd_link root.par; echo $?"),
              "ocmd_link: missing option: -o MAIN.par\n" + hint);
    EXPECT_EQ(shell("ocmd_link -o x; echo $?"), "ocmd_link: missing operand: ROOT.par\n" + hint);
}

TEST_F(Link, AgreesWithTheTranscript) {
    const std::string links = read_file(TEST_FILES "/transcripts/links.txt");
    EXPECT_EQ(replayed(links), links);
}

// More files than the capacity of a list, with longer names.
TEST_F(Link, AcceptsAnyNumberOfFiles) {
    const char *const parents[] = {"root", "show", "arrange", "tsh_redirect_root"};
    const std::string folder(200, 'f');
    std::filesystem::create_directory(path(folder));
    for (size_t i = 0; i < 600; ++i)
        harness::write_file(path(folder + "/" + std::to_string(i) + ".par"),
                            stored(Nodes(1), parents[i % 4]));
    EXPECT_EQ(shell("mkfifo pipe; cat root.par > pipe & ocmd_link -o main.par pipe " + folder +
                    "/*.par; echo $?; stat -c %s main.par"),
              "0\n605000\n");
}

} // namespace
