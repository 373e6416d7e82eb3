// Reporting and counting of the linker's messages.
#pragma once

#include "treelink/link_report.h"

namespace tsh {

/// Whether a part of the input is missing from the tree.
enum class Loss : bool { kNothing, kPart };

/// Writes a message to standard error and counts it.
[[gnu::format(printf, 2, 3)]] void warn(Loss loss, const char *format, ...);

} // namespace tsh
