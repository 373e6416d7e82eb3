/* Memory of the shell library: the wrappers through which the registry, the enumeration and the
 * string utilities allocate. Sizes count bytes; a size of 0 gives a block of one. None of them ends
 * the process. */
#ifndef TSH_FEATURE_TSH_MEMORY_H
#define TSH_FEATURE_TSH_MEMORY_H

#include "platform/tsh_api.h"

#include <stdint.h>

/** Allocates size bytes, all zero. The caller owns the block and releases it with tsh_free.
 * @return the block; null after "\nErr: Malloc failed..." on standard output. */
TSH_API void *tsh_malloc(uint32_t size);

/** Resizes a block from these helpers (or allocates one for null); bytes beyond the old size are
 * not cleared.
 * @return the new block; null after "\nErr: Realloc failed..." on standard output, the old block
 *         then being unchanged and still the caller's. */
TSH_API void *tsh_realloc(void *block, uint32_t size);

/** Releases a block; null is ignored. */
TSH_API void tsh_free(void *block);

/** Copy of a text, owned by the caller. @return null for a null text (silently) or when
 * tsh_malloc fails. */
TSH_API char *tsh_strdup(const char *text);

/** Copy of a text followed by one blank, owned by the caller; a single blank for a null or empty
 * text. @return null when tsh_malloc fails. */
TSH_API char *tsh_strdup_with_space(const char *text);

#endif
