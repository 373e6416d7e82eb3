// Signal installation and base names.
#include "feature/tsh/src/process.h"

#include <csignal>
#include <cstring>

int32_t signal_set(int signal_number, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    return sigaction(signal_number, &action, nullptr);
}

char *tsh_util_get_filename(char *path) {
    char *slash = strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}
