// Values for the parameters of sample lines.
#pragma once

#include "param_reg/values.h"
#include "tools/ocmd_sample/random.h"

#include <optional>
#include <string>

namespace sample {

/// Returns an example that the parameter accepts; none if no value is known.
std::optional<std::string> example_of(const parameter_info_t &parameter, tsh_example_t which);

/// Returns a random value that the parameter accepts: any number within its bounds, a text of any
/// length up to its maximum, or the typical example with other letters and digits. None if no value
/// is known.
std::optional<std::string> random_value_of(const parameter_info_t &parameter, Random &random);

} // namespace sample
