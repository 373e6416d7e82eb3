// YAML as the grammar's reader sees it: the nodes of one document in a row, each with its place.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/source_file.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace compiler {

enum class YamlKind : uint8_t {
    kScalar,
    kMapping, ///< Keys and values take turns.
    kSequence,
    kAlias,
    kBroken, ///< An undefined alias, which was already reported.
};

struct YamlNode {
    YamlKind kind;
    bool plain = false;      ///< A scalar without quotes.
    bool of_bytes = false;   ///< A scalar tagged "!bytes".
    bool anchored = false;   ///< Aliases may lead here.
    Place place;             ///< Of a mapping or sequence, where it begins.
    uint32_t end = 0;        ///< Index of the node after this one and all inside it.
    std::string_view text{}; ///< Of a scalar.
    uint32_t target = 0;     ///< Of an alias: the node it names, which is no alias.
};

/// The nodes of a document in the order in which they stand; node 0 is its root.
struct YamlDocument {
    const SourceFile *file = nullptr;
    base::HugeVector<YamlNode> nodes;

    [[nodiscard]] const YamlNode &operator[](uint32_t i) const { return nodes[i]; }
    /// The node itself, or the one that an alias names.
    [[nodiscard]] uint32_t resolved(uint32_t i) const {
        return nodes[i].kind == YamlKind::kAlias ? nodes[i].target : i;
    }
};

/// Reads the documents of a file one by one. Texts go to the store where they do not stand in the
/// file as they are.
class YamlReader {
public:
    YamlReader(const SourceFile &file, TextStore &texts, Messages &messages);
    ~YamlReader();
    YamlReader(const YamlReader &) = delete;
    YamlReader &operator=(const YamlReader &) = delete;

    /// The next whole document. False at the end of the file, and at a place where it stops being
    /// YAML, which is told.
    bool next(YamlDocument &document);

private:
    struct Parser;
    std::unique_ptr<Parser> parser_;
};

} // namespace compiler
