/* Process helpers: signal handlers and file names. */
#ifndef TSH_FEATURE_TSH_PROCESS_H
#define TSH_FEATURE_TSH_PROCESS_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Installs a signal handler with an empty mask and no flags: interrupted system calls are not
 * restarted, and the handler stays installed.
 * @return 0, or -1 with errno set. */
TSH_API int32_t signal_set(int signal_number, void (*handler)(int));

/** Returns the part of a path after its last '/', or the path itself if there is none; a pointer
 * into the path, which must not be null. */
TSH_API char *tsh_util_get_filename(char *path);

#endif
