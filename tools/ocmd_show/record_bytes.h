// Texts and bytes of records as they are shown.
#pragma once

#include "tools/support/text_output.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace show {

/// Writes a text as tool::double_quoted has it.
tool::TextOutput &put_quoted(std::string_view text, tool::TextOutput &output);

/// What is left when the zeros at the end are taken off, which a field has behind what it holds.
std::span<const uint8_t> without_zeros_at_end(std::span<const uint8_t> bytes);

} // namespace show
