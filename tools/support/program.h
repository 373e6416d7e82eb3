// The frame of every tool: its name in messages, its statuses, its options, and the end of a run.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tool {

/// Exit statuses, the same for every tool.
enum Status : int {
    kDone = 0,    ///< All was done.
    kFaults = 1,  ///< The input has faults, the result is incomplete, or the trees differ.
    kTrouble = 2, ///< Wrong use, or a file that cannot be read or written.
};

/// One option of a tool. --help and --version are every tool's and stand in no table.
struct Option {
    char letter;          ///< Its short form, or 0.
    const char *name;     ///< Its long form.
    const char *argument; ///< What its argument is called; null when it takes none.
    const char *help;     ///< What it does, in one line.
};

/// What a tool says of itself.
struct Program {
    const char *name;
    const char *operands; ///< What follows the options in the usage line.
    const char *purpose;  ///< What the tool is for, in a sentence or two.
    std::span<const Option> options;
    int out_of_memory = kTrouble; ///< The status of a run for which memory ran out.
};

/// A command line, parsed by the table of options.
class CommandLine {
public:
    struct Given {
        std::string_view name; ///< Long name of the option.
        const char *value;     ///< Its argument; null when it takes none.
    };

    [[nodiscard]] bool has(std::string_view name) const { return find(name) != nullptr; }
    /// Argument of the option where it was given last; null when it was not given.
    [[nodiscard]] const char *value(std::string_view name) const;
    /// All options in the order given.
    [[nodiscard]] std::span<const Given> given() const { return given_; }
    [[nodiscard]] std::span<char *const> operands() const { return operands_; }

private:
    friend CommandLine parse(const Program &program, int argc, char **argv);
    [[nodiscard]] const Given *find(std::string_view name) const;

    std::vector<Given> given_;
    std::span<char *const> operands_;
};

/// How serious a message about a position in an input file is.
enum class Severity : uint8_t {
    kError,
    kWarning,
    kNote, ///< A second position, or a detail, of the message before.
};

/// The label between position and text of such a message: "error: ", "warning: " or "note: ".
const char *label(Severity severity);

/// Ends a run from anywhere inside it, once its reason has been told.
struct Stop {
    Status status;
};

/// The name that messages begin with.
const char *name_in_messages();

/// Writes a line to standard error: the tool's name, a colon, the message.
[[gnu::format(printf, 1, 2)]] void tell(const char *format, ...);

/// Tells the message and ends the run with kTrouble.
[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char *format, ...);

/// Tells of a wrong use, with a hint at --help, and ends the run with kTrouble.
[[noreturn, gnu::format(printf, 1, 2)]] void refuse(const char *format, ...);

/// Runs a tool: parses its options, answers --help and --version, calls the body, and sees to it
/// that standard output took every byte. If memory runs out, prints a message and returns
/// the program's status for that; GLib ends the process its own way, by a signal.
/// @return the status to exit with.
int run(const Program &program, int argc, char **argv, Status (*body)(const CommandLine &line));

} // namespace tool
