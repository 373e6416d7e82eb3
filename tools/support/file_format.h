// Detection of file format and byte order: files of trees contain no marks for them.
#pragma once

#include "tools/support/tree_input.h"

#include <cstddef>
#include <optional>
#include <span>

namespace tool {

/// Bytes of the nodes of the largest tree.
constexpr size_t kMaxTreeSize = size_t{TREE_MAX_NODES} * TREE_NODE_SIZE;

struct FileFormat {
    Container container;
    ByteOrder order;
};

/// Header of a subtree record, decoded in one byte order.
struct DecodedHeader {
    subtree_header_t header;

    /// Decodes the first bytes, at least as many as a header has.
    DecodedHeader(std::span<const unsigned char> bytes, ByteOrder order);

    /// Returns whether a reader accepts it: the attach path fits into its record, and the nodes are
    /// complete and not too many for child indices.
    [[nodiscard]] bool is_readable() const;
};

/// Detects container and byte order, honouring overrides; nothing if the bytes are not trees. If
/// the byte order cannot be detected (one record without links and parameters), it is the usual
/// one: the host's in a main par file, network order in a subtree file.
/// Later bytes than kMaxTreeSize make no difference.
std::optional<FileFormat> detect_format(std::span<const unsigned char> bytes,
                                        const FormatOverride &format_override);

} // namespace tool
