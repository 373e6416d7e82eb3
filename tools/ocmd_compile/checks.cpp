// Levels of checks, from the command line.
#include "tools/ocmd_compile/checks.h"

#include "tools/support/wording.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace compiler {

using tool::CommandLine;

CheckLevels::CheckLevels(std::span<const Check> table, const CommandLine &line) : table_(table) {
    for (const Check &check : table)
        levels_.push_back(check.level);
    for (const CommandLine::Given &given : line.given()) {
        constexpr std::string_view kNo = "no-";
        const std::string_view value = given.value == nullptr ? "" : given.value;
        if (given.name == kErrorOption.name)
            levels_[find(value)] = Level::kError;
        else if (given.name == kWarnOption.name && value.starts_with(kNo) &&
                 std::ranges::none_of(table, [&](const Check &c) { return c.name == value; }))
            levels_[find(value.substr(kNo.size()))] = Level::kOff;
        else if (given.name == kWarnOption.name)
            levels_[find(value)] = Level::kWarning;
    }
    if (line.has(kStrictOption.name))
        std::ranges::replace(levels_, Level::kWarning, Level::kError);
    if (line.has(kListChecksOption.name)) {
        list();
        throw tool::Stop{tool::kDone};
    }
}

size_t CheckLevels::find(std::string_view name) const {
    const auto found =
        std::ranges::find_if(table_, [&](const Check &check) { return check.name == name; });
    if (found != table_.end())
        return static_cast<size_t>(found - table_.begin());
    std::vector<std::string_view> names;
    for (const Check &check : table_)
        names.emplace_back(check.name);
    tool::refuse("unknown check '%s'%s", std::string{name}.c_str(),
                 tool::suggestion(name, names).c_str());
}

void CheckLevels::list() const {
    constexpr const char *kLevels[] = {"off", "warning", "error"};
    for (size_t i = 0; i < table_.size(); ++i)
        printf("%s\t%s\t%s\t%s\n", table_[i].name, kLevels[static_cast<size_t>(levels_[i])],
               table_[i].needs, table_[i].finds);
}

} // namespace compiler
