// Lower bound of a listing: floor BYTES writes that many bytes to standard output from one warm
// buffer and does nothing else. It does not enlarge a pipe.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

int main(int argc, char **argv) {
    const std::vector<char> buffer(262144, 'x');
    size_t left = argc == 2 ? strtoull(argv[1], nullptr, 10) : 0;
    while (left > 0) {
        const ssize_t written = write(STDOUT_FILENO, buffer.data(), std::min(left, buffer.size()));
        if (written < 0) {
            perror("floor");
            return 1;
        }
        left -= static_cast<size_t>(written);
    }
    return 0;
}
