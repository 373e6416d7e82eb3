// Standard output as the utility uses it: its results, all of them or a failure.
#pragma once

// Gives standard output a buffer that makes large writes; before anything is written.
void enlarge_output_buffer();

// Flushes standard output. The results are what the utility is run for, so a byte lost there is a
// failure: a message on standard error and EXIT_FAILURE; else EXIT_SUCCESS.
int status_of_output();
