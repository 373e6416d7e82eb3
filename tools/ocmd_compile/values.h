// Values of keys: numbers and bytes from texts.
#pragma once

#include "tools/ocmd_compile/grammar.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace compiler {

/// Below 2^128, decimal or behind "0x" hexadecimal.
std::optional<Bits> read_number(std::string_view text);

/// Decimal of 64 bits, with a minus or without, or hexadecimal below 2^63.
std::optional<int64_t> read_signed(std::string_view text);

/// yes or true, no or false.
std::optional<bool> read_yes_no(std::string_view text);

/// Pairs of hexadecimal digits, with blanks between them or without.
std::optional<std::string> read_hex_bytes(std::string_view text);

/// Whether all of a number lies in its lowest bits.
bool fits(const Bits &number, unsigned bits);

} // namespace compiler
