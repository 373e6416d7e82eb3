// The stream layer: one pair of calls over zlib's gzip files and standard streams.
#include "parse_tree/tree_file.h"

#include <algorithm>
#include <cstdio>
#include <zlib.h>

int32_t write_regular_or_compressed(void *stream, const void *buffer, uint32_t length,
                                    int32_t compressed) {
    if (compressed != 0)
        return gzwrite(static_cast<gzFile>(stream), buffer, length);
    return static_cast<int32_t>(fwrite(buffer, length, 1, static_cast<FILE *>(stream)));
}

int32_t read_regular_or_compressed(void *stream, void *buffer, uint32_t length,
                                   int32_t compressed) {
    if (compressed != 0)
        return gzread(static_cast<gzFile>(stream), buffer, length);
    const auto most = std::min<uint32_t>(length, INT32_MAX);
    return static_cast<int32_t>(fread(buffer, 1, most, static_cast<FILE *>(stream)));
}
