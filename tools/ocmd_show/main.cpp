// Command line of ocmd_show.
#include "base/escape.h"
#include "tools/ocmd_show/modes.h"
#include "tools/support/checks.h"
#include "tools/support/types.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace show {

namespace {

using tool::ByteOrder;
using tool::CommandLine;
using tool::Container;
using tool::FormatOverride;
using tool::kDone;
using tool::kError;
using tool::kNegative;
using tool::Option;
using tool::refuse;
using tool::Status;
using tool::Stop;
using tool::TextOutput;
using tool::TreeFile;

// Options beside the mode that a mode may use, a bit each.
enum Uses : unsigned { kNothing = 0, kBelow = 1, kLevels = 2, kRedirectRoot = 4, kChecks = 8 };

struct Mode {
    Option option;
    Show *show;
    unsigned uses;
    const char *heading; // before the name of each of several files; null for none
    const char *heading_end;
    bool only_one_file = false;
};

constexpr std::array kModes{
    Mode{{0, "commands", nullptr, "List every command line."}, show_commands, kBelow, "", ":\n"},
    Mode{{0, "nodes", nullptr, "Print all fields of each node."}, show_nodes, kNothing, "", ":\n"},
    Mode{{0, "yaml", nullptr, "Print the tree as a grammar for ocmd_compile."},
         show_yaml,
         kBelow,
         "# ",
         "\n"},
    Mode{{0, "json", nullptr, "Print every field of every record for scripts."},
         show_json,
         kBelow,
         nullptr,
         nullptr},
    Mode{{0, "dot", nullptr, "Draw the tree as a graph for Graphviz."},
         show_dot,
         kBelow | kLevels | kRedirectRoot,
         "// ",
         "\n"},
    Mode{{0, "functions", "FORM", "List the functions with their commands, or as C prototypes (c).",
          true},
         show_functions,
         kBelow,
         "",
         ":\n"},
    Mode{{0, "html", nullptr, "Write the reference of all commands as one HTML page."},
         show_html,
         kBelow,
         nullptr,
         nullptr,
         true},
    Mode{{0, "check", nullptr, "Only check the files, and report all errors and warnings."},
         show_faults,
         kChecks,
         nullptr,
         nullptr},
};
constexpr Mode kSummary{{}, show_summary, kNothing, nullptr, nullptr}; // names each file itself

constexpr std::array kOtherOptions{
    Option{0, "below", "WORDS", "Show only the commands that start with WORDS."},
    Option{0, "levels", "N", "With --dot: draw N levels below the top node."},
    Option{0, "redirect-root", nullptr, "With --dot: draw the redirect root, too."},
    tool::kWarnOption,
    tool::kErrorOption,
    tool::kStrictOption,
    tool::kListChecksOption,
    Option{0, "kind", "KIND", "Read the files as KIND (main or subtrees) instead of detecting it."},
    Option{0, "byte-order", "ORDER",
           "Read the files as ORDER (little or big) instead of detecting it."},
};
constexpr std::array kUses{kBelow,  kLevels, kRedirectRoot, // of the first other options
                           kChecks, kChecks, kChecks};

constexpr auto kOptions = [] {
    std::array<Option, kModes.size() + kOtherOptions.size()> options{};
    Option *const rest = std::ranges::transform(kModes, options.begin(), &Mode::option).out;
    std::ranges::copy(kOtherOptions, rest);
    return options;
}();

constexpr tool::Program kProgram{
    "ocmd_show", "FILE...",
    "Shows main par files and subtree files, plain or gzip-compressed, in either byte order.\n"
    "FILE - is standard input. Without options prints a summary with the number of command lines.",
    kOptions};

const Mode &chosen_mode(const CommandLine &line) {
    const Mode *chosen = &kSummary;
    for (const Mode &mode : kModes) {
        if (!line.has(mode.option.name))
            continue;
        if (chosen != &kSummary)
            refuse("--%s and --%s exclude each other", chosen->option.name, mode.option.name);
        chosen = &mode;
    }
    return *chosen;
}

// "--commands, --yaml or --dot"
std::string modes_that_use(unsigned use) {
    std::vector<std::string> names;
    for (const Mode &mode : kModes)
        if ((mode.uses & use) != 0)
            names.push_back(std::string{"--"} + mode.option.name);
    std::string text = names.front();
    for (size_t i = 1; i < names.size(); ++i)
        text += (i + 1 == names.size() ? " or " : ", ") + names[i];
    return text;
}

// Returns the value whose name is the argument of the option, if the option is given.
template <typename Value>
std::optional<Value> choice(const CommandLine &line, const char *option,
                            const std::array<const char *, 2> &names) {
    const char *given = line.value(option);
    if (given == nullptr)
        return std::nullopt;
    for (size_t i = 0; i < names.size(); ++i)
        if (strcmp(given, names[i]) == 0)
            return static_cast<Value>(i);
    refuse("invalid argument '%s' for --%s; expected %s or %s", given, option, names[0], names[1]);
}

uint32_t level_count(const char *text) {
    char *end = nullptr;
    errno = 0;
    const unsigned long levels = strtoul(text, &end, 10);
    if (*text < '0' || *text > '9' || *end != '\0')
        refuse("invalid argument '%s' for --levels; expected a number", text);
    return errno != 0 || levels > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(levels);
}

bool is_c_header(const CommandLine &line) {
    const char *form = line.value("functions");
    if (form == nullptr)
        return false;
    if (strcmp(form, "c") != 0)
        refuse("invalid argument '%s' for --functions; expected c", form);
    if (line.operands().size() > 1)
        refuse("--functions=c requires exactly one file");
    return true;
}

Request request_of(const CommandLine &line, const Mode &mode) {
    Request request;
    request.severities = tool::CheckSeverities{&tool::Check::in_viewer, line};
    for (size_t i = 0; i < kUses.size(); ++i)
        if (line.has(kOtherOptions[i].name) && (mode.uses & kUses[i]) == 0)
            refuse("--%s requires %s", kOtherOptions[i].name, modes_that_use(kUses[i]).c_str());
    if (line.has("below"))
        if (std::string below = normalized(line.value("below")); !below.empty())
            request.below = std::move(below);
    if (line.has("levels"))
        request.levels = level_count(line.value("levels"));
    request.redirect_root = line.has("redirect-root");
    request.as_c_header = is_c_header(line);
    return request;
}

void write_heading(const Mode &mode, const std::string &name, TextOutput &output) {
    output << mode.heading << base::escaped(name) << mode.heading_end;
}

class Run {
public:
    explicit Run(const CommandLine &line)
        : mode_(chosen_mode(line)),
          request_(request_of(line, mode_)), insist_{choice<Container>(line, "kind",
                                                                       {"main", "subtrees"}),
                                                     choice<ByteOrder>(line, "byte-order",
                                                                       {"little", "big"})},
          has_headings_(line.operands().size() > 1 && mode_.heading != nullptr) {
        if (line.operands().empty())
            refuse("no file");
        if (mode_.only_one_file && line.operands().size() > 1)
            refuse("--%s requires a single file", mode_.option.name);
    }

    // A file that cannot be opened does not keep the others from being shown.
    Status show(const char *path) {
        std::optional<TreeFile> file;
        try {
            file.emplace(path, insist_);
        } catch (const Stop &stop) {
            return stop.status;
        }
        return show(*file);
    }

private:
    Status show(const TreeFile &file) {
        const bool only_check = mode_.show == show_faults;
        Status status = file.complete() ? kDone : kNegative;
        if (only_check ? report_errors(file) > 0 : !is_valid(file))
            return kNegative; // links of such trees may lead anywhere
        if (has_headings_)
            write_heading(mode_, file.name(), output_);
        status = std::max(status, mode_.show(file, request_, output_));
        request_.records_before += file.records().size();
        output_.flush(); // before messages about the next file
        return status;
    }

    const Mode &mode_;
    Request request_;
    FormatOverride insist_;
    bool has_headings_;
    TextOutput output_;
};

Status show_all(const CommandLine &line) {
    Run run{line};
    tool::register_types();
    Status status = kDone;
    for (const char *path : line.operands())
        status = std::max(status, run.show(path));
    return status;
}

} // namespace

} // namespace show

int main(int argc, char **argv) {
    return tool::run(show::kProgram, argc, argv, show::show_all);
}
