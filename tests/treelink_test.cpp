// Linking as a user does it: subtree files in, good, damaged and hostile; a main par file and
// messages out.
#include "examples/grammar.h"
#include "feature/tsh/src/trace.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_load.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/harness.h"
#include "treelink/link_driver.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

using grammar::keyword;
using grammar::main_root;
using grammar::parameter;
using grammar::structural;
using grammar::Word;
using harness::Outcome;
using harness::read_file;

using Nodes = std::vector<tree_node_t>;

class Link : public testing::Test {
protected:
    Link() { store("root.par", {{main_root({keyword("show"), keyword("configure")}), ""}}); }

    [[nodiscard]] std::string path(const std::string &name) const { return scratch_.path(name); }
    void store(const std::string &file, const std::vector<grammar::Subtree> &subtrees) const {
        grammar::write_subtree_file(path(file), subtrees);
    }
    void store_prebuilt(const std::string &file, const Word &word) const {
        grammar::write_main_tree(path(file), grammar::lay_out(structural("root").child(word)));
    }

    // What a command prints and complains inside the scratch folder, with this build's programs.
    std::string shell(const std::string &command) {
        return harness::run({"sh", "-c", "exec 2>&1; cd " + path("") + "; " + command},
                            {"PATH=" TOOLS ":" UTILITY ":/usr/bin:/bin"})
            .out;
    }

    harness::ScratchDir scratch_;
};

// One subtree as it stands in a file.
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
// cannot be resolved, and an attach point that only the prebuilt tree has.
TEST_F(Link, PutsAGrammarTogether) {
    const Word end = keyword("brief").terminal().optional();
    store("version.par", {{keyword("version").terminal().child(end), "show"},
                          {keyword("users").child(end), "show"}});
    store("interface.par", {{keyword("interface")
                                 .child(parameter(0x40200001).named("port").submode())
                                 .child(parameter(0x40200002).named("ports").terminal()),
                             "configure"}});
    const Word mtu = parameter(0x40100001).parameter(0x40300002).named("size");
    store("ip.par", {{keyword("ip")
                          .child(keyword("address").child(parameter(0x40000003).named("peer")))
                          .child(keyword("mtu").child(mtu)),
                      "show,port"}});
    store("leaf.par", {{keyword("secondary").terminal(), "peer,size,,peer"}});
    store("clock.par", {{keyword("clock").named("clock1").terminal(), "show"}});
    store("time.par", {{keyword("clock").named("clock2").terminal(), "show,configure"}});
    store("lost.par", {{keyword("lost"), "nowhere"}, {keyword("found"), "lost"}});
    store("trace.par", {{keyword("packets").terminal(), "trace"}, {parameter(4), "show"}});
    const Word trace = keyword("trace").terminal().child(keyword("dropped"));
    store_prebuilt("main_tree.pars", keyword("debug").terminal().child(trace));
    Word ladder = keyword("end");
    for (int i = 0; i < 100; ++i) // which has more paths than any walk could follow
        ladder = keyword("a").child(ladder).child(keyword("b").child(ladder));
    store_prebuilt("main_tree2.pars", ladder);

    std::string progress =
        "*** Treelink Warning ***: Duplicate nodename brief in version.par\n"
        "Treelink Error: Parser file none.par could not be opened \n"
        "Treelink Error: Parser file none.par was not added \n"
        "***Treelink Warning***: Unresolved path nowhere in file lost.par \n"
        "*** Treelink Warning ***: Duplicate nodename brief in version.par\n"
        "*** Tree Linking Error *** Conflicting nodes clock2 and clock1 attaching below the "
        "same parent\n"
        "*** Tree Linking Error *** Conflicting nodes secondary and secondary attaching below the "
        "same parent\n";
    for (const char *file : {"root.par", "version.par", "interface.par", "ip.par", "leaf.pars",
                             "clock.par", "none.par", "time.par", "lost.par", "trace.par"})
        progress.append("Merging file ").append(file).append("\n");
    for (const char *name : {"show", "trace", "root", "debug", "show", "configure", "peer", "size",
                             "show", "port", "configure", "show", "show"})
        progress.append("Linked subtree at attach path ").append(name).append(" \n");
    EXPECT_EQ(
        shell("cp leaf.par leaf.pars; cp root.par tsh_root.par; ocmd_link -v -p . -o main.par "
              "root.par version interface.par ip tsh_root leaf.pars tsh_root.par main_tree "
              "clock.par none time.par lost.par trace.par | sed '/^$/,$d'"), // up to the tree
        progress);
    EXPECT_EQ(shell("ocmd_gen -s main.par"), R"(
[     1].  debug  trace  packets
[     2].  show  clock
[     3].  show  ip  address  <IP ADDRIPv4 Address>  secondary
[     4].  show  ip  mtu  <INTEGER><WWN>  secondary
[     5].  show  users  brief[o]
[     6].  show  version
[     7].  show  version  brief[o]
[     8].  configure  clock
[     9].  configure  interface  <INTERFACE>
[    10].    ip  address  <IP ADDRIPv4 Address>  secondary
[    11].    ip  mtu  <INTEGER><WWN>  secondary
[    12].  configure  interface  <INTERFACE RANGE>

)");
}

