/* Stream layer of tree files, plain or gzip-compressed, for all readers and writers of trees. */
#ifndef TSH_PARSE_TREE_TREE_FILE_H
#define TSH_PARSE_TREE_TREE_FILE_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Writes length bytes of the buffer.
 * @param stream a gzFile open for writing when compressed is non-zero, else a FILE *.
 * @return compressed: the result of gzwrite, the bytes written (0 on failure); else the result of
 *         fwrite for one item of length bytes: 1, or 0 on failure or for a length of 0. */
TSH_API int32_t write_regular_or_compressed(void *stream, const void *buffer, uint32_t length,
                                            int32_t compressed);

/** Reads up to length bytes into the buffer.
 * @param stream a gzFile open for reading when compressed is non-zero (a file that is not
 *        compressed is read as it is), else a FILE *.
 * @return the number of bytes read, fewer at the end of the file or on an error; negative for an
 *         error of the compressed layer. */
TSH_API int32_t read_regular_or_compressed(void *stream, void *buffer, uint32_t length,
                                           int32_t compressed);

#endif
