// Commands of the shell itself, which begin with ":".
#pragma once

#include "tools/ocmd_try/command_shell.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace shell {

enum class Outcome : uint8_t { kDone, kRefused, kQuit };

/// Whether a line is one for the shell itself.
bool is_own_command(std::string_view line);

/// Runs such a line. @param height of the screen in lines; 0 without a terminal.
Outcome run_own_command(std::string_view line, CommandShell &command_shell, size_t height);

/// Names of the commands that begin with a text, with the colon.
std::vector<std::string_view> own_commands(std::string_view beginning);

} // namespace shell
