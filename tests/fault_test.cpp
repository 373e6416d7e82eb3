// Fault injection tests: a table of runs, in each of which every allocation and every system call
// fails in turn, once and from there on. doc/faults.md describes the required behaviour.
#include "tests/support/failing_malloc.h"
#include "tests/support/scratch_test.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

namespace {

using harness::Outcome;

struct Scenario {
    const char *name;
    const char *command;
    std::set<int> failures;        // the documented statuses of a failed run
    const char *circumstance = ""; // permanent faults, which select another way
};

void PrintTo(const Scenario &scenario, std::ostream *stream) {
    *stream << scenario.command;
}

const std::set<int> kUtility{1};
const std::set<int> kTool{2};
constexpr int kLinkWithoutMemory = 100; // it exits immediately
const std::set<int> kLinker{1, 2, kLinkWithoutMemory};

const Scenario kScenarios[] = {
    {"List", "ocmd_gen -s main.par", kUtility},
    {"ListLong", "ocmd_gen -s wide.par", kUtility},
    {"Dump", "ocmd_gen -gs main.par", kUtility},
    {"DumpLong", "ocmd_gen -gs wide.par", kUtility},
    {"ListNothing", "ocmd_gen -s root.par", {}},
    {"Link", "ocmd_link --strict -p . -o old root.par one.par", kLinker},
    {"LinkFirst", "ocmd_link --strict -p . -o new root.par one.par", kLinker},
    {"LinkWhatIsThere", "ocmd_link -p . -o old root.par one.par", kLinker},
    {"LinkThroughNamed", "ocmd_link -o old root.par", kLinker, "FAULT_nameless=1-"},
    {"LinkOverOld", "ocmd_link -o old root.par", kLinker, "FAULT_create=1- FAULT_nameless=1-"},
    {"LinkOverBusy", "ocmd_link -o wide.par root.par", kLinker, "FAULT_rename=1-"},
    {"LinkOverOthers", "ocmd_link -o old root.par", kLinker, "FAULT_rights=1-"},
    {"LinkWithoutNames", "ocmd_link -o old root.par", kLinker, "FAULT_link=1-"},
    {"LinkStreams", "ocmd_link -v -o - - <root.par", kLinker},
    {"Compile", "ocmd_compile -o old one.yaml", kTool},
    {"CompileEach", "ocmd_compile one.yaml root.yaml", kTool},
    {"CompileMain", "ocmd_compile --main -o old main.yaml", kTool},
    {"CompileLinked",
     "ocmd_compile --main -p . -M rule -o old root.yaml one.yaml",
     {2, kLinkWithoutMemory}},
    {"CompileStreams", "ocmd_compile --main -o - - <main.yaml", kTool},
    {"CompileFaulty", "ocmd_compile -o old faulty.yaml", kTool},
    {"CompileLines", "ocmd_compile --lines -o old saved", kTool},
    {"Summary", "ocmd_show one.par", kTool},
    {"Commands", "ocmd_show --commands wide.par", kTool},
    {"Nodes", "ocmd_show --nodes one.par", kTool},
    {"Yaml", "ocmd_show --yaml main.par", kTool},
    {"Json", "ocmd_show --json - <one.par", kTool},
    {"Dot", "ocmd_show --dot --below lamp main.par", kTool},
    {"Functions", "ocmd_show --functions=c main.par", kTool},
    {"Html", "ocmd_show --html main.par", kTool},
    {"Check", "ocmd_show --check main.par", kTool},
    {"Diff", "ocmd_diff main.par one.par", kTool},
    {"DiffFields", "ocmd_diff --fields main.par one.par", kTool},
    {"DiffCount", "ocmd_diff --stat main.par - <one.par", kTool},
    {"Find", "ocmd_find main.par la 3 / br 12", kTool},
    {"FindNothing", "ocmd_find main.par la 3 / br 120", kTool},
    {"DiffGroup", "ocmd_diff --group main.par one.par", kTool},
    {"DiffJson", "ocmd_diff --json main.par one.par", kTool},
    {"FindJson", "ocmd_find --json main.par la 3 / br 12", kTool},
    {"Sample", "ocmd_sample --values random main.par", kTool},
    {"SampleWrong", "ocmd_sample --wrong --flat - <one.par", kTool},
    {"Try", "ocmd_try main.par <typed", kTool},
    {"FindSaved", "ocmd_find main.par --config=saved", kTool},
    {"FindSavedStream", "ocmd_find one.par --config=- <saved", kTool},
};

constexpr const char *kMain = R"(words: {
  show: {words: {lamps: {help: Lamps, command: show_lamps, words: {<INTEGER>: show_lamp}}}},
  lamp: {name: lamp, words: {<INTEGER>: {min: 1, submode: {help: Lamp, mode: lamp}, words: {
    bright: {words: {<INTEGER>: {max: 100, command: lamp_bright}}}, dark: lamp_dark}}}}})";
