// Standard output as the utility uses it: its results, all of them or a failure.
#pragma once

namespace tsh {

/// Where standard output is a pipe, makes it hold a whole block, so that its reader has something
/// to do while the next block is made. A pipe that may not grow stays as it is.
void widen_output_pipe();

/// Flushes standard output. The results are what the utility is run for, so a byte lost there is a
/// failure: a message on standard error and EXIT_FAILURE; else EXIT_SUCCESS.
int status_of_output();

} // namespace tsh
