// Checks of valid trees by the table of checks (tools/support/checks.h).
#pragma once

#include "tools/support/checks.h"
#include "tools/support/tree_input.h"

#include <cstdint>

namespace show {

/// Runs all enabled checks of every record, and reports their findings.
/// @return the number of errors.
uint32_t check_trees(const tool::TreeFile &file, const tool::CheckSeverities &severities);

} // namespace show
