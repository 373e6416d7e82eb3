// Named checks: one table of a tool says which there are, and its command line how seriously each
// is taken.
#pragma once

#include "tools/support/program.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tool {

enum class Level : uint8_t { kOff, kWarning, kError };

/// One check of a tool's table.
struct Check {
    const char *name;
    Level level;       ///< Unless the command line says otherwise.
    const char *needs; ///< What must hold before the check is made, in words; empty for nothing.
    const char *finds; ///< What it finds, in words.
};

/// Options of every tool with checks; they go into its table of options.
inline constexpr Option kWarnOption{'W', "warn", "NAME",
                                    "Make a check a warning, or switch it off: -W no-NAME."};
inline constexpr Option kErrorOption{'E', "error", "NAME", "Make a check a fault."};
inline constexpr Option kStrictOption{0, "strict", nullptr, "Make every warning a fault."};
inline constexpr Option kListChecksOption{0, "list-checks", nullptr,
                                          "List the checks with their levels and end."};

/// How seriously each check of a table is taken in this run.
class CheckLevels {
public:
    /// Applies the options in the order given; --strict counts last. A name that is no check is
    /// refused. --list-checks is answered, and ends the run.
    CheckLevels(std::span<const Check> table, const CommandLine &line);

    /// Of the check at this place in the table.
    [[nodiscard]] Level of(size_t check) const { return levels_[check]; }

private:
    [[nodiscard]] size_t find(std::string_view name) const;
    void list() const;

    std::span<const Check> table_;
    std::vector<Level> levels_;
};

} // namespace tool
