// What no producer of so many bytes can beat: floor BYTES writes them to standard output out of one
// warm buffer and does nothing else.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

int main(int argc, char **argv) {
    constexpr size_t kBufferSize = 262144;
    if (getenv("WIDE")) fcntl(STDOUT_FILENO, F_SETPIPE_SZ, static_cast<int>(kBufferSize)); // of no avail where it is no pipe
    const std::vector<char> buffer(kBufferSize, 'x');
    size_t left = argc == 2 ? strtoull(argv[1], nullptr, 10) : 0;
    while (left > 0) {
        const ssize_t written = write(STDOUT_FILENO, buffer.data(), std::min(left, kBufferSize));
        if (written < 0) {
            perror("floor");
            return 1;
        }
        left -= static_cast<size_t>(written);
    }
    return 0;
}
