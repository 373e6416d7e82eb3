// Texts and bytes of records as they are shown.
#pragma once

#include "tools/support/text_output.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace show {

/// Writes a text between double quotes. Nothing in it can end its line or upset a terminal: control
/// characters, and bytes beyond ASCII in a text that is no UTF-8, are written by their numbers.
tool::TextOutput &put_quoted(std::string_view text, tool::TextOutput &output);

/// What is left when the zeros at the end are taken off, which a field has behind what it holds.
std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes);

} // namespace show
