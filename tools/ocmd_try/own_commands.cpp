// One table of commands. Lists are made in a process of their own, so that one without end can be
// left by closing its pager.
#include "tools/ocmd_try/own_commands.h"

#include "base/descriptor.h"
#include "base/escape.h"
#include "tools/ocmd_compile/output_file.h"
#include "tools/ocmd_try/paged_lines.h"
#include "tools/support/command_lines.h"
#include "tools/support/program.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <new>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace shell {

namespace {

using base::escaped;
using tool::report;

using RegexPtr = std::unique_ptr<GRegex, base::Releaser<g_regex_unref>>;

// Runs of one command.
struct Call {
    CommandShell &command_shell;
    const std::string &argument;
    size_t height;
};

// ---- Regular expressions ----

// An empty one matches everything. Null after a message. Texts may hold any bytes.
RegexPtr expression(const std::string &text) {
    GError *error = nullptr;
    constexpr auto kOptions = static_cast<GRegexCompileFlags>(G_REGEX_RAW | G_REGEX_CASELESS);
    RegexPtr made{g_regex_new(text.c_str(), kOptions, static_cast<GRegexMatchFlags>(0), &error)};
    if (made == nullptr) {
        report("invalid regular expression '%s': %s", text.c_str(), error->message);
        g_error_free(error);
    }
    return made;
}

bool matches(const RegexPtr &wanted, std::string_view text) {
    return g_regex_match_full(wanted.get(), text.data(), static_cast<gssize>(text.size()), 0,
                              static_cast<GRegexMatchFlags>(0), nullptr, nullptr) != FALSE;
}

// ---- Lists ----

// The record that has a node, and the node's index there.
std::pair<const tool::TreeRecord *, uint16_t> place_of(const tool::TreeFile &file,
                                                       const tree_node_t *node) {
    for (const tool::TreeRecord &record : file.records())
        if (const auto nodes = record.nodes; std::greater_equal{}(node, nodes.data()) &&
                                             std::less{}(node, nodes.data() + nodes.size()))
            return {&record, static_cast<uint16_t>(node - nodes.data())};
    return {nullptr, 0};
}

void list_below(const CommandShell &command_shell, tool::TextOutput &output) {
    const tool::TreeFile &file = command_shell.loaded().file;
    const std::vector<const tree_node_t *> nodes = command_shell.path();
    if (nodes.empty()) {
        for (const tool::TreeRecord &record : file.records())
            tool::list_lines(file, record, output);
        return;
    }
    const tool::TreeRecord *record = place_of(file, nodes.front()).first;
    std::vector<uint16_t> path(nodes.size());
    std::ranges::transform(nodes, path.begin(),
                           [&](const tree_node_t *node) { return place_of(file, node).second; });
    tool::LineList{*record, output}.add_below(path);
}

// A process that lists to a pipe until it is closed.
class Lister {
public:
    explicit Lister(const CommandShell &command_shell) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            tool::fail("no list can be made: %s", strerror(errno));
        process_ = fork();
        if (process_ == 0) {
            close(ends[0]); // as long as any process has it, the pipe is not broken
            list(command_shell, ends[1]);
        }
        close(ends[1]);
        lines_ = fdopen(ends[0], "r");
        if (process_ < 0 || lines_ == nullptr)
            tool::fail("no list can be made: %s", strerror(errno));
    }
    ~Lister() {
        free(line_);
        fclose(lines_);
        while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    Lister(const Lister &) = delete;
    Lister &operator=(const Lister &) = delete;

    bool next(std::string_view &line) {
        const ssize_t size = getline(&line_, &room_, lines_);
        if (size <= 0)
            return false;
        line = {line_, static_cast<size_t>(size)};
        line.remove_suffix(line.ends_with('\n') ? 1 : 0);
        return true;
    }

private:
    [[noreturn]] static void list(const CommandShell &command_shell, int to) {
        signal(SIGPIPE, SIG_DFL);
        signal(SIGINT, SIG_DFL);
        int status = tool::kError;
        try {
            if (dup2(to, STDOUT_FILENO) >= 0) {
                tool::TextOutput output;
                list_below(command_shell, output);
                output.flush();
                status = tool::kDone;
            }
        } catch (const std::bad_alloc &) {
            report("out of memory");
        } catch (const tool::Stop &stop) {
            status = stop.status;
        }
        _exit(status);
    }

    pid_t process_ = -1;
    FILE *lines_ = nullptr;
    char *line_ = nullptr;
    size_t room_ = 0;
};

Outcome list(const Call &call) {
    const RegexPtr wanted = expression(call.argument);
    if (wanted == nullptr)
        return Outcome::kRefused;
    Lister lister{call.command_shell};
    PagedLines lines{call.height};
    for (std::string_view line; lister.next(line);)
        if (matches(wanted, line) && !lines.add(line))
            break;
    return Outcome::kDone;
}

// The way on which each node is met first from the root, without the shared ways to it.
class FirstPaths {
public:
    FirstPaths(const tool::TreeRecord &record, bool begins_with_root)
        : nodes_(record.nodes), parents_(nodes_.size(), kNone),
          begins_with_root_(begins_with_root) {
        parents_[0] = 0;
        std::deque<uint16_t> waiting{0};
        for (; !waiting.empty(); waiting.pop_front()) {
            const uint16_t parent = waiting.front();
            for (const uint16_t child :
                 std::span{nodes_[parent].children, nodes_[parent].child_count})
                if (parents_[child] == kNone) {
                    parents_[child] = parent;
                    waiting.push_back(child);
                }
        }
    }