TEST_F(Link, NamesItsFiles) {
    const std::string longest = std::string(59, 'n') + ".par";
    const std::string merging = "Merging file root.par\n";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"x/tsh_root.par"}, merging + "-1\n"}, // which is not there
        {{longest + "s"},
         merging + "Treelink Error: filename " + longest + "s too long by 1\n-1\n"},
        {{longest, longest + "s"},
         merging + "Merging file " + longest + "\nMerging file " + longest + "\n5\n"},
        {std::vector<std::string>(513, "acl"), "-1\n"},
    };
    std::filesystem::current_path(path(""));
    for (const auto &[names, out] : cases) {
        par_file_list_t list{{}, static_cast<int32_t>(names.size()) - 1};
        for (size_t i = 0; i < names.size() && i < PAR_FILE_LIST_SIZE; ++i)
            strcpy(reinterpret_cast<char *>(&list.entries[i]) + 24, names[i].c_str());
        const auto link = [&] {
            tree_node_t *tree = nullptr;
            verbose = 1;
            return printf("%d\n", get_linked_parse_tree(&tree, &list, "root.par"));
        };
        EXPECT_EQ(harness::in_child(link).out, out);
    }
}

TEST_F(Link, RefusesWhatNoTreeHolds) {
    Word wide = keyword("wide");
    for (int i = 0; i < TREE_MAX_CHILDREN; ++i)
        wide.child(keyword(std::string("w").append(std::to_string(i))));
    store("wide.par", {{wide, ""}});
    store("one.par", {{keyword("one"), "wide,show"}});
    harness::write_file(path("large.par"), stored(Nodes(TREE_MAX_NODES - 1), ""));
    harness::write_file(path("empty.par"), "");
    const std::string error = "*** Tree Linking Error *** ";
    const std::string no_root = "Treelink Error: Error in adding root parser file \n1\nold";
    const std::pair<const char *, std::string> cases[] = {
        {"root.par wide.par one.par",
         error + "Node one not attached below wide: it has 192 children already\n0\nroo"},
        {"one.par large.par", "0\none"},
        {"root.par large.par", error + "The linked tree would have 65540 nodes, but child indices "
                                       "reach only 65536\n1\nold"},
        {"empty.par one.par",
         "***Treelink Warning***: Unresolved path wide in file one.par \n" + no_root},
        {"none.par", "Treelink Error: Parser file none.par could not be opened \n" + no_root},
    };
    const std::string link = "echo old > main.par; ocmd_link -o main.par ";
    for (const auto &[files, text] : cases)
        EXPECT_EQ(shell(link + files + "; echo $?; head -c 3 main.par"), text);
}

