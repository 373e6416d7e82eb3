// Checks across documents.
#include "tools/ocmd_compile/link_checks.h"

#include "param_reg/values.h"
#include "tools/ocmd_compile/main_tree.h"
#include "tools/support/tree_shape.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace compiler {

namespace {

using tool::quoted;

// Depth-first search from documents to their parents.
class ParentSearch {
public:
    ParentSearch(const Attachments &attachments, Messages &messages)
        : attachments_(attachments), messages_(messages) {}

    void search(const Document &start) {
        enter(start);
        while (!path_.empty()) {
            Step &step = path_.back();
            if (step.next == step.attachments.size()) {
                state_[step.document] = State::kDone;
                parents_first_.push_back(step.document);
                path_.pop_back();
                continue;
            }
            const Attachment &attachment = step.attachments[step.next++];
            if (attachment.parent == nullptr)
                continue;
            const State state = state_[attachment.parent];
            if (state == State::kNew)
                enter(*attachment.parent);
            else if (state == State::kOpen)
                report_cycle(attachment);
        }
    }

    [[nodiscard]] bool has_cycle() const { return has_cycle_; }
    [[nodiscard]] std::vector<const Document *> parents_first() const { return parents_first_; }

private:
    enum class State : uint8_t { kNew, kOpen, kDone };
    struct Step {
        const Document *document;
        std::span<const Attachment> attachments;
        size_t next = 0;
    };

    void enter(const Document &document) {
        State &state = state_[&document];
        if (state != State::kNew)
            return;
        state = State::kOpen;
        path_.push_back({&document, attachments_.of(document)});
    }

    // Reports the attachment that leads from the last document of the path back to one on it.
    void report_cycle(const Attachment &attachment) {
        constexpr size_t kMostNotes = 10;
        has_cycle_ = true;
        std::vector<Note> notes;
        for (auto step = path_.rbegin() + 1;
             path_.back().document != attachment.parent && notes.size() < kMostNotes; ++step) {
            const Document &document = *step->document;
            notes.push_back({document.file, document.attach_place,
                             "this document, which is below " +
                                 quoted(step->attachments[step->next - 1].point) +
                                 ", is part of the cycle"});
            if (&document == attachment.parent)
                break;
        }
        messages_.error(*attachment.child->file, attachment.child->attach_place,
                        "cycle of attach points: " + quoted(attachment.point) +
                            " is below this document",
                        std::move(notes));
    }

