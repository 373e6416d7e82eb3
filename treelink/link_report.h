/* Counters of warnings and errors of a link. The linker reports them on standard error and
 * continues; the counters show the program whether there were any. */
#ifndef TSH_TREELINK_LINK_REPORT_H
#define TSH_TREELINK_LINK_REPORT_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Number of warnings and errors reported since the link started; a new link resets both counters
 * to 0. An error that stops a link is visible in its result and is not always counted. The program
 * may set the counters; the linker only increments them. */
TSH_API uint32_t tsh_link_warnings;

/** Number of these messages that report missing input: a file or a part of it that was not read, a
 * skipped subtree, or a path at which it was not attached. After the others, such as a duplicate
 * name, the tree is complete. */
TSH_API uint32_t tsh_link_losses;

#endif
