// The utility as a user runs it: options, listings, dumps, refused files and bad days.
#include "examples/grammar.h"
#include "parse_tree/tree_load.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/harness.h"

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using grammar::keyword;
using grammar::main_root;
using grammar::parameter;
using grammar::Word;
using harness::Outcome;
using harness::run;

constexpr const char *kUtility = OCMD_GEN;
constexpr const char *kNotMapped = "\n Error mapping main parse tree... \n";
constexpr const char *kNoRedirectRoot = "\n Error finding the tsh redirect root node ... \n";
constexpr const char *kUsage = "\n\tOstrel Command Generation Utility"
                               "\n\n\tocmd_gen [-h] [-s tsh par file]"
                               "\n\t-h\tthis help"
                               "\n\t-s\tspecify .par file\n\n";

Word sample_root() {
    Word submode = parameter(0x40200001).submode();
    submode.child(keyword("shutdown").terminal())
        .child(keyword("description").child(parameter(2).optional().terminal()));
    return main_root({keyword("show").child(keyword("version").terminal()),
                      keyword("interface").child(submode),
                      keyword("peer")
                          .parameter(0x40100003)
                          .parameter(0x7F100000)
                          .optional(7)
                          .flags(TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)});
}

constexpr const char *kSampleListing = "\n[     1].  show  version"
                                       "\n[     2].  interface  <INTERFACE>"
                                       "\n[     3].    shutdown"
                                       "\n[     4].    description  <LINE>[o]"
                                       "\n[     5].  peer[o]<INTEGERINTEGER RANGE>[o]<>[o]";

// A hundred words, each with two spellings of what follows: more lines than any run could print.
Word endless_root() {
    Word word = keyword("end").terminal();
    for (int level = 0; level < 100; ++level)
        word = keyword("a").child(word).child(keyword("b").terminal().child(word));
    return main_root({word});
}

class Utility : public testing::Test {
protected:
    std::string store(const std::vector<tree_node_t> &nodes) {
        grammar::write_main_tree(scratch_.path("main.par"), nodes);
        return scratch_.path("main.par");
    }
    std::string store(const Word &root) { return store(grammar::lay_out(root)); }

    harness::ScratchDir scratch_;
};

TEST_F(Utility, ListsAndDumpsATree) {
    const std::string tree = store(sample_root());

    const Outcome listing = run({kUtility, "-s", tree});
    EXPECT_EQ(listing.status, 0);
    EXPECT_EQ(listing.out, kSampleListing + std::string("\n\n"));

    const Outcome dump = run({kUtility, "-g", "-s", tree});
    EXPECT_EQ(dump.status, 0);
    EXPECT_EQ(dump.out, "\n  {  }[1], [4], [0], [0], [0]"
                        "\n   { show }[2], [1], [0], [0], [0]"
                        "\n   { version }[2], [0], [4], [0], [0]( terminal )"
                        "\n   { interface }[2], [1], [0], [0], [0]"
                        "\n   {  }[2], [2], [8], [0], [1]( submode )"
                        "\n   { shutdown }[2], [0], [4], [0], [0]( terminal )"
                        "\n   { description }[2], [1], [0], [0], [0]"
                        "\n   {  }[2], [0], [4], [0], [1]( Optional )( terminal )"
                        "\n   { peer }[2], [0], [c], [0], [2]( Optional )( terminal )( submode )"
                        "\n   {  }[2], [1], [0], [0], [0]"
                        "\n   {  }[2], [0], [0], [0], [0]");
    EXPECT_EQ(listing.err + dump.err, "");
}

TEST_F(Utility, TakesOptionsAndNamesTheTree) {
    const std::string tree = store(sample_root());
    const std::string other = scratch_.path("other.par");
    grammar::write_main_tree(other, grammar::lay_out(main_root({keyword("x").terminal()})));
    const std::string listing = kSampleListing + std::string("\n\n");
    const struct {
        std::vector<std::string> arguments;
        std::string environment;
        int status;
        std::string out;
    } table[] = {
        {{"-h"}, "", 1, kUsage},
        {{"-g", "-h"}, "", 1, kUsage},
        {{"-h", "-g", "-z"}, "", 1, kUsage},
        {{"-z"}, "", 1, ""},
        {{"-s"}, "", 1, ""},
        {{"-s", other, "-s", tree}, "", 0, listing},
        {{"-s", tree}, other, 0, listing},
        {{}, tree, 0, listing},
        {{"-s", tree + std::string(128, 'x')}, "", 1, kNotMapped},
        {{}, "/" + std::string(200, 'x'), 1, kNotMapped},
    };
    for (const auto &row : table) {
        std::vector<std::string> command{kUtility};
        command.insert(command.end(), row.arguments.begin(), row.arguments.end());
        const Outcome outcome = run(command, {"TSH_PARSE_TREE=" + row.environment});
        EXPECT_EQ(outcome.status, row.status) << testing::PrintToString(command);
        EXPECT_EQ(outcome.out, row.out) << testing::PrintToString(command);
    }
}

