// Attach points of documents that become one tree, resolved to the words that they name.
#pragma once

#include "tools/ocmd_compile/grammar.h"

#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace compiler {

/// Returns the attach points of a document as the linker reads them, each once.
std::vector<std::string_view> attach_points(const Document &document);

/// Returns whether a document has no attach point, so that it can be the root of a tree.
bool is_detached(const Document &document);

/// One attach point of a document.
struct Attachment {
    const Document *child;  ///< The document, whose first word is attached.
    std::string_view point; ///< The name.
    const Document *parent; ///< The document that defines the name; null if there is none.
    const Word *word;       ///< The word with this name; null if there is none.
};

/// All attach points of a grammar.
class Attachments {
public:
    /// No attach points: documents stay separate.
    Attachments() = default;
    /// Resolves the attach points of all documents. The first word with a name takes effect.
    explicit Attachments(std::span<const Document> documents);
    Attachments(const Attachments &) = delete;
    Attachments &operator=(const Attachments &) = delete;

    /// Returns all attach points in the order of their documents.
    [[nodiscard]] std::span<const Attachment> all() const { return all_; }

    /// Returns those of a document.
    [[nodiscard]] std::span<const Attachment> of(const Document &document) const;

    /// Returns the documents that are attached to a name, in their order.
    [[nodiscard]] std::span<const Document *const> below(std::string_view name) const;

private:
    std::vector<Attachment> all_;
    std::unordered_map<const Document *, std::span<const Attachment>> of_;
    std::unordered_map<std::string_view, std::vector<const Document *>> below_;
};

} // namespace compiler
