// Standard output of ocmd_gen: detection of incomplete output.
#pragma once

namespace tsh {

/// Flushes standard output. Returns EXIT_SUCCESS; if the output could not be written completely,
/// prints a message to standard error and returns EXIT_FAILURE.
int status_of_output();

} // namespace tsh
