/* Atomic file replacement: readers find either the complete old or the complete new content. A
 * program opens a replacement for a path, writes to its stream, and either commits or abandons it;
 * the path does not change before the commit. */
#ifndef TSH_TREELINK_FILE_REPLACEMENT_H
#define TSH_TREELINK_FILE_REPLACEMENT_H

#include "platform/tsh_api.h"

#include <stdint.h>
#include <stdio.h>

/** A file that is being written to replace another. */
typedef struct tsh_file_replacement_t tsh_file_replacement_t;

/** Opens a replacement for the file at a path, which need not exist yet. For a symbolic link,
 * replaces its target, not the link.
 *
 * The new file is created in the directory of the old one, without a name, so that no file remains
 * if the process ends before the commit, for any reason. If the file system does not support such
 * files, or /proc is missing, the file is named ".tsh-", process number, "-", number, and remains
 * if a signal ends the process. A file that replaces another has such a name during the commit,
 * while all signals except SIGKILL are blocked. The new file gets the mode of the old one, and its
 * owner and group as far as the process may set them, but not access lists and other attributes. A
 * file that did not exist gets the usual mode of a new file.
 *
 * If no file can be created in the directory, the output is stored in memory until the commit. A
 * target that is not a regular file (a device, a pipe) is written to directly.
 * @return the replacement, to be released by one of the functions below; null with errno set if the
 *         target could not be opened for writing or created, or if out of memory. */
TSH_API tsh_file_replacement_t *tsh_file_replacement_open(const char *path);

/** Returns the stream to write to, which the replacement owns. Its descriptor is above those of the
 * standard streams, even if these are closed. */
TSH_API FILE *tsh_file_replacement_stream(tsh_file_replacement_t *file);

/** Flushes and synchronizes the file, replaces the old one and releases the replacement. If the
 * directory does not allow a file to be replaced, the old file is overwritten in place after its
 * space has been reserved. If this fails, it is rolled back; the old content is lost only if the
 * rollback fails as well, or if the old file could not be read.
 * @return 0; -1 with errno set if the file could not be written completely or could not replace the
 *         old one. The old file is then unchanged, and there is no new one. Earlier write errors of
 *         the stream count as well. */
TSH_API int32_t tsh_file_replacement_commit(tsh_file_replacement_t *file);

/** Discards the new file and releases the replacement; null is ignored. The old file is unchanged;
 * bytes already written to a device or a pipe remain. Does not change errno. */
TSH_API void tsh_file_replacement_abandon(tsh_file_replacement_t *file);

#endif
