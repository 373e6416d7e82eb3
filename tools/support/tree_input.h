// Reader for main par files and subtree files with automatic format detection: plain or
// gzip-compressed, in either byte order.
#pragma once

#include "base/owners.h"
#include "parse_tree/tree.h"
#include "parse_tree/tree_node.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

enum class Container : uint8_t { kMain, kSubtrees };
enum class ByteOrder : uint8_t { kLittle, kBig };

using TreeHandle = std::unique_ptr<tsh_tree_t, base::Releaser<tsh_tree_close>>;

/// One tree with the header of its record. A main par file is one tree without a header.
struct TreeRecord {
    std::span<const tree_node_t> nodes; ///< In host order; node 0 is the root.
    uint32_t version = 0;
    uint32_t path_kind = 0;
    std::string attach_path; ///< Names separated by commas.
    TreeHandle tree = {};    ///< Handle of the nodes, if they are valid and from a file.
};

/// Returns the names of an attach path as the linker reads it, without empty ones.
std::vector<std::string_view> attach_names(std::string_view attach_path);

/// Format given by the caller; disables detection.
struct FormatOverride {
    std::optional<Container> container;
    std::optional<ByteOrder> order;
};

/// An open file of trees. Nodes are mapped if possible, else read.
class TreeFile {
public:
    /// Opens and reads a file, "-" for standard input. Reports a file that cannot be read or
    /// contains no trees, and exits with kError. If the file is truncated or a record is corrupt,
    /// reports this and keeps the complete records before this position.
    explicit TreeFile(const std::string &path, const FormatOverride &format_override = {});
    ~TreeFile();
    TreeFile(TreeFile &&) noexcept;
    TreeFile &operator=(TreeFile &&) = delete;

    [[nodiscard]] const std::string &name() const;
    [[nodiscard]] Container container() const;
    [[nodiscard]] ByteOrder order() const;
    [[nodiscard]] bool compressed() const;
    /// Returns the records; every record has nodes.
    [[nodiscard]] std::span<const TreeRecord> records() const;
    /// Returns whether the file is complete; false after a report of a missing part.
    [[nodiscard]] bool complete() const;

private:
    struct Content;
    std::unique_ptr<Content> content_;
};

/// Reports every error of every record with file, record and node, and a compressed main par file.
/// @return the number of errors.
uint32_t report_errors(const TreeFile &file);

/// Returns whether every tree is valid; if not, reports the first errors.
bool is_valid(const TreeFile &file);

/// Opens a file that must be valid and complete; otherwise exits with kNegative, or with kError if
/// it is empty.
TreeFile open_valid(const std::string &path);

} // namespace tool
