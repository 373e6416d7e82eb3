// Standard output of ocmd_gen: detection of incomplete output.
#include "cmd_gen/standard_output_internal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int tsh::status_of_output() {
    if (ferror(stdout) == 0 && fflush(stdout) == 0)
        return EXIT_SUCCESS;
    fprintf(stderr, "ocmd_gen: cannot write to standard output: %s\n", strerror(errno));
    return EXIT_FAILURE;
}