// The old file or the new one, whole, and never a third.
TEST_F(Link, ReplacesAllOrNothing) {
    const std::string link = "ocmd_link -o main.par root.par; echo $?; ls -a | grep main; ";
    EXPECT_EQ(shell("umask 27; " + link + "stat -c '%a %s' main.par"), "0\nmain.par\n640 5000\n");
    EXPECT_EQ(shell("echo old > there; chmod 604 there; ln -sf there main.par; " + link +
                    "stat -c '%F %a %s' main.par there"),
              "0\nmain.par\nsymbolic link 777 5\nregular file 604 5000\n");
    const std::string full = "Error in writing to main_tree file\n1\nmain.par\n";
    EXPECT_EQ(shell("echo old > there; trap '' XFSZ; ulimit -f 2; " + link + "cat there"),
              full + "old\n");
    EXPECT_EQ(shell("ln -sf /dev/full main.par; " + link + "stat -c %F main.par"),
              full + "symbolic link\n");
    EXPECT_EQ(shell("ocmd_link -o none/main.par root.par"),
              "Error: Could not open main par file for writing \n");
    EXPECT_EQ(shell("ocmd_link -o there root.par >&- 2>&-; echo $?; ocmd_link -o /dev/stdout "
                    "root.par | cmp - there; ocmd_link -n -o net root.par; cmp net there | wc -l; "
                    "od -An -tx1 -j 566 -N 4 net; ocmd_link -v -o there root.par >/dev/full"),
              "0\n1\n 00 03 00 01\nocmd_link: cannot write to standard output: No space left on "
              "device\n");
    // Killed at any time.
    for (int i = 0; i < 40; ++i) {
        const std::string now = shell("echo old > there; ocmd_link -o there root.par & sleep 0.00" +
                                      std::to_string(i % 10) + "; kill -9 $! 2>&-; cat there");
        EXPECT_TRUE(now == "old\n" || now.size() == 5000) << now.size();
    }
}

Nodes chain(uint16_t levels) {
    Nodes nodes(levels);
    for (uint16_t i = 1; i < levels; ++i)
        nodes[i - 1U].children[nodes[i - 1U].child_count++] = i;
    return nodes;
}

// A subtree with one word changed, most significant byte first.
std::string poked(size_t offset, uint32_t word, std::string bytes = stored(Nodes(1))) {
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        bytes[offset++] = static_cast<char>(word >> shift);
    return bytes;
}

TEST_F(Link, ReadsWhatIsSoundAndRefusesTheRest) {
    constexpr size_t kPathLength = offsetof(subtree_header_t, path_len);
    constexpr size_t kTreeBytes = offsetof(subtree_header_t, tree_bytes);
    constexpr size_t kHeader = sizeof(subtree_header_t);
    const std::string n31 = "n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,n,";
    const std::string long_name(63, 'l');
    const std::string corrupted =
        "*** Treelink Warning ***: Incompatible format/Corrupted .par file x.par ignored\n";
    const std::string cut = "Treelink Error: Not able to read file x.par\n";
    const std::string not_to_end =
        "*** Treelink Warning ***: File x.par could not be read to its end: ";
    Nodes circle = chain(4);
    circle[2].children[circle[2].child_count++] = 0;
    struct {
        std::string bytes;   // of the second of three subtrees
        std::string printed; // about the second, and where it and the last were linked
    } const cases[] = {
        {stored(chain(256), ",c,,n,"), "a b c n "},
        {stored(Nodes(1), ""), "a b "},
        {stored(Nodes(1), long_name + "cut"), "a b " + long_name + " "},
        {stored(Nodes(1), n31 + "c"), "a b n c "},
        {stored(Nodes(1), n31 + "n,c"), corrupted},
        {poked(kHeader, 0x612C6221), "a b a b! "}, // "a,b!" without terminator
        {poked(kHeader + 1020, 0x2C2C6321, stored(Nodes(1), std::string(1023, ','))),
         "a b c "}, // the field has no room for the last
        {poked(kPathLength, 1025), corrupted},
        {poked(kPathLength, UINT32_MAX), corrupted},
        {poked(kTreeBytes, 1500), corrupted},
        {poked(kTreeBytes, UINT32_MAX / 1000 * 1000), corrupted},
        {poked(kTreeBytes, 65537000), corrupted},
        {poked(kTreeBytes, 65536000), cut},
        {poked(kTreeBytes, 0), ""},
        {stored(chain(1000)), "a b a b "},
        {stored(circle), corrupted},
    };
    Word root = structural("root");
    for (const char *name : {"a", "b", "b!", "c", "n", long_name.c_str()})
        root.child(structural(name));
    store("root.par", {{root, ""}});
    const std::string link = "ocmd_link -v -o /dev/null root.par x.par | "
                             "sed -n 's/^Linked subtree at attach path //p' | tr -d '\n'; ";
    const std::string whole = stored(Nodes(1));
    const auto check = [&](const std::string &file, const std::string &printed) {
        harness::write_file(path("x.par"), file);
        EXPECT_EQ(shell(link + "gzip x.par; mv x.par.gz x.par; " + link), printed + printed);
    };
    for (const auto &test : cases)
        check(std::string(whole).append(test.bytes) + whole, test.printed + "a b ");
    check(whole, "a b ");
    for (const unsigned length : {1U, 23U, 24U, 27U, 28U, 500U, 1027U})
        check(whole + whole.substr(0, length),
              (length < kHeader ? not_to_end + "it ends inside a header\n" : cut) + "a b ");
    harness::write_file(path("x.par"), whole);
    shell(R"(gzip x.par; printf '\37\213\10\377 is no gzip header' | cat x.par.gz - > x.par)");
    EXPECT_EQ(shell(link), not_to_end + "its compressed data cannot be inflated\na b ");
    // Compressed data that end anywhere at all.
    harness::write_file(path("x.par"), whole + whole);
    const auto gzipped = std::stoul(shell("gzip x.par; stat -c %s x.par.gz"));
    for (unsigned long length = 2; length < gzipped; ++length) {
        const std::string told =
            shell("head -c " + std::to_string(length) + " x.par.gz > x.par; " + link);
        EXPECT_TRUE(told.starts_with(cut) ||
                    told.starts_with(not_to_end + "its compressed data end early\n"))
            << length << ": " << told;
    }
}