TEST_F(Utility, RefusesFilesThatAreNoTree) {
    const struct {
        std::string name;
        std::function<void(const std::string &)> make;
        std::string err;
    } table[] = {
        {"missing", [](const std::string &) {}, ""},
        {"empty", [](const auto &path) { harness::write_file(path, ""); },
         "Error mapping file: Invalid argument\n"},
        {"one byte", [](const auto &path) { harness::write_file(path, "x"); },
         "Problem with the parser file.\n"},
        {"short", [](const auto &path) { harness::write_file(path, std::string(999, 0)); },
         "Problem with the parser file.\n"},
        {"long", [](const auto &path) { harness::write_file(path, std::string(1001, 0)); },
         "Problem with the parser file.\n"},
        {"directory", [](const auto &path) { mkdir(path.c_str(), 0777); },
         "Problem with the parser file.\n"},
        {"pipe", [](const auto &path) { mkfifo(path.c_str(), 0666); },
         "Error mapping file: Invalid argument\n"},
    };
    for (const auto &row : table) {
        const std::string path = scratch_.path(row.name);
        row.make(path);
        for (const char *option : {"-s", "-gs"}) {
            const Outcome outcome = run({kUtility, option, path});
            EXPECT_EQ(outcome.status, 1) << row.name;
            EXPECT_EQ(outcome.out, kNotMapped) << row.name;
            EXPECT_EQ(outcome.err, row.err) << row.name;
        }
    }
}

Word chain(int levels) {
    Word word = keyword("end").terminal();
    for (; levels > 1; --levels)
        word = keyword("on").child(word);
    return word;
}

TEST_F(Utility, RefusesTreesThatBreakTheRecordsRules) {
    using Nodes = std::vector<tree_node_t>;
    const struct {
        const char *fault; // on standard error; null for a tree that is sound
        std::function<void(Nodes &)> spoil;
    } table[] = {
        {"node 2 \"version\": a child index lies outside the tree",
         [](Nodes &n) { n[2].child_count = 1, n[2].children[0] = 65535; }},
        {"node 2 \"version\": a child index lies outside the tree",
         [](Nodes &n) { n[2].child_count = 1, n[2].children[0] = uint16_t(n.size()); }},
        {"node 9 \"tsh_redirect_root\": child_count is above 192",
         [](Nodes &n) { n[9].child_count = 193; }},
        {"node 1 \"show\": child_count is above 192", [](Nodes &n) { n[1].child_count = 65535; }},
        {"node 8 \"peer\": param_count is above 2", [](Nodes &n) { n[8].param_count = 3; }},
        {"node 4 \"parameter\": a child is listed twice",
         [](Nodes &n) { n[4].children[1] = n[4].children[0]; }},
        {"node 5 \"shutdown\": a link leads back to an ancestor",
         [](Nodes &n) { n[5].child_count = 1, n[5].children[0] = 5; }},
        {"node 7 \"parameter\": a link leads back to an ancestor",
         [](Nodes &n) { n[7].child_count = 1, n[7].children[0] = 3; }},
        {"node 3 \"?nt?\": token is not terminated",
         [](Nodes &n) { strcpy(n[3].name, "\nnt\x80"), memset(n[3].token, 'x', 32); }},
        {": name is not terminated", [](Nodes &n) { memset(n[1].name, 'x', 64); }},
        {": help is not terminated", [](Nodes &n) { memset(n[1].help, 'x', 64); }},
        {": submode_help is not terminated", [](Nodes &n) { memset(n[1].submode_help, 1, 32); }},
        {": aux_text is not terminated", [](Nodes &n) { memset(n[1].aux_text, 'x', 16); }},
        {": func_id is not terminated", [](Nodes &n) { memset(n[1].func_id, 'x', 48); }},
        {": mode_id is not terminated", [](Nodes &n) { memset(n[1].mode_id, 'x', 24); }},
        {": aux_label is not terminated", [](Nodes &n) { memset(n[1].aux_label, 'x', 48); }},
        {"deeper than 256 levels", [](Nodes &n) { n = grammar::lay_out(main_root({chain(256)})); }},
        {"deeper than 256 levels", // found by following links, as they lead backwards
         [](Nodes &n) {
             n = grammar::lay_out(main_root({chain(300)}));
             std::reverse(n.begin() + 1, n.end());
             for (tree_node_t &node : n)
                 for (uint16_t i = 0; i < node.child_count; ++i)
                     node.children[i] = uint16_t(n.size() - node.children[i]);
         }},
        {"node 70000 \"\": child_count is above 192",
         [](Nodes &n) { n.resize(70001), n[70000].child_count = 200; }},
        {nullptr, [](Nodes &n) { n = grammar::lay_out(main_root({chain(255)})); }},
        {nullptr, [](Nodes &n) { n.resize(70000); }},
        {nullptr, // a shared child, and links without meaning behind the last child
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
        const std::string path = store(nodes);
        const Outcome outcome = run({kUtility, "-s", path});
        if (row.fault == nullptr) {
            EXPECT_EQ(outcome.status, 0) << outcome.err;
            continue;
        }
        EXPECT_EQ(outcome.status, 1) << row.fault;
        EXPECT_EQ(outcome.out, kNotMapped) << row.fault;
        EXPECT_TRUE(outcome.err.starts_with(path + ": node ")) << outcome.err;
        EXPECT_TRUE(outcome.err.ends_with(row.fault + std::string("\n"))) << outcome.err;
    }
}

TEST_F(Utility, NeedsARedirectRootBehindTheFirstChild) {
    const Word redirect = grammar::structural("tsh_redirect_root");
    const Word only = grammar::structural("root").child(redirect);
    const Word first = grammar::structural("root").child(redirect).child(keyword("x"));
    const Word almost = grammar::structural("root")
                            .child(keyword("x"))
                            .child(keyword("y").named("tsh_redirect_root2"));
    for (const Word &root : {only, first, almost, grammar::structural("root")}) {
        const Outcome outcome = run({kUtility, "-s", store(root)});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, kNoRedirectRoot);
    }
    EXPECT_EQ(run({kUtility, "-s", store(main_root({keyword("x")}))}).out, "\n\n");
}