constexpr const char *kRoot = "words: {show: {name: show, words: {bells: show_bells}}}";
constexpr const char *kOne = R"(
below: show
words: {one: {name: one, words: {<INTEGER>: show_one}}}
---
below: [one, lamp]
words: {show: {help: Two, words: {lamps: show_two}}}
)";
constexpr const char *kFaulty = "words: {one: {comand: x}, two: {min: y}, <NONE>: three}";
constexpr const char *kSaved = "lamp 3\n  bright 80\n  dusk\nshow lamps\n";

// A tree whose lines fill several output blocks: two for each line below it at every level.
std::string wide() {
    std::string words = "{one: end, two: end}";
    for (const std::string level : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"}) {
        words.insert(0, "{one: {words: &" + level + " ");
        words += "}, two: {words: *" + level + "}}";
    }
    return "words: " + words;
}

using Contents = std::map<std::string, std::string>; // of a directory, by name

// Error messages of the library on standard output, which are among the results.
constexpr const char *kMessages[] = {"\nErr", "\n Error", "Error", "main_tree_to_hash"};

constexpr const char *kNoMemory[] = {"alloc failed", "out of memory", "failed to allocate",
                                     "no memory"};

bool is_told(const Outcome &outcome, const char *text) {
    return (outcome.out + outcome.err).find(text) != std::string::npos;
}

std::string without_messages(const std::string &out) {
    size_t end = out.size();
    for (const char *message : kMessages)
        end = std::min(end, out.find(message));
    return out.substr(0, end);
}

class Faults : public harness::ScratchTest, public testing::WithParamInterface<Scenario> {
protected:
    Faults() {
        std::filesystem::create_directory(path("work"));
        before_ = {{"main.yaml", kMain},     {"root.yaml", kRoot},
                   {"one.yaml", kOne},       {"wide.yaml", wide()},
                   {"faulty.yaml", kFaulty}, {"saved", kSaved},
                   {"old", "old"},           {"typed", "la 3\n:where\nbr 12\nbr 120\n"}};
        restore();
        EXPECT_EQ(shell("ln -s \"$FAULTS\" faults.so; cd work; ocmd_compile root.yaml one.yaml && "
                        "ocmd_compile --main main.yaml && ocmd_compile --main wide.yaml && "
                        "cp main.par main_tree.pars && cp main.par main_tree2.pars"),
                  (Outcome{0, "", ""}));
        before_ = contents();
    }

    [[nodiscard]] Contents contents() const {
        Contents contents;
        for (const auto &file : std::filesystem::directory_iterator(path("work")))
            contents[file.path().filename()] = harness::read_file(file.path());
        return contents;
    }

    void restore() {
        for (const auto &[name, bytes] : after_)
            std::filesystem::remove(path("work/" + name));
        for (const auto &[name, bytes] : before_)
            store("work/" + name, bytes);
    }

    // Runs the program in the directory in its initial state.
    Outcome run(const std::string &faults) {
        restore();
        Outcome outcome = shell("cd work; export LD_PRELOAD=../faults.so FAULT_COUNTS=../counts " +
                                faults + "; exec " + GetParam().command);
        after_ = contents();
        const bool has_ended_itself = std::filesystem::exists(path("counts"));
        counts_ = has_ended_itself ? harness::read_file(path("counts")) : "0";
        std::filesystem::remove(path("counts"));
        return outcome;
    }