// The operations beside the link itself, as other programs call them.
TEST_F(Link, ServesOtherPrograms) {
    store("tree.par", {{keyword("one").child(keyword("two")), "show"}});
    const Outcome outcome = harness::in_child([&] {
        tree_node_t *tree = nullptr;
        debug_flag = 1;
        for (const std::string &name :
             {std::string("/"), std::string("/dev/null"), path("tree.par")})
            printf("%d\n", get_main_parse_tree(name.c_str(), &tree));
        assign_space(ASSIGN_SPACE_EXACT, 3);
        tsh_main_tree[2] = *tree;
        tsh_main_tree_node_count = 3;
        debug_flag = 0;
        assign_space(0, 4);
        return printf("%u %s\n", tsh_main_tree_max_nodes, tsh_main_tree[2].name);
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
12 one
)");
}

TEST_F(Link, ExplainsItself) {
    const std::string usage =
        "Usage: ocmd_link [-n] [-v] [-p DIRECTORY] -o MAIN.par ROOT.par [SUBTREE.par ...]\n";
    EXPECT_TRUE(shell("ocmd_link --help").starts_with(usage));
    EXPECT_EQ(shell("ocmd_link root.par; ocmd_link -o x; ocmd_link -o x $(seq 514); echo $?"),
              "ocmd_link: no output file: -o is missing\n" + usage + "ocmd_link: no root file\n" +
                  usage + "ocmd_link: too many subtree files, the list holds 512\n" + usage +
                  "1\n");
    EXPECT_TRUE(
        shell("ocmd_link -o x x $(printf %060d 0)").starts_with("ocmd_link: file name lon"));
}

// Whichever allocation fails, the process ends with its own status and the old file stays.
TEST_F(Link, EndsWithStatus100WithoutMemory) {
    if (!failing_malloc::available())
        GTEST_SKIP() << "a sanitizer owns malloc";
    store("one.par", {{keyword("one"), "show,root,debug"}});
    shell("cp root.par main_tree.pars; ocmd_link -o new root.par one.par");
    int status = 100;
    for (int failing = 1; status == 100; ++failing) {
        status = std::stoi(
            shell("echo old > main.par; LD_PRELOAD=" FAILING_MALLOC " FAIL_ALLOCATION=" +
                  std::to_string(failing) +
                  " ocmd_link -p . -o main.par root.par one.par >/dev/null 2>&1; echo $?"));
        EXPECT_EQ(read_file(path("main.par")), status == 0 ? read_file(path("new")) : "old\n");
    }
    EXPECT_EQ(status, 0);
}

} // namespace
