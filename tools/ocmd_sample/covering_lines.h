// Few lines that contain every word of a file.
#pragma once

#include "tools/ocmd_sample/line_numbers.h"

#include <functional>

namespace sample {

/// Visits lines until every node to a line is part of one.
void for_each_covering_line(const LineNumbers &numbers,
                            const std::function<void(const Line &line)> &visit);

} // namespace sample
