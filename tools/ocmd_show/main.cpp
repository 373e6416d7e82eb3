// ocmd_show: what is in files of trees, as a summary, a list, a grammar, data or a graph.
#include "base/escape.h"
#include "tools/ocmd_show/modes.h"
#include "tools/support/types.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace show {

namespace {

using tool::ByteOrder;
using tool::CommandLine;
using tool::Container;
using tool::Insist;
using tool::kDone;
using tool::kFaults;
using tool::kTrouble;
using tool::Option;
using tool::refuse;
using tool::Status;
using tool::Stop;
using tool::TextOutput;
using tool::TreeFile;

constexpr std::array kOptions{
    Option{0, "commands", nullptr, "List every command line."},
    Option{0, "nodes", nullptr, "Tell all that each node holds."},
    Option{0, "yaml", nullptr, "Write the grammar back, as ocmd_compile reads it."},
    Option{0, "json", nullptr, "Write every field of every record for scripts."},
    Option{0, "dot", nullptr, "Draw the tree: a graph for Graphviz."},
    Option{0, "check", nullptr, "Only tell every fault of the file."},
    Option{0, "below", "WORDS", "With --dot: draw only what lies below this line."},
    Option{0, "levels", "N", "With --dot: draw N levels below the node on top."},
    Option{0, "kind", "KIND", "Take the files for KIND, main or subtrees, instead of looking."},
    Option{0, "byte-order", "ORDER",
           "Take the files for ORDER, little or big, instead of looking."},
};

constexpr tool::Program kProgram{
    "ocmd_show", "FILE...",
    "Shows what main par files and subtree files hold, plain or gzip-compressed, in either byte\n"
    "order; - is standard input. Without options a summary with the number of command lines.",
    kOptions};

struct Mode {
    const char *option;
    Status (*show)(const TreeFile &file, const Part &part, TextOutput &output);
    const char *heading; // before the name of each of several files; null for none
    const char *heading_end;
};

constexpr std::array kModes{
    Mode{"commands", show_commands, "", ":\n"}, Mode{"nodes", show_nodes, "", ":\n"},
    Mode{"yaml", show_yaml, "# ", "\n"},        Mode{"json", show_json, nullptr, nullptr},
    Mode{"dot", show_dot, "// ", "\n"},         Mode{"check", nullptr, nullptr, nullptr},
    Mode{"", show_summary, nullptr, nullptr}, // names each file itself
};

const Mode &chosen_mode(const CommandLine &line) {
    const Mode *chosen = nullptr;
    for (const Mode &mode : kModes) {
        if (!line.has(mode.option))
            continue;
        if (chosen != nullptr)
            refuse("--%s and --%s: only one of them at a time", chosen->option, mode.option);
        chosen = &mode;
    }
    return chosen == nullptr ? kModes.back() : *chosen;
}

// The value of the option that stands at the place of its argument among the names.
template <typename Value>
std::optional<Value> choice(const CommandLine &line, const char *option,
                            const std::array<const char *, 2> &names) {
    const char *given = line.value(option);
    if (given == nullptr)
        return std::nullopt;
    for (size_t i = 0; i < names.size(); ++i)
        if (strcmp(given, names[i]) == 0)
            return static_cast<Value>(i);
    refuse("--%s=%s: neither %s nor %s", option, given, names[0], names[1]);
}

uint32_t level_count(const char *text) {
    char *end = nullptr;
    errno = 0;
    const unsigned long levels = strtoul(text, &end, 10);
    if (*text < '0' || *text > '9' || *end != '\0')
        refuse("--levels=%s: not a number", text);
    return errno != 0 || levels > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(levels);
}

Part chosen_part(const CommandLine &line) {
    if (!line.has("dot") && (line.has("below") || line.has("levels")))
        refuse("--%s: only with --dot", line.has("below") ? "below" : "levels");
    Part part;
    if (line.has("below"))
        part.below = line.value("below");
    if (line.has("levels"))
        part.levels = level_count(line.value("levels"));
    return part;
}

void write_heading(const Mode &mode, const std::string &name, TextOutput &output) {
    output << mode.heading << base::escaped(name) << mode.heading_end;
}

class Run {
public:
    explicit Run(const CommandLine &line)
        : mode_(chosen_mode(line)),
          part_(chosen_part(line)), insist_{choice<Container>(line, "kind", {"main", "subtrees"}),
                                            choice<ByteOrder>(line, "byte-order",
                                                              {"little", "big"})},
          has_headings_(line.operands().size() > 1 && mode_.heading != nullptr) {
        if (line.operands().empty())
            refuse("no file");
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
        const bool only_check = mode_.show == nullptr;
        Status status = file.complete() ? kDone : kFaults;
        if (only_check ? tell_faults(file) > 0 : !is_sound(file))
            return kFaults; // links of such trees may lead anywhere
        if (has_headings_)
            write_heading(mode_, file.name(), output_);
        if (only_check)
            output_ << file.name() << ": no faults in its trees\n";
        else
            status = std::max(status, mode_.show(file, part_, output_));
        part_.records_before += file.records().size();
        output_.flush(); // before anything is told of the next file
        return status;
    }

    const Mode &mode_;
    Part part_;
    Insist insist_;
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
