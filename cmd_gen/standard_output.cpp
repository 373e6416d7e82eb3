// Standard output of ocmd_gen: pipe size at the start, check for write errors at the end.
#include "cmd_gen/standard_output_internal.h"

#include "cmd_gen/output_block_internal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

void tsh::widen_output_pipe() {
    constexpr int kWanted = kOutputBlockSize;
    const int size = fcntl(STDOUT_FILENO, F_GETPIPE_SZ); // -1 if it is not a pipe
    if (size >= 0 && size < kWanted)
        fcntl(STDOUT_FILENO, F_SETPIPE_SZ, kWanted);
}

int tsh::status_of_output() {
    if (ferror(stdout) == 0 && fflush(stdout) == 0)
        return EXIT_SUCCESS;
    fprintf(stderr, "ocmd_gen: cannot write to standard output: %s\n", strerror(errno));
    return EXIT_FAILURE;
}
