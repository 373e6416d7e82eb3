// Standard output as the utility uses it: its results, all of them or a failure.
#pragma once

// Flushes standard output. The results are what the utility is run for, so a byte lost there is a
// failure: a message on standard error and EXIT_FAILURE; else EXIT_SUCCESS.
int status_of_output();
