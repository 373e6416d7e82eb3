// Standard output of ocmd_gen: pipe size, and detection of incomplete output.
#pragma once

namespace tsh {

/// If standard output is a pipe, enlarges it to the size of a block, so that its reader works while
/// the next block is filled. Ignores a pipe that cannot be enlarged.
void widen_output_pipe();

/// Flushes standard output. Returns EXIT_SUCCESS; if the output could not be written completely,
/// prints a message to standard error and returns EXIT_FAILURE.
int status_of_output();

} // namespace tsh
