// What the bytes of a file are, by their look: nothing in a file of trees says so.
#pragma once

#include "tools/support/tree_input.h"

#include <optional>
#include <span>

namespace tool {

struct Look {
    Container container;
    ByteOrder order;
};

/// A header of a subtree record as its bytes say in one byte order.
struct HeaderLook {
    subtree_header_t header;

    /// From the first bytes, at least as many as a header has.
    HeaderLook(std::span<const unsigned char> bytes, ByteOrder order);

    /// Whether a reader takes it: the attach path fits its record, and the nodes are whole ones
    /// that indices can name.
    [[nodiscard]] bool is_readable() const;
};

/// What the bytes are, out of what the caller leaves open; nothing when they are no trees. A file
/// that says nothing of its byte order, one record without links and parameters, has the usual one:
/// this host's in a main par file, network order in a subtree file.
std::optional<Look> look_at(std::span<const unsigned char> bytes, const Insist &insist);

} // namespace tool
