// The table of checks, and their severities from the command line.
#include "tools/support/checks.h"

#include "tools/support/wording.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace tool {

namespace {

constexpr const char *kSoundWord = "the word is valid";
constexpr const char *kSoundTree = "the tree is valid";

constexpr auto kNone = CheckSeverity::kNone;
constexpr auto kOff = CheckSeverity::kOff;
constexpr auto kWarning = CheckSeverity::kWarning;
constexpr auto kAsError = CheckSeverity::kError;

// The columns of severities: ocmd_compile, ocmd_link, ocmd_show --check.
constexpr std::array kTable{
    Check{"duplicate-name", kAsError, kNone, kNone, kSoundWord,
          "Two nodes of one tree have the same name."},
    Check{"same-word", kAsError, kWarning, kAsError, kSoundWord,
          "Two siblings match the same word, so one of them is unreachable."},
    Check{"ambiguous", kNone, kNone, kWarning, kSoundTree,
          "A command line with its keywords in full ends at two nodes with different functions, "
          "modes or permissions."},
    Check{"shadowed", kWarning, kNone, kWarning, kSoundWord,
          "A sibling before a keyword begins with the same letters, so the shell's first-match "
          "lookup finds the sibling."},
    Check{"blank-in-word", kAsError, kNone, kNone, kSoundWord,
          "A keyword contains a space or a control character and is not tagged !bytes."},
    Check{"bounds", kAsError, kNone, kAsError, kSoundWord,
          "The minimum of a parameter exceeds its maximum, or 'length' is given for a type that "
          "cannot be a string, or 'min' or 'max' for a string type."},
    Check{"unused-bounds", kWarning, kNone, kNone, kSoundWord,
          "'min' or 'max' is given for a type without bounds, or both are 0, which means none."},
    Check{"redirect-root", kAsError, kWarning, kNone, kSoundWord,
          "The root has no child \"tsh_redirect_root\" after its first child."},
    Check{"dead-end", kWarning, kNone, kWarning, kSoundWord,
          "No command ends at a word or at a descendant. Words to which other files may attach "
          "words are skipped."},
    Check{"unreachable", kNone, kNone, kWarning, kSoundTree,
          "No link leads from the root to a node."},
    Check{"depth", kWarning, kWarning, kNone, kSoundTree,
          "The tree has more than 256 levels; the shell does not traverse deeper levels "
          "completely."},
    Check{"suspect-name", kWarning, kNone, kNone, kSoundWord,
          "The name of a function or of an attach point is null or ~, or begins or ends with a "
          "space."},
    Check{"second-root", kWarning, kNone, kWarning, "",
          "Several input documents, or records of a file, are roots; a subtree has attach points."},
    Check{"message-type", kWarning, kNone, kNone, kSoundWord,
          "A message type is greater than 255."},
    Check{"no-help", kOff, kNone, kOff, kSoundWord, "A word has no help text."},
    Check{"no-function", kNone, kNone, kOff, kSoundTree,
          "A command ends at a node without a function."},
    Check{"unknown-attach-point", kOff, kNone, kNone, "",
          "No input file defines the attach point. Always an error with --main."},
    Check{"always", kOff, kNone, kNone, "", "Reports every document; for testing these options."},
};

// A name that a check had before.
constexpr std::string_view kFormerName = "missing-help";
constexpr std::string_view kPresentName = "no-help";

const Check *find(std::string_view name) {
    if (name == kFormerName)
        name = kPresentName;
    return std::ranges::find_if(kTable, [&](const Check &check) { return check.name == name; });
}

} // namespace

CheckSeverities::CheckSeverities(CheckColumn column, const CommandLine &line) {
    for (const Check &check : kTable)
        severities_.push_back(check.*column);
    for (const CommandLine::Given &given : line.given())
        apply(given);
    if (line.has(kStrictOption.name))
        std::ranges::replace(severities_, kWarning, kAsError);
    if (line.has(kListChecksOption.name)) {
        list();
        throw Stop{kDone};
    }
}

void CheckSeverities::apply(const CommandLine::Given &given) {
    constexpr std::string_view kNo = "no-";
    const std::string_view name = given.value == nullptr ? "" : given.value;
    if (given.name == kErrorOption.name)
        at(name) = kAsError;
    else if (given.name == kWarnOption.name && name.starts_with(kNo) && find(name) == kTable.end())
        at(name.substr(kNo.size())) = kOff;
    else if (given.name == kWarnOption.name)
        at(name) = kWarning;
}

CheckSeverity &CheckSeverities::at(std::string_view name) {
    const Check *const check = find(name);
    if (check != kTable.end()) {
        CheckSeverity &severity = severities_[static_cast<size_t>(check - kTable.begin())];
        if (severity != kNone)
            return severity;
    }
    std::vector<std::string_view> names;
    for (size_t i = 0; i < kTable.size(); ++i)
        if (severities_[i] != kNone)
            names.emplace_back(kTable[i].name);
    refuse("unknown check '%s'%s", std::string{name}.c_str(), suggestion(name, names).c_str());
}

CheckSeverity CheckSeverities::of(std::string_view name) const {
    return severities_.at(static_cast<size_t>(find(name) - kTable.begin()));
}

bool CheckSeverities::are_all_off() const {
    return std::ranges::all_of(severities_,
                               [](CheckSeverity one) { return one == kOff || one == kNone; });
}

void CheckSeverities::list() const {
    constexpr const char *kTexts[] = {"", "off", "warning", "error"};
    for (size_t i = 0; i < kTable.size(); ++i)
        if (severities_[i] != kNone)
            printf("%s\t%s\t%s\t%s\n", kTable[i].name, kTexts[static_cast<size_t>(severities_[i])],
                   kTable[i].needs, kTable[i].finds);
}

} // namespace tool
