/* Writing a file so that its readers find the old content or the new one, whole. A program opens a
 * replacement for a path, writes to its stream, and either commits it or abandons it; until the
 * commit nothing at the path changes. */
#ifndef TSH_TREELINK_FILE_REPLACEMENT_H
#define TSH_TREELINK_FILE_REPLACEMENT_H

#include "platform/tsh_api.h"

#include <stdint.h>
#include <stdio.h>

/** A file that is being written in place of another. */
typedef struct tsh_file_replacement_t tsh_file_replacement_t;

/** Opens a replacement for the file at a path, which need not exist yet. What a symbolic link
 * points to is replaced, not the link.
 *
 * The new file is made in the folder of the old one, without a name, so that nothing stays behind
 * when the process ends before the commit, in whatever way. Only where the file system knows no
 * such files, or there is no /proc to name them by, it is called ".tsh-", process number, "-",
 * number; it stays when the process is ended by a signal. One that takes the place of another has
 * such a name for the moment of the commit, in which signals wait; only SIGKILL does not. Access
 * rights pass from the old file to the new one, owner and group as far as the process may set them;
 * access lists and other attributes do not. A file that did not exist gets the rights that any new
 * file gets there.
 *
 * A folder in which nothing can be created keeps the old file itself: what is written is held in
 * memory until the commit. A target that is no regular file (a device, a pipe) is written to
 * directly.
 * @return to be released by one of the operations below; null with errno set when the target could
 *         not be opened for writing or created, or without memory. */
TSH_API tsh_file_replacement_t *tsh_file_replacement_open(const char *path);

/** Where to write. It belongs to the replacement; its descriptor lies above those of the standard
 * streams, even if these are closed. */
TSH_API FILE *tsh_file_replacement_stream(tsh_file_replacement_t *file);

/** Ends the writing, brings the file to the disk, puts it in place of the old one and releases the
 * replacement. Where the folder allows no file to be put in place of another, the old file is
 * written over once its new length is known to fit. What fails in the middle of that is undone;
 * only where that fails as well, or the old file may not be read, is the old content lost.
 * @return 0; -1 with errno set when the file could not be written to the last byte or put in
 *         place, the old file then being as it was and no new one being there. A write to the
 *         stream that failed earlier counts as well. */
TSH_API int32_t tsh_file_replacement_commit(tsh_file_replacement_t *file);

/** Gives the new file up and releases the replacement; null is ignored. The old file is as it was;
 * what a device or a pipe has taken it keeps. errno is left as it is. */
TSH_API void tsh_file_replacement_abandon(tsh_file_replacement_t *file);

#endif
