// YAML documents as arrays of nodes with their positions.
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
    kMapping, ///< Keys and values alternate.
    kSequence,
    kAlias,
    kBroken, ///< An undefined alias, which was already reported.
};

struct YamlNode {
    YamlKind kind;
    bool plain = false;      ///< A scalar without quotes.
    bool of_bytes = false;   ///< A scalar tagged "!bytes".
    bool anchored = false;   ///< Aliases may refer to it.
    SourceRange place;       ///< Of a mapping or sequence: its beginning.
    uint32_t end = 0;        ///< Index of the node after this one and all inside it.
    std::string_view text{}; ///< Of a scalar.
    uint32_t target = 0;     ///< Of an alias: its node, which is not an alias.
};

/// The nodes of a document in the order of the text; node 0 is its root.
struct YamlDocument {
    const SourceFile *file = nullptr;
    base::HugeVector<YamlNode> nodes;

    [[nodiscard]] const YamlNode &operator[](uint32_t i) const { return nodes[i]; }
    /// Returns the index of the node, or that of an alias's node.
    [[nodiscard]] uint32_t resolved(uint32_t i) const {
        return nodes[i].kind == YamlKind::kAlias ? nodes[i].target : i;
    }
};

/// Reads the documents of a file one by one. The store gets the texts that the file does not
/// contain literally.
class YamlReader {
public:
    YamlReader(const SourceFile &file, TextStore &texts, Messages &messages);
    ~YamlReader();
    YamlReader(const YamlReader &) = delete;
    YamlReader &operator=(const YamlReader &) = delete;

    /// Reads the next complete document. Returns false at the end of the file, and after reporting
    /// a syntax error.
    bool next(YamlDocument &document);

private:
    struct Parser;
    std::unique_ptr<Parser> parser_;
};

} // namespace compiler
