// The one way in which the linker tells of what it meets.
#pragma once

#include "treelink/link_report.h"

namespace tsh {

/// Whether something that was handed to the link is missing from its tree.
enum class Loss : bool { kNothing, kPart };

/// Writes a message to standard error and counts it.
[[gnu::format(printf, 2, 3)]] void warn(Loss loss, const char *format, ...);

} // namespace tsh
