// What is asked of a grammar beyond being understood: named checks, each of which can be a fault, a
// warning, or off.
#pragma once

#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/support/checks.h"

#include <span>

namespace compiler {

/// The table of checks.
std::span<const tool::Check> grammar_checks();

/// Makes all checks that are on and tells what they find.
/// @param main whether a main tree is to be made, to which nothing will be attached.
void check(const Grammar &grammar, bool main, const tool::CheckLevels &levels, Messages &messages);

} // namespace compiler
