// Named checks with a severity that options can change.
#pragma once

#include "tools/support/program.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace compiler {

enum class Level : uint8_t { kOff, kWarning, kError };

/// One check of a tool's table.
struct Check {
    const char *name;
    Level level;       ///< Default level.
    const char *needs; ///< Precondition of the check, in words; empty if there is none.
    const char *finds; ///< What the check reports, in words.
};

/// Options of every tool with checks; they go into its table of options.
inline constexpr tool::Option kWarnOption{
    'W', "warn", "NAME", "Report check NAME as a warning; -W no-NAME disables it."};
inline constexpr tool::Option kErrorOption{'E', "error", "NAME", "Report check NAME as an error."};
inline constexpr tool::Option kStrictOption{0, "strict", nullptr, "Treat warnings as errors."};
inline constexpr tool::Option kListChecksOption{0, "list-checks", nullptr,
                                                "Print all checks with their levels and exit."};

/// Levels of all checks of a table in this run.
class CheckLevels {
public:
    /// Applies the options in the order given, then --strict. Refuses an unknown name. Answers
    /// --list-checks and exits.
    CheckLevels(std::span<const Check> table, const tool::CommandLine &line);

    /// Level of the check at this index.
    [[nodiscard]] Level of(size_t check) const { return levels_[check]; }

private:
    [[nodiscard]] size_t find(std::string_view name) const;
    void list() const;

    std::span<const Check> table_;
    std::vector<Level> levels_;
};

} // namespace compiler
