// Linking as a user does it: files in, a main par file and messages out.
#include "examples/grammar.h"
#include "parse_tree/tree_load.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/harness.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using grammar::keyword;
using grammar::parameter;
using grammar::structural;
using grammar::Word;
using harness::Outcome;
using harness::read_file;
using harness::run;

class Link : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string &name) const { return scratch_.path(name); }

    void store(const std::string &file, const std::vector<grammar::Subtree> &subtrees) const {
        grammar::write_subtree_file(path(file), subtrees);
    }
    void store_root() const {
        store("root.par", {{grammar::main_root({keyword("show"), keyword("configure")}), ""}});
    }

    // Runs a program inside the scratch folder.
    [[nodiscard]] Outcome run_here(const std::vector<std::string> &command,
                                   const std::vector<std::string> &settings = {}) const {
        std::vector<std::string> there{"env", "-C", path("")};
        there.insert(there.end(), command.begin(), command.end());
        return run(there, settings);
    }
    [[nodiscard]] Outcome link(const std::vector<std::string> &arguments,
                               const std::vector<std::string> &settings = {}) const {
        std::vector<std::string> command{OCMD_LINK};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return run_here(command, settings);
    }

    [[nodiscard]] std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(path("")))
            names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }

    harness::ScratchDir scratch_;
};

// Shared nodes, several attach paths, submodes, parameters of many types, a conflict, a chain that
// cannot be resolved, and an attach point that only the prebuilt tree has.
TEST_F(Link, PutsAGrammarTogether) {
    store_root();
    const Word end = keyword("brief").terminal().optional();
    store("version.par", {{keyword("version").terminal().child(end), "show"},
                          {keyword("users").child(end), "show"}});
    store("interface.par", {{keyword("interface")
                                 .child(parameter(0x40200001).named("port").submode())
                                 .child(parameter(0x40200002).named("ports").terminal()),
                             "configure"}});
    store("ip.par", {{keyword("ip")
                          .child(keyword("address").child(parameter(0x40000003).named("peer")))
                          .child(keyword("mtu").child(
                              parameter(0x40100001).parameter(0x40300002).named("mtu_value"))),
                      "show,port"}});
    store("leaf.par", {{keyword("secondary").terminal(), "peer,mtu_value,,peer"}});
    store("clock.par", {{keyword("clock").named("clock1").terminal(), "show"}});
    store("time.par", {{keyword("clock").named("clock2").terminal(), "show,configure"}});
    store("lost.par", {{keyword("lost"), "nowhere"}, {keyword("found"), "lost"}});
    store("trace.par", {{keyword("packets").terminal(), "trace"}, {parameter(4), "show"}});
    const Word trace = keyword("trace").terminal().child(keyword("dropped"));
    grammar::write_main_tree(
        path("main_tree.pars"),
        grammar::lay_out(structural("root").child(keyword("debug").terminal().child(trace))));

    const Outcome linked =
        link({"-v", "-p", ".", "-o", "main.par", "root.par", "version", "interface.par", "ip.par",
              "leaf.par", "clock.par", "missing", "time.par", "lost.par", "trace.par"});
    EXPECT_EQ(linked.status, 0);
    EXPECT_EQ(linked.err,
              "Treelink Error: Parser file missing.par could not be opened \n"
              "Treelink Error: Parser file missing.par was not added \n"
              "*** Treelink Warning ***: Duplicate nodename brief in version.par\n"
              "***Treelink Warning***: Unresolved path nowhere in file lost.par \n"
              "*** Treelink Warning ***: Duplicate nodename brief in version.par\n"
              "*** Tree Linking Error *** Conflicting nodes clock2 and clock1 attaching below the "
              "same parent\n");
    EXPECT_EQ(linked.out, "Merging file root.par\n"
                          "Merging file version.par\n"
                          "Merging file interface.par\n"
                          "Merging file ip.par\n"
                          "Merging file leaf.par\n"
                          "Merging file clock.par\n"
                          "Merging file missing.par\n"
                          "Merging file time.par\n"
                          "Merging file lost.par\n"
                          "Merging file trace.par\n"
                          "main_tree_to_hash: can't read file \n");
    EXPECT_EQ(run_here({OCMD_GEN, "-s", "main.par"}).out, "");
}

} // namespace
