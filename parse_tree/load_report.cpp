// Reasons why a main tree is not loaded, and guesses at what the file is instead.
#include "parse_tree/load_report_internal.h"

#include "base/escape.h"
#include "parse_tree/byte_order.h"
#include "parse_tree/par_file_internal.h"
#include "parse_tree/tree_check_internal.h"
#include "parse_tree/tree_load.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

using Bytes = std::span<const unsigned char>;
using Nodes = std::span<const tree_node_t>;

void say(const char *path, const char *reason, const char *look = "") {
    const bool cut = strlen(path) == TSH_PARSE_FILE_SIZE - 1;
    base::print_escaped(stderr, "%s: %s%s%s\n", path, reason, look,
                        cut ? "; names are cut at 127 characters" : "");
}

bool is_gzip(Bytes start) {
    return start.size() >= 2 && start[0] == 0x1F && start[1] == 0x8B;
}

// A header in network order whose sizes the file has room for.
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

// No count above its limit once its bytes are swapped, although some are as they stand.
bool is_in_other_order(Nodes nodes) {
    bool holds_here = true;
    bool holds_there = true;
    for (const tree_node_t &node : nodes.first(std::min<size_t>(nodes.size(), TREE_MAX_NODES))) {
        holds_here &= node.child_count <= TREE_MAX_CHILDREN && node.param_count <= TREE_MAX_PARAMS;
        holds_there &= __builtin_bswap16(node.child_count) <= TREE_MAX_CHILDREN &&
                       __builtin_bswap16(node.param_count) <= TREE_MAX_PARAMS;
    }
    return holds_there && !holds_here;
}

const char *look_of(Bytes start, uint64_t size) {
    if (is_gzip(start))
        return "; it looks like a gzip file";
    if (is_subtree_file(start, size))
        return "; it looks like a subtree file";
    return "";
}

const char *look_of(Nodes nodes) {
    const Bytes bytes{reinterpret_cast<const unsigned char *>(nodes.data()), nodes.size_bytes()};
    const char *look = look_of(bytes.first(sizeof(subtree_header_t)), bytes.size());
    if (*look == '\0' && is_in_other_order(nodes))
        return kOtherOrder;
    return look;
}

} // namespace

void tsh::report_unmapped(const char *path, int error) {
    const ParFile file{path};
    const auto status = file.status();
    if (!status)
        return say(path, strerror(error == 0 ? errno : error));
    const off_t size = status->st_size;
    if (!S_ISREG(status->st_mode))
        return say(path, "it is not a regular file");
    if (size > 0 && size % TREE_NODE_SIZE == 0)
        return say(path, error == 0 ? "it is too large" : strerror(error));
    if (size == 0)
        return say(path, "it is empty");

    std::array<char, 80> reason;
    snprintf(reason.data(), reason.size(), "its size of %jd bytes is not a multiple of %d",
             static_cast<intmax_t>(size), TREE_NODE_SIZE);
    std::array<unsigned char, sizeof(subtree_header_t)> start;
    const ssize_t length = read(file.descriptor(), start.data(), start.size());
    say(path, reason.data(),
        look_of({start.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))},
                static_cast<uint64_t>(size)));
}

bool tsh::report_if_unsound(const char *path, std::span<const tree_node_t> nodes) {
    struct Tree {
        const char *path;
        Nodes nodes;
    } tree{path, nodes};
    const auto say_first = [](const tsh_tree_fault_t *fault, void *context) -> int32_t {
        const Tree &checked = *static_cast<const Tree *>(context);
        say(checked.path, FaultText{checked.nodes, *fault}.text(), look_of(checked.nodes));
        return 1;
    };
    return tsh_tree_check(nodes.data(), static_cast<uint32_t>(nodes.size()), say_first, &tree) > 0;
}

void tsh::report_no_redirect_root(const char *path, std::span<const tree_node_t> nodes) {
    say(path, "no \"tsh_redirect_root\" below the root, whose first child is not looked at",
        look_of(nodes));
}
