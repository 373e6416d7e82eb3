// Detection of file format and byte order: counts that exceed the limits of a record reveal a wrong
// guess.
#include "tools/support/file_format.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tool {

namespace {

using Bytes = std::span<const unsigned char>;

constexpr ByteOrder kHostOrder =
    std::endian::native == std::endian::little ? ByteOrder::kLittle : ByteOrder::kBig;

uint32_t integer_at(Bytes bytes, size_t offset, size_t width, ByteOrder order) {
    uint32_t value = 0;
    for (size_t i = 0; i < width; ++i)
        value = value << 8U | bytes[offset + (order == ByteOrder::kBig ? i : width - 1 - i)];
    return value;
}

// Returns whether the bytes are certainly a header: with nodes, and a path that ends with a NUL.
bool is_clear_header(Bytes bytes, ByteOrder order) {
    if (bytes.size() < sizeof(subtree_header_t))
        return false;
    const DecodedHeader decoded{bytes, order};
    const size_t path_end = sizeof decoded.header + decoded.header.path_len;
    return decoded.is_readable() && decoded.header.tree_bytes > 0 && decoded.header.path_len > 0 &&
           (path_end > bytes.size() || bytes[path_end - 1] == '\0');
}

bool is_possible_header(Bytes bytes, ByteOrder order) {
    return bytes.size() >= sizeof(subtree_header_t) && DecodedHeader{bytes, order}.is_readable();
}

bool counts_fit(Bytes record, ByteOrder order) {
    const auto count_at = [&](size_t offset) { return integer_at(record, offset, 2, order); };
    return count_at(offsetof(tree_node_t, child_count)) <= TREE_MAX_CHILDREN &&
           count_at(offsetof(tree_node_t, param_count)) <= TREE_MAX_PARAMS;
}

// Byte orders in which the counts of the records of a node array are valid.
struct RecordVotes {
    size_t little = 0; // records whose counts are valid in this order only
    size_t big = 0;
    size_t neither = 0;
    size_t all = 0;

    explicit RecordVotes(Bytes bytes) {
        constexpr size_t kClearLead = 100;
        for (; bytes.size() >= TREE_NODE_SIZE && all < TREE_MAX_NODES;
             bytes = bytes.subspan(TREE_NODE_SIZE)) {
            const bool fits_little = counts_fit(bytes, ByteOrder::kLittle);
            const bool fits_big = counts_fit(bytes, ByteOrder::kBig);
            little += static_cast<size_t>(fits_little && !fits_big);
            big += static_cast<size_t>(fits_big && !fits_little);
            neither += static_cast<size_t>(!fits_little && !fits_big);
            ++all;
            if (std::max(little, big) > std::min(little, big) + neither + kClearLead)
                break;
        }
    }

    [[nodiscard]] ByteOrder order() const {
        if (little == big)
            return kHostOrder;
        return little > big ? ByteOrder::kLittle : ByteOrder::kBig;
    }
};

// Returns whether the bytes may be records. The first bytes of a subtree header are zero, but not
// as many as the bytes of an empty name.
bool is_main_tree(Bytes bytes, const RecordVotes &votes) {
    if (votes.all == 0 || 2 * votes.neither >= votes.all)
        return false;
    const Bytes name = bytes.first(TREE_NAME_SIZE);
    const bool is_empty = name[0] == '\0';
    return is_empty ? std::ranges::all_of(name, [](unsigned char c) { return c == '\0'; })
                    : std::ranges::find(name, '\0') != name.end();
}

// Returns whether the bytes are a header with one invalid size.
bool is_nearly_header(Bytes bytes, ByteOrder order) {
    if (bytes.size() < sizeof(subtree_header_t))
        return false;
    const DecodedHeader decoded{bytes, order};
    const auto &[version, kind, path_len, tree_bytes, reserved] = decoded.header;
    const size_t path_end = sizeof decoded.header + path_len;
    const bool has_path = path_len > 0 && path_len <= SUBTREE_PATH_TEXT_SIZE &&
                          path_end <= bytes.size() && bytes[path_end - 1] == '\0';
    const bool has_nodes = tree_bytes > 0 && tree_bytes % TREE_NODE_SIZE == 0 &&
                           tree_bytes / TREE_NODE_SIZE <= TREE_MAX_NODES;
    return reserved[0] == 0 && reserved[1] == 0 && (has_path || has_nodes);
}

std::optional<ByteOrder> header_order(Bytes bytes, const FormatOverride &format_override,
                                      bool (*accepts)(Bytes, ByteOrder)) {
    for (const ByteOrder order : {ByteOrder::kBig, ByteOrder::kLittle})
        if (format_override.order.value_or(order) == order && accepts(bytes, order))
            return order;
    return std::nullopt;
}

} // namespace

DecodedHeader::DecodedHeader(std::span<const unsigned char> bytes, ByteOrder order) {
    const auto word = [&](size_t offset) { return integer_at(bytes, offset, 4, order); };
    header.version = word(offsetof(subtree_header_t, version));
    header.path_kind = word(offsetof(subtree_header_t, path_kind));
    header.path_len = word(offsetof(subtree_header_t, path_len));
    header.tree_bytes = word(offsetof(subtree_header_t, tree_bytes));
    header.reserved[0] = word(offsetof(subtree_header_t, reserved));
    header.reserved[1] = word(offsetof(subtree_header_t, reserved) + 4);
}

bool DecodedHeader::is_readable() const {
    return header.path_len <= SUBTREE_PATH_TEXT_SIZE && header.tree_bytes % TREE_NODE_SIZE == 0 &&
           header.tree_bytes / TREE_NODE_SIZE <= TREE_MAX_NODES;
}

std::optional<FileFormat> detect_format(std::span<const unsigned char> bytes,
                                        const FormatOverride &format_override) {
    const bool may_be_main =
        format_override.container.value_or(Container::kMain) == Container::kMain;
    const bool may_be_subtrees =
        format_override.container.value_or(Container::kSubtrees) == Container::kSubtrees;
    if (may_be_subtrees)
        if (const auto order = header_order(bytes, format_override, is_clear_header))
            return FileFormat{Container::kSubtrees, *order};
    if (may_be_main) {
        const RecordVotes votes{bytes};
        if (!may_be_subtrees || is_main_tree(bytes, votes))
            return FileFormat{Container::kMain, format_override.order.value_or(votes.order())};
    }
    auto order = header_order(bytes, format_override, is_possible_header);
    if (!order && may_be_subtrees)
        order = header_order(bytes, format_override, is_nearly_header);
    if (order || !may_be_main || bytes.empty()) // an empty file is a subtree file without records
        return FileFormat{Container::kSubtrees,
                          order.value_or(format_override.order.value_or(ByteOrder::kBig))};
    return std::nullopt;
}

} // namespace tool
