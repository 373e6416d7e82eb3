/* Allocation wrappers of the registry, the enumeration and the string utilities. Sizes are in
 * bytes; a size of 0 gives a block of one byte. No function ends the process. */
#ifndef TSH_FEATURE_TSH_MEMORY_H
#define TSH_FEATURE_TSH_MEMORY_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Allocates size bytes, all zero. The caller owns the block and releases it with tsh_free.
 * @return the block; null after "\nErr: Malloc failed..." on standard output. */
TSH_API void *tsh_malloc(uint32_t size);

/** Resizes a block from these helpers (or allocates one for null); bytes beyond the old size are
 * not cleared.
 * @return the new block; null after "\nErr: Realloc failed..." on standard output; the caller
 *         then still owns the unchanged old block. */
TSH_API void *tsh_realloc(void *block, uint32_t size);

/** Releases a block; null is ignored. */
TSH_API void tsh_free(void *block);

/** Returns a copy of a string, owned by the caller; null for a null string (silently), and if
 * tsh_malloc fails. */
TSH_API char *tsh_strdup(const char *text);

/** Returns a copy of a string followed by one space, owned by the caller; a single space for a null
 * or empty string; null if tsh_malloc fails. */
TSH_API char *tsh_strdup_with_space(const char *text);

#endif