    // Returns what is wrong with the result of a run with a fault; empty if nothing is. If memory
    // runs out during a listing, it ends early with status 0.
    std::string flaw(const Outcome &outcome, const std::string &reason, bool can_be_told) {
        const std::string results = without_messages(outcome.out);
        const bool ended_early = is_told(outcome, "Mem alloc errorr..");
        const bool done = outcome.status == whole_.status && !ended_early;
        if (done && results != without_messages(whole_.out))
            return "other output";
        if (!whole_.out.starts_with(results))
            return "torn output";
        if (done && after_ != whole_after_)
            return "other result";
        if (reason == strerror(ENOMEM) && outcome.status != kLinkWithoutMemory &&
            std::stol(counts_) > most_live_) // after other faults, a sanitizer checks for leaks
            return "memory not released";
        for (const auto &[name, bytes] : before_)
            if (!after_.contains(name))
                return name + " is gone";
        for (const auto &[name, bytes] : after_)
            if (!is_known(name, bytes) && !is_part_of_link(outcome.status, name))
                return name + " is torn";
        if (done)
            return "";
        if (!GetParam().failures.contains(outcome.status) && !ended_early)
            return "no such status";
        const auto told = [&](const char *text) { return is_told(outcome, text); };
        if (!can_be_told || told(reason.c_str()) || std::ranges::any_of(kNoMemory, told))
            return "";
        return "no reason";
    }

    // If an input was skipped, the linker writes the tree of the others.
    [[nodiscard]] bool is_part_of_link(int status, const std::string &name) const {
        return status == 1 && name == "old" &&
               shell("ocmd_show --kind=main --check work/old").status == 0;
    }

    [[nodiscard]] bool is_known(const std::string &name, const std::string &bytes) const {
        const auto holds = [&](const Contents *known) {
            return known->contains(name) && known->at(name) == bytes;
        };
        return std::ranges::any_of(std::array{&before_, &whole_after_}, holds);
    }

    Contents before_;
    Contents after_;
    Outcome whole_{};
    Contents whole_after_;
    std::string counts_; // blocks that were not released, and numbers of calls
    long most_live_ = 0;
};

// Returns numbers from the first to the last; a sample if they are too many.
std::set<long> sample(long count) {
    const char *wanted = getenv("FAULT_SAMPLE");
    const long most = wanted != nullptr ? atol(wanted) : failing_malloc::available() ? 40 : 4;
    std::set<long> numbers;
    for (long i = 0; i < count; i += 1 + count / (most + 1))
        numbers.insert({i + 1, count - i});
    return numbers;
}

TEST_P(Faults, LeadToADocumentedResult) {
    whole_ = run(GetParam().circumstance);
    whole_after_ = after_;
    ASSERT_NE(counts_, "0") << "no call can be made to fail: " << whole_;
    std::istringstream counts{counts_};
    counts >> most_live_;
    ++most_live_; // the buffer of standard output, which is otherwise used for results only
    std::string kind;
    std::string reason;
    for (long count = 0; counts >> kind >> count && std::getline(counts >> std::ws, reason);)
        for (const long number : sample(count))
            for (const char *range : {"", "-"}) {
                const std::string fault =
                    std::string("FAULT_").append(kind + "=" + std::to_string(number)) + range;
                const Outcome outcome = run(fault + " " + GetParam().circumstance);
                const bool can_be_told = kind != "write" || *range == '\0';
                EXPECT_EQ(flaw(outcome, reason, can_be_told), "") << fault << ": " << outcome;
            }
}

class Durability : public Faults {};

// One call for the file and one for its directory; their order is not counted.
TEST_P(Durability, ResultAndItsNameAreSynchronized) {
    EXPECT_EQ(run(GetParam().circumstance).status, 0);
    if (counts_.find("\nsync ") == std::string::npos)
        GTEST_SKIP() << "system calls are not counted on this processor";
    EXPECT_NE(counts_.find("\nsync 2 "), std::string::npos) << counts_;
}

INSTANTIATE_TEST_SUITE_P(
    , Durability,
    testing::Values(Scenario{"Replaced", "ocmd_link -o old root.par", {}},
                    Scenario{"New", "ocmd_link -o new root.par", {}},
                    Scenario{"Named", "ocmd_link -o old root.par", {}, "FAULT_nameless=1-"}),
    [](const auto &scenario) { return scenario.param.name; });

INSTANTIATE_TEST_SUITE_P(, Faults, testing::ValuesIn(kScenarios),
                         [](const auto &scenario) { return scenario.param.name; });

} // namespace
