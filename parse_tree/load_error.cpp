// Loading errors of main trees, with a guess at the actual file format.
#include "parse_tree/load_error_internal.h"

#include "parse_tree/byte_order.h"
#include "parse_tree/par_file_internal.h"
#include "parse_tree/tree_check_internal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

using Bytes = std::span<const unsigned char>;
using Nodes = std::span<const tree_node_t>;

tsh_error_t error_of(tsh_error_code_t code, const char *reason, const char *format_hint = "") {
    tsh_error_t error{.code = code, .system_error = 0, .text = {}};
    snprintf(error.text, sizeof error.text, "%s%s", reason, format_hint);
    return error;
}

tsh_error_t system_error(int number) {
    tsh_error_t error = error_of(TSH_ERROR_SYSTEM, strerror(number));
    error.system_error = number;
    return error;
}

bool is_gzip(Bytes start) {
    return start.size() >= 2 && start[0] == 0x1F && start[1] == 0x8B;
}

// Returns whether the file starts with a header in network order whose sizes fit into the file.
bool is_subtree_file(Bytes start, uint64_t size) {
    if (start.size() < sizeof(subtree_header_t))
        return false;
    subtree_header_t header;
    memcpy(&header, start.data(), sizeof header);
    ntoh_subtree_header(&header);
    return header.path_len > 0 && header.path_len <= SUBTREE_PATH_TEXT_SIZE &&
           header.tree_bytes > 0 && header.tree_bytes % TREE_NODE_SIZE == 0 &&
           uint64_t{sizeof header} + header.path_len + header.tree_bytes <= size;
}

constexpr const char *kOtherOrder = std::endian::native == std::endian::little
                                        ? "; it looks like network byte order"
                                        : "; it looks like little-endian byte order";

// Returns whether all counts are within their limits after swapping their bytes, but not before.
bool is_in_other_order(Nodes nodes) {
    bool valid_as_is = true;
    bool valid_swapped = true;
    for (const tree_node_t &node : nodes.first(std::min<size_t>(nodes.size(), TREE_MAX_NODES))) {
        valid_as_is &= node.child_count <= TREE_MAX_CHILDREN && node.param_count <= TREE_MAX_PARAMS;
        valid_swapped &= __builtin_bswap16(node.child_count) <= TREE_MAX_CHILDREN &&
                         __builtin_bswap16(node.param_count) <= TREE_MAX_PARAMS;
    }
    return valid_swapped && !valid_as_is;
}

const char *format_hint(Bytes start, uint64_t size) {
    if (is_gzip(start))
        return "; it looks like a gzip file";
    if (is_subtree_file(start, size))
        return "; it looks like a subtree file";
    return "";
}

const char *format_hint(Nodes nodes) {
    const Bytes bytes{reinterpret_cast<const unsigned char *>(nodes.data()), nodes.size_bytes()};
    const char *hint = format_hint(bytes.first(sizeof(subtree_header_t)), bytes.size());
    if (*hint == '\0' && is_in_other_order(nodes))
        return kOtherOrder;
    return hint;
}

} // namespace

tsh_error_t tsh::mapping_error(const char *path, int error) {
    const base::Descriptor file = tsh::open_par_file(path);
    const auto status = file.status();
    if (!status)
        return system_error(error == 0 ? errno : error);
    const off_t size = status->st_size;
    if (!S_ISREG(status->st_mode))
        return error_of(TSH_ERROR_FORMAT, "it is not a regular file");
    if (size == 0)
        return error_of(TSH_ERROR_FORMAT, "it is empty");
    if (size % TREE_NODE_SIZE == 0)
        return error == 0 ? error_of(TSH_ERROR_FORMAT, "it is too large") : system_error(error);

    std::array<char, 80> reason;
    snprintf(reason.data(), reason.size(), "its size of %jd bytes is not a multiple of %d",
             static_cast<intmax_t>(size), TREE_NODE_SIZE);
    std::array<unsigned char, sizeof(subtree_header_t)> start;
    const ssize_t length = read(file.number(), start.data(), start.size());
    return error_of(TSH_ERROR_FORMAT, reason.data(),
                    format_hint({start.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))},
                                static_cast<uint64_t>(size)));
}

tsh_error_t tsh::tree_error(Nodes nodes) {
    try {
        if (const auto fault = check_tree(nodes))
            return error_of(TSH_ERROR_TREE, FaultText{nodes, *fault}.text(), format_hint(nodes));
        return {};
    } catch (const std::bad_alloc &) {
        return error_of(TSH_ERROR_NO_MEMORY, "out of memory in the cycle check");
    }
}

tsh_error_t tsh::redirect_root_error(Nodes nodes) {
    return error_of(TSH_ERROR_TREE, "root has no child \"tsh_redirect_root\" after its first child",
                    format_hint(nodes));
}
