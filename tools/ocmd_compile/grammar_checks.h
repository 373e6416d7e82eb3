// Named checks of valid grammars, each of which can be an error, a warning, or off.
#pragma once

#include "tools/ocmd_compile/checks.h"
#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/messages.h"

#include <span>

namespace compiler {

/// The table of checks.
std::span<const Check> grammar_checks();

/// Runs all enabled checks and reports their findings.
/// @param main whether the output is a main tree, to which nothing will be attached.
void check(const Grammar &grammar, bool main, const CheckLevels &levels, Messages &messages);

} // namespace compiler
