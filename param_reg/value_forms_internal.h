// Notations of values that are no numbers.
#pragma once

#include "param_reg/values.h"

#include <string_view>

namespace tsh {

/// Reads a text in a notation other than those of numbers. Returns whether it is in the notation.
/// value takes bytes or numbers if the notation has any.
bool read_form(tsh_form_t form, std::string_view text, tsh_value_t &value);

} // namespace tsh
