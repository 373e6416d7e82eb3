/* How a link went. The linker tells of what it meets on standard error and goes on; these counters
 * tell the program whether it told of anything. */
#ifndef TSH_TREELINK_LINK_REPORT_H
#define TSH_TREELINK_LINK_REPORT_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Warnings and errors that were told since the link started; a new link starts both counters at
 * 0. What ends a link shows in its result and is not always counted. The program may set the
 * counters, the linker only adds. */
TSH_API uint32_t tsh_link_warnings;

/** Those among them that tell of a loss: a file or a part of one that was not read, a subtree that
 * was left out, or a path at which it was not attached. The others, such as a name met twice, are
 * about a tree that holds everything. */
TSH_API uint32_t tsh_link_losses;

#endif
