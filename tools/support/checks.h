// The checks of grammars and trees: one table for all programs, and severities that options change.
#pragma once

#include "tools/support/program.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tool {

enum class CheckSeverity : uint8_t {
    kNone, ///< The program does not make the check.
    kOff,
    kWarning,
    kError,
};

/// A check, with its default severity in each program.
struct Check {
    const char *name;
    CheckSeverity in_compiler; ///< ocmd_compile, of grammars.
    CheckSeverity in_linker;   ///< ocmd_link, of the linked tree.
    CheckSeverity in_viewer;   ///< ocmd_show --check, of trees.
    const char *needs;         ///< Precondition of the check, in words; empty if there is none.
    const char *finds;         ///< What the check reports, in words.
};

/// Member of Check with the default severity in one program.
using CheckColumn = CheckSeverity Check::*;

/// Options of every program with checks; they go into its table of options.
inline constexpr Option kWarnOption{'W', "warn", "NAME",
                                    "Report check NAME as a warning; -W no-NAME disables it."};
inline constexpr Option kErrorOption{'E', "error", "NAME", "Report check NAME as an error."};
inline constexpr Option kStrictOption{0, "strict", nullptr, "Treat warnings as errors."};
inline constexpr Option kListChecksOption{0, "list-checks", nullptr,
                                          "Print all checks with their severities and exit."};

/// Severities of a program's checks in this run.
class CheckSeverities {
public:
    /// Applies the options in the order given, then --strict. Refuses an unknown name. Answers
    /// --list-checks and exits.
    CheckSeverities(CheckColumn column, const CommandLine &line);

    /// Returns kOff, kWarning or kError for a check of this program.
    [[nodiscard]] CheckSeverity of(std::string_view name) const;
    [[nodiscard]] bool is_on(std::string_view name) const {
        return of(name) != CheckSeverity::kOff;
    }
    [[nodiscard]] bool are_all_off() const;

private:
    void apply(const CommandLine::Given &given);
    CheckSeverity &at(std::string_view name);
    void list() const;

    std::vector<CheckSeverity> severities_; // by position in the table
};

} // namespace tool
