// Capacity of pipes.
#include "base/pipe.h"

#include <fcntl.h>
#include <unistd.h>

void base::widen_output_pipe(int bytes) {
    const int size = fcntl(STDOUT_FILENO, F_GETPIPE_SZ); // -1 for what is no pipe
    if (size >= 0 && size < bytes)
        fcntl(STDOUT_FILENO, F_SETPIPE_SZ, bytes);
}
