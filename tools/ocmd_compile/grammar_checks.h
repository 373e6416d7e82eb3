// Checks of valid grammars by the table of checks (tools/support/checks.h).
#pragma once

#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/support/checks.h"

namespace compiler {

/// Runs all enabled checks and reports their findings.
/// @param main whether all documents become one main tree, to which nothing will be attached. Then
///        what keeps them from being linked is always an error.
void check(const Grammar &grammar, bool main, const tool::CheckSeverities &severities,
           Messages &messages);

} // namespace compiler