    const Attachments &attachments_;
    Messages &messages_;
    std::unordered_map<const Document *, State> state_;
    std::vector<Step> path_; // each document but the first is the parent of the one before
    std::vector<const Document *> parents_first_;
    bool has_cycle_ = false;
};

// Returns whether there is a root.
bool check_roots(const Grammar &grammar, Messages &messages) {
    if (grammar.documents.empty())
        return false;
    const Document *root = nullptr;
    for (const Document &document : grammar.documents) {
        if (!is_detached(document))
            continue;
        if (root != nullptr)
            messages.error(*document.file,
                           document.is_root ? document.place : document.attach_place,
                           document.is_root ? "second root; expected 'below' in a subtree"
                                            : "'below' is empty, so this is a second root",
                           {{root->file, root->place, "first root defined here"}});
        else
            root = &document;
    }
    if (root == nullptr) {
        const Document &first = grammar.documents.front();
        messages.error(*first.file, first.attach_place,
                       "no root among the input files; expected one document without 'below'");
    }
    return root != nullptr;
}

// Suggests a name of another document.
std::string suggestion_outside(const Document &document, const Grammar &grammar,
                               std::string_view point) {
    std::vector<std::string_view> names;
    for (const Document &other : grammar.documents)
        if (&other != &document)
            for (const Word &word : other.words)
                names.push_back(word.name);
    return tool::suggestion(point, names);
}

// Returns whether the linker would find the nodes in conflict.
bool is_refused_beside(const tree_node_t &node, const Word &word) {
    const std::string_view token = tool::text_of(node.token);
    if (!token.empty() || !word.key.token.empty())
        return token == word.key.token;
    const uint32_t type = node.params[0].type_mask;
    return node.param_count > 0 && word.key.parameter_count > 0 && type == word.key.types[0] &&
           tsh_mask_may_repeat(nullptr, type) == 0;
}

// Returns a note about the sibling that a borrowed node is in conflict with, if there is one.
std::optional<Note> conflict_of(const dl_hash_entry_t &borrowed, const NamedWords &defined,
                                const Attachments &attachments) {
    const auto [document, parent] = defined.at(tool::text_of(borrowed.parent->name));
    constexpr const char *kText = "sibling defined here";
    for (const Link &link : document->links_of(*parent))
        if (link.child != kNoWord && is_refused_beside(*borrowed.node, document->words[link.child]))
            return Note{document->file, link.place, kText};
    for (const Document *attached : attachments.below(parent->name))
        if (!attached->words.empty() && is_refused_beside(*borrowed.node, attached->words[0]))
            return Note{attached->file, attached->words[0].place, kText};
    return std::nullopt;
}

void check_attach_points(const Grammar &grammar, const Attachments &attachments,
                         Messages &messages) {
    NamedWords defined;
    for (const Attachment &attachment : attachments.all()) {
        if (attachment.word != nullptr)
            continue;
        if (defined.empty()) {
            read_prebuilt_trees();
            for (const Document &document : grammar.documents)
                for (const Word &word : document.words)
                    defined.try_emplace(word.name, &document, &word);
        }
        const Document &document = *attachment.child;
        if (const dl_hash_entry_t *borrowed = borrowed_below(attachment.point, defined)) {
            if (std::optional<Note> note = conflict_of(*borrowed, defined, attachments))
                messages.error(*document.file, document.attach_place,
                               "attach point " + quoted(attachment.point) +
                                   " cannot be borrowed: node " +
                                   quoted(tool::text_of(borrowed->node->name)) +
                                   " of the prebuilt tree and its sibling match the same word",
                               {std::move(*note)});
            continue;
        }
        const std::string meant = messages.keeps_next(*document.file)
                                      ? suggestion_outside(document, grammar, attachment.point)
                                      : std::string{};
        messages.error(*document.file, document.attach_place,
                       "unknown attach point " + quoted(attachment.point) +
                           "; no input file defines it" + meant);
    }
}

// The linker would leave out the documents that exceed a limit.
void check_limits(const Grammar &grammar, const Attachments &attachments, Messages &messages) {
    std::unordered_map<const Word *, size_t> words_below;
    for (const Attachment &attachment : attachments.all()) {
        if (attachment.word == nullptr)
            continue;
        size_t &count =
            words_below.try_emplace(attachment.word, attachment.word->link_count).first->second;
        if (++count == TREE_MAX_CHILDREN + 1)
            messages.error(*attachment.child->file, attachment.child->attach_place,
                           "too many words below " + quoted(attachment.point) +
                               " (limit: " + std::to_string(TREE_MAX_CHILDREN) + " per word)");
    }
    size_t total = 0;
    for (const Document &document : grammar.documents) {
        const bool fits = total <= TREE_MAX_NODES;
        total += document.words.size();
        if (fits && total > TREE_MAX_NODES)
            messages.error(*document.file, document.place,
                           "too many nodes in all documents (limit: " +
                               std::to_string(TREE_MAX_NODES) + " per tree)");
    }
}

} // namespace

std::vector<const Document *> children_first(const Grammar &grammar, const Attachments &attachments,
                                             Messages &messages) {
    ParentSearch search{attachments, messages};
    for (const Document &document : grammar.documents)
        search.search(document);
    if (search.has_cycle())
        return {};
    std::vector<const Document *> order = search.parents_first();
    std::ranges::reverse(order);
    return order;
}

void check_links(const Grammar &grammar, const Attachments &attachments, Messages &messages) {
    // After an error, a root or a name may be missing only because of it.
    if (messages.errors() == 0 && check_roots(grammar, messages))
        check_attach_points(grammar, attachments, messages);
    check_limits(grammar, attachments, messages);
}

} // namespace compiler
