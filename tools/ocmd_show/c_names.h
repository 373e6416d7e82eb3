// Names of functions in C.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace show {

/// Gives each function a name in C. A name that is an identifier, and not reserved for the
/// language, its library, POSIX or built-in functions of compilers, stays. Any other gets "cmd_"
/// before it, and "_" for each byte that is no ASCII letter or digit. If another function has that
/// name, "_2" follows, or "_3" and so on.
class CNames {
public:
    /// Reserves a name if it stays. Precondition of name_for: all names were reserved.
    void reserve(std::string_view name);
    std::string name_for(std::string_view name);

private:
    std::map<std::string, uint32_t, std::less<>> used_; // the last number that followed each
};

/// Returns whether the byte may be part of an identifier.
bool is_identifier_byte(char c);

/// Returns whether a function may have this name.
bool is_free_identifier(std::string_view name);

} // namespace show