TEST_F(Utility, NoticesEveryLostByte) {
    const std::string small = store(sample_root());
    const std::string endless = scratch_.path("endless.par");
    grammar::write_main_tree(endless, grammar::lay_out(endless_root()));
    for (const std::string &tree : {small, endless}) {
        for (const char *options : {"-s", "-gs"}) {
            for (const char *target : {">/dev/full", ">&-"}) {
                const Outcome outcome = run({"sh", "-c", std::string(R"("$0" "$1" "$2" )") + target,
                                             kUtility, options, tree});
                EXPECT_EQ(outcome.status, 1) << options << target;
                EXPECT_TRUE(outcome.err.starts_with("ocmd_gen: cannot write to standard output: "))
                    << outcome.err;
            }
        }
    }
}

TEST_F(Utility, EndsAtOnceOnASignalOrAClosedPipe) {
    const std::string tree = store(endless_root());
    for (const char *options : {"-s", "-gs"}) {
        const std::string start = "\"$0\" " + std::string(options) + " \"$1\" ";
        const Outcome piped = run({"sh", "-c", start + "| head -c 9", kUtility, tree});
        EXPECT_EQ(piped.out.size(), 9U);
        const Outcome killed =
            run({"sh", "-c", "exec timeout -s INT 0.2 " + start + ">/dev/null", kUtility, tree});
        EXPECT_EQ(killed.status, 124); // timeout's own: the program ended of the signal
    }
}

// Lets each allocation of a run fail in turn. However it ends, what was printed before stands.
TEST_F(Utility, SurvivesEveryAllocationFailure) {
    if (!failing_malloc::available())
        GTEST_SKIP() << "a sanitizer owns malloc";
    const std::string tree = store(sample_root());
    const std::string dump = run({kUtility, "-g", "-s", tree}).out;
    bool no_registry = false;
    bool no_line = false;
    bool unharmed = false; // and so past the last allocation
    for (int failing = 1; !(no_line && unharmed); ++failing) {
        const std::vector<std::string> settings{"LD_PRELOAD=" FAILING_MALLOC,
                                                "FAIL_ALLOCATION=" + std::to_string(failing)};
        if (failing < 20) {
            EXPECT_EQ(run({kUtility, "-g", "-s", tree}, settings).out, dump);
        }
        const Outcome outcome = run({kUtility, "-s", tree}, settings);
        if (outcome.out.find("Registration failed") != std::string::npos) {
            no_registry = true;
            EXPECT_EQ(outcome.status, 1);
            EXPECT_TRUE(outcome.out.starts_with("\nErr: Malloc failed...\nParam Name : "));
            continue;
        }
        EXPECT_EQ(outcome.status, 0);
        unharmed = outcome.err.empty();
        if (unharmed) {
            EXPECT_EQ(outcome.out, kSampleListing + std::string("\n\n"));
            continue;
        }
        no_line = true;
        EXPECT_EQ(outcome.err, "\nMem alloc failed...");
        EXPECT_TRUE(outcome.out.ends_with("alloc failed...Mem alloc errorr..\n\n")) << outcome.out;
        const std::string before = outcome.out.substr(0, outcome.out.find("\nErr: "));
        EXPECT_EQ(before, std::string(kSampleListing).substr(0, before.size()));
    }
    EXPECT_TRUE(no_registry);
}

} // namespace