    [[nodiscard]] bool is_reached(size_t node) const { return parents_[node] != kNone; }

    [[nodiscard]] std::string line_to(size_t node) const {
        std::vector<size_t> path;
        for (; node != 0; node = parents_[node])
            path.push_back(node);
        if (begins_with_root_)
            path.push_back(0);
        std::string line;
        for (size_t i = path.size(); i-- > 0;) {
            const tree_node_t &word = nodes_[path[i]];
            const std::string text = tool::spelled_word(word);
            line.append(line.empty() || text.empty() ? "" : " ").append(text);
            if (i > 0 && (word.flags & TREE_FLAG_SUBMODE) != 0)
                line += " /";
        }
        return line;
    }

private:
    static constexpr uint32_t kNone = UINT32_MAX;

    std::span<const tree_node_t> nodes_;
    std::vector<uint32_t> parents_;
    bool begins_with_root_;
};

std::string found_line(const std::string &path, const tree_node_t &node) {
    std::string line = path;
    if (node.func_id[0] != '\0')
        line.append("  ").append(escaped(node.func_id)).append("()");
    if (node.help[0] != '\0')
        line.append("  ").append(escaped(node.help));
    return line;
}

Outcome find_words(const Call &call) {
    if (call.argument.empty()) {
        report("missing operand: :find REGEX");
        return Outcome::kRefused;
    }
    const RegexPtr wanted = expression(call.argument);
    if (wanted == nullptr)
        return Outcome::kRefused;
    const tool::TreeFile &file = call.command_shell.loaded().file;
    PagedLines lines{call.height};
    for (const tool::TreeRecord &record : file.records()) {
        const bool begins_with_root = tool::begins_with_root(file, record);
        const FirstPaths paths{record, begins_with_root};
        for (size_t n = begins_with_root ? 0 : 1; n < record.nodes.size(); ++n) {
            const tree_node_t &node = record.nodes[n];
            if (!paths.is_reached(n) ||
                !(matches(wanted, node.token) || matches(wanted, node.help) ||
                  matches(wanted, node.func_id)))
                continue;
            if (!lines.add(found_line(paths.line_to(n), node)))
                return Outcome::kDone;
        }
    }
    return Outcome::kDone;
}

// ---- Other commands ----

Outcome where(const Call &call) {
    for (const std::string &line : call.command_shell.places())
        printf("%s /\n", escaped(line).c_str());
    return Outcome::kDone;
}

Outcome leave(const Call &call) {
    return call.command_shell.leave_entered(1) ? Outcome::kDone : Outcome::kRefused;
}

Outcome leave_all(const Call &call) {
    return call.command_shell.leave_entered(call.command_shell.depth()) ? Outcome::kDone
                                                                        : Outcome::kRefused;
}

Outcome reload(const Call &call) {
    return call.command_shell.reload(true) ? Outcome::kDone : Outcome::kRefused;
}

Outcome save(const Call &call) {
    if (call.argument.empty() || call.argument == "-") { // which has the answers
        report("missing operand: :save FILE");
        return Outcome::kRefused;
    }
    if (call.command_shell.is_input(call.argument)) {
        report("%s: is both input and output", call.argument.c_str());
        return Outcome::kRefused;
    }
    compiler::OutputFile output{call.argument};
    std::array<char, 65536> block{};
    const base::Descriptor &tree = call.command_shell.loaded().stored;
    off_t place = 0;
    for (ssize_t size = 0; (size = pread(tree.number(), block.data(), block.size(), place)) > 0;
         place += size)
        if (fwrite(block.data(), 1, static_cast<size_t>(size), output.stream()) !=
            static_cast<size_t>(size))
            output.fail();
    output.commit();
    return Outcome::kDone;
}

Outcome quit(const Call & /*unused*/) {
    return Outcome::kQuit;
}

Outcome help(const Call &call);

struct Command {
    std::string_view name;
    const char *operand; ///< Empty if it takes none.
    const char *help;
    Outcome (*run)(const Call &call);
};

constexpr std::array kCommands{
    Command{":help", "", "Show this text.", help},
    Command{":where", "", "Show the lines that entered the submodes.", where},
    Command{":leave", "", "Leave one submode, as Ctrl-D does.", leave},
    Command{":top", "", "Leave all submodes.", leave_all},
    Command{":list", " [REGEX]", "List the command lines of the submode, or those that match.",
            list},
    Command{":find", " REGEX", "List the words whose spelling, help or function matches.",
            find_words},
    Command{":reload", "", "Load the grammar again.", reload},
    Command{":save", " FILE", "Write the tree to a file.", save},
    Command{":quit", "", "End the shell.", quit},
};

Outcome help(const Call & /*unused*/) {
    for (const Command &command : kCommands)
        printf("  %-7s%-9s %s\n", std::string{command.name}.c_str(), command.operand, command.help);
    puts("  Tab completes a word, ? lists what may stand at the cursor, Ctrl-V ? types a question "
         "mark.\n  exit and quit leave a submode, end leaves all.");
    return Outcome::kDone;
}

std::string_view without_blanks(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r");
    const size_t last = text.find_last_not_of(" \t\r");
    return first == std::string_view::npos ? "" : text.substr(first, last - first + 1);
}

// By name, or by a beginning that only one has.
const Command *command_of(std::string_view name) {
    const auto begins = [&](const Command &command) { return command.name.starts_with(name); };
    const auto *found = std::ranges::find(kCommands, name, &Command::name);
    if (found == kCommands.end() && std::ranges::count_if(kCommands, begins) == 1)
        found = std::ranges::find_if(kCommands, begins);
    return found == kCommands.end() ? nullptr : found;
}

} // namespace

bool is_own_command(std::string_view line) {
    return without_blanks(line).starts_with(':');
}

Outcome run_own_command(std::string_view line, CommandShell &command_shell, size_t height) {
    line = without_blanks(line);
    const std::string_view name = line.substr(0, line.find_first_of(" \t"));
    const std::string argument{without_blanks(line.substr(name.size()))};
    const Command *command = command_of(name);
    if (command == nullptr) {
        report("unknown command '%s'; :help lists all", std::string{name}.c_str());
        return Outcome::kRefused;
    }
    if (*command->operand == '\0' && !argument.empty()) {
        report("%s takes no operand", std::string{command->name}.c_str());
        return Outcome::kRefused;
    }
    try {
        return command->run({command_shell, argument, height});
    } catch (const tool::Stop &) { // after a message; the command_shell goes on
        return Outcome::kRefused;
    }
}

std::vector<std::string_view> own_commands(std::string_view beginning) {
    std::vector<std::string_view> names;
    for (const Command &command : kCommands)
        if (command.name.starts_with(beginning))
            names.push_back(command.name);
    return names;
}

} // namespace shell
