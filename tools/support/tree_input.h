// Opening a file of trees of any kind, known by its look: a main par file or a subtree file, plain
// or gzip-compressed, in either byte order.
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

/// One tree with what its record says of it. A main par file is one tree that says nothing.
struct TreeRecord {
    std::span<const tree_node_t> nodes; ///< In host order; node 0 is the root.
    uint32_t version = 0;
    uint32_t path_kind = 0;
    std::string attach_path; ///< Names separated by commas.
    TreeHandle tree = {};    ///< Handle of the nodes, if they are valid and lie in a file.
};

/// The names in an attach path as the linker reads it, which leaves out empty ones.
std::vector<std::string_view> attach_names(std::string_view attach_path);

/// What the caller insists on instead of looking.
struct Insist {
    std::optional<Container> container;
    std::optional<ByteOrder> order;
};

/// A file of trees, open as long as this lives; nodes are mapped where they can be, else read.
class TreeFile {
public:
    /// Opens and reads a file, "-" for standard input. A file that cannot be read, or whose bytes
    /// are no trees, is told with its name and the reason and ends the run with kTrouble; one that
    /// ends too early, or whose records are spoiled from some place on, is told, and the whole
    /// records before that place are there.
    explicit TreeFile(const std::string &path, const Insist &insist = {});
    ~TreeFile();
    TreeFile(TreeFile &&) noexcept;
    TreeFile &operator=(TreeFile &&) = delete;

    [[nodiscard]] const std::string &name() const;
    [[nodiscard]] Container container() const;
    [[nodiscard]] ByteOrder order() const;
    [[nodiscard]] bool compressed() const;
    /// No record is without nodes.
    [[nodiscard]] std::span<const TreeRecord> records() const;
    /// False when something of the file was told to be missing.
    [[nodiscard]] bool complete() const;

private:
    struct Content;
    std::unique_ptr<Content> content_;
};

/// Tells every fault of every record, each with file, record and node, and that a main par file is
/// compressed. @return how many.
uint32_t tell_faults(const TreeFile &file);

/// Whether every tree is sound; if not, the first faults are told.
bool is_sound(const TreeFile &file);

/// Opens a file for a tool that answers for all of it and follows links: one that is not sound or
/// not complete ends the run with kFaults, an empty one with kTrouble.
TreeFile open_sound(const std::string &path);

} // namespace tool
