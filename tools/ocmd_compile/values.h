// Values of keys: numbers and bytes from texts.
#pragma once

#include "tools/ocmd_compile/grammar.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace compiler {

/// Reads a number below 2^128: decimal, or hexadecimal after "0x".
std::optional<Bits> read_number(std::string_view text);

/// Reads a signed decimal number of 64 bits, or a hexadecimal number below 2^63.
std::optional<int64_t> read_signed(std::string_view text);

/// Reads yes or true, no or false.
std::optional<bool> read_yes_no(std::string_view text);

/// Reads pairs of hexadecimal digits, with or without spaces between them.
std::optional<std::string> read_hex_bytes(std::string_view text);

/// Returns whether a number has no bits beyond its lowest ones.
bool fits(const Bits &number, unsigned bits);

} // namespace compiler
