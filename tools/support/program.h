// Common frame of the ocmd_ programs: options, messages, exit status.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tool {

/// Exit statuses, the same for every tool.
enum Status : int {
    kDone = 0,     ///< Success.
    kNegative = 1, ///< The input has errors, the result is incomplete, or the trees differ.
    kError = 2,    ///< Usage error, or read or write error.
};

/// One option of a tool. All tools have --help and --version, which are in no table.
struct Option {
    char letter;          ///< Short form, or 0.
    const char *name;     ///< Long form.
    const char *argument; ///< Name of its argument; null if it has none.
    const char *help;     ///< Effect, in one line.
    bool argument_may_be_omitted = false;
};

/// Description of a tool.
struct Program {
    const char *name;
    const char *operands; ///< Operands in the usage line.
    const char *purpose;  ///< Purpose, in a sentence or two.
    std::span<const Option> options;
    int out_of_memory = kError; ///< Exit status if memory runs out.
};

/// A command line, parsed by the table of options.
class CommandLine {
public:
    struct Given {
        std::string_view name; ///< Long name of the option.
        const char *value;     ///< Its argument; null if it has none.
    };

    [[nodiscard]] bool has(std::string_view name) const { return find(name) != nullptr; }
    /// Returns the argument of the last occurrence of the option; null if it was not given.
    [[nodiscard]] const char *value(std::string_view name) const;
    /// Returns all options in the order given.
    [[nodiscard]] std::span<const Given> given() const { return given_; }
    [[nodiscard]] std::span<char *const> operands() const { return operands_; }

private:
    friend CommandLine parse(const Program &program, int argc, char **argv);
    [[nodiscard]] const Given *find(std::string_view name) const;

    std::vector<Given> given_;
    std::span<char *const> operands_;
};

/// Severity of a message about a position in an input file.
enum class Severity : uint8_t {
    kError,
    kWarning,
    kNote, ///< A second position, or a detail, of the previous message.
};

/// Returns the label between position and text of such a message: "error: ", "warning: ", "note: ".
const char *label(Severity severity);

/// Exception that ends the program; its message has already been printed.
struct Stop {
    Status status;
};

/// Returns the program name at the start of messages.
const char *name_in_messages();

/// Writes a line to standard error: the tool's name, a colon, the message.
[[gnu::format(printf, 1, 2)]] void report(const char *format, ...);

/// Prints the message and exits with kError.
[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char *format, ...);

/// Reports a usage error with a hint at --help, and exits with kError.
[[noreturn, gnu::format(printf, 1, 2)]] void refuse(const char *format, ...);

/// Runs a tool: parses its options, handles --help and --version, calls the body, and checks that
/// standard output was written completely. If memory runs out, prints a message and returns the
/// program's status for this case; GLib ends the process by a signal.
/// @return the exit status.
int run(const Program &program, int argc, char **argv, Status (*body)(const CommandLine &line));

} // namespace tool
