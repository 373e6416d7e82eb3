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
/// @param main whether all documents become one main tree, to which nothing will be attached. Then
///        what keeps them from being linked is always an error.
void check(const Grammar &grammar, bool main, const CheckLevels &levels, Messages &messages);

} // namespace compiler
