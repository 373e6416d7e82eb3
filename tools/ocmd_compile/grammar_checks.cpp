// The checks, one function each. Invalid words are skipped, so that no error is reported twice; all
// other words are still checked.
#include "tools/ocmd_compile/grammar_checks.h"

#include "base/huge_pages.h"
#include "param_reg/values.h"
#include "tools/ocmd_compile/attachments.h"
#include "tools/ocmd_compile/link_checks.h"
#include "tools/support/tree_input.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <array>
#include <bit>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace compiler {

namespace {

using tool::kRedirectRoot;
using tool::quoted;

// Input and output of one check.
struct Run {
    const Grammar &grammar;
    const Attachments &attachments;                      // empty unless main
    const std::vector<const Document *> &children_first; // likewise
    bool main;
    const char *name;
    Severity severity;
    Messages &messages;

    void report(const Document &document, SourceRange place, std::string text,
                std::vector<Note> notes = {}) const {
        messages.add({severity, document.file, place, std::move(text) + " [" + name + "]",
                      std::move(notes)});
    }
};

using Function = void (*)(const Run &run);

bool is_whole(const Document &document) {
    return document.complete && std::ranges::all_of(document.words, &Word::sound);
}

// Calls the function with every document and each of its valid words.
template <typename Call> void for_each_word(const Run &run, const Call &call) {
    for (const Document &document : run.grammar.documents)
        for (const Word &word : document.words)
            if (document.complete && word.sound)
                call(document, word);
}

const Word *sound_word(const Document &document, const Link &link) {
    const Word *word = link.child == kNoWord ? nullptr : &document.words[link.child];
    return word != nullptr && word->sound ? word : nullptr;
}

// Siblings: the words of a list, followed by the first words of the documents attached there.
class Siblings {
public:
    Siblings(const Document &document, const Word &parent,
             std::span<const Document *const> attached = {})
        : document_(document), links_(document.links_of(parent)), attached_(attached) {}

    [[nodiscard]] size_t size() const { return links_.size() + attached_.size(); }
    [[nodiscard]] size_t first_attached() const { return links_.size(); }

    // Returns null for an invalid word.
    [[nodiscard]] const Word *word(size_t i) const {
        if (i < links_.size())
            return sound_word(document_, links_[i]);
        const Document &attached = document(i);
        return attached.words.empty() || !attached.words[0].sound ? nullptr : attached.words.data();
    }
    [[nodiscard]] const Document &document(size_t i) const {
        return i < links_.size() ? document_ : *attached_[i - links_.size()];
    }
    [[nodiscard]] SourceRange place(size_t i) const {
        return i < links_.size() ? links_[i].place : document(i).words[0].place;
    }

private:
    const Document &document_;
    std::span<const Link> links_;
    std::span<const Document *const> attached_;
};

// Calls the function once for every list of words, shared or not.
template <typename Call> void for_each_list(const Run &run, const Call &call) {
    for (const Document &document : run.grammar.documents) {
        std::unordered_set<uint32_t> seen;
        for (const Word &word : document.words)
            if (document.complete && word.link_count > 1 && seen.insert(word.first_link).second)
                call(Siblings{document, word});
    }
}

// Calls the function for every word to which documents are attached.
template <typename Call> void for_each_attached_list(const Run &run, const Call &call) {
    std::unordered_set<std::string_view> seen;
    for (const Attachment &attachment : run.attachments.all())
        if (attachment.word != nullptr && attachment.parent->complete &&
            seen.insert(attachment.point).second)
            call(Siblings{*attachment.parent, *attachment.word,
                          run.attachments.below(attachment.point)});
}

std::string spelled(const Word &word) {
    return quoted(tool::word_key(word.key.token, word.key.masks()));
}

const Setting *find_setting(const Document &document, const Word &word, std::string_view key,
                            int parameter = 0) {
    const std::span<const Setting> settings = document.settings_of(word);
    const auto found = std::ranges::find_if(settings, [&](const Setting &setting) {
        return setting.parameter == parameter && setting.field->key == key;
    });
    return found == settings.end() ? nullptr : &*found;
}

uint32_t flags_of(const Document &document, const Word &word) {
    uint64_t flags = 0;
    for (const Setting &setting : document.settings_of(word)) {
        if (setting.field->offset != offsetof(tree_node_t, flags) || setting.parameter != 0)
            continue;
        flags |= setting.field->kind == tool::FieldKind::kFlag
                     ? setting.number[0] << setting.field->bit
                     : setting.number[0];
    }
    return static_cast<uint32_t>(flags);
}

// Words by their names: a table of hashes with open addressing, so that the words themselves are
// seldom looked at.
class NameTable {
public:
    using Item = std::pair<const Document *, const Word *>;

    // For so many words at most, which fill no more than half of the slots.
    explicit NameTable(size_t most_words) : slots_(std::bit_ceil(2 * most_words + 1)) {
        items_.reserve(most_words);
    }

    // Returns the first word with the name of this one, which is added if there is none.
    Item first_with_name_of(const Document &document, const Word &word) {
        const auto hash = static_cast<uint32_t>(std::hash<std::string_view>{}(word.name));
        for (size_t i = hash;; ++i) {
            Slot &slot = slots_[i & (slots_.size() - 1)];
            if (slot.number == 0) {
                items_.emplace_back(&document, &word);
                slot = {hash, static_cast<uint32_t>(items_.size())};
                return items_.back();
            }
            const Item &item = items_[slot.number - 1];
            if (slot.hash == hash && item.second->name == word.name)
                return item;
        }
    }

private:
    struct Slot {
        uint32_t hash;
        uint32_t number; // of the item, from 1; 0 for none
    };

    base::HugeVector<Slot> slots_;
    base::HugeVector<Item> items_;
};

// A keyword in lower case, and where its link stands among those of its list.
struct Keyword {
    uint64_t head; // the first eight bytes as a number, which is compared faster
    std::string_view token;
    size_t position;
};

// The keywords of the valid words among siblings, sorted.
class SortedKeywords {
public:
    explicit SortedKeywords(const Siblings &siblings) {
        keywords_.reserve(siblings.size());
        size_t size = 0;
        for_each_keyword(siblings, [&](std::string_view token, size_t) { size += token.size(); });
        text_.resize(size); // once, so that no token moves
        char *next = text_.data();
        for_each_keyword(siblings, [&](std::string_view token, size_t position) {
            std::ranges::transform(token, next, to_lower);
            const std::string_view lower{next, token.size()};
            keywords_.push_back({head_of(lower), lower, position});
            next += token.size();
        });
        std::ranges::sort(keywords_, {}, [](const Keyword &keyword) {
            return std::tie(keyword.head, keyword.token, keyword.position);
        });
    }

    [[nodiscard]] auto begin() const { return keywords_.begin(); }
    [[nodiscard]] auto end() const { return keywords_.end(); }

private:
    template <typename Call>
    static void for_each_keyword(const Siblings &siblings, const Call &call) {
        for (size_t i = 0; i < siblings.size(); ++i) {
            const Word *word = siblings.word(i);
            if (word != nullptr && !word->key.token.empty())
                call(word->key.token, i);
        }
    }

    static char to_lower(char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }

    static uint64_t head_of(std::string_view token) {
        uint64_t head = 0;
        for (size_t i = 0; i < sizeof head; ++i)
            head = head << 8U | (i < token.size() ? static_cast<unsigned char>(token[i]) : 0U);
        return head;
    }

    std::string text_;
    std::vector<Keyword> keywords_;
};

// Links by their position in a list, each with the sibling that it is in conflict with.
using Conflicts = std::map<size_t, size_t>;

// ---- The checks ----

void duplicate_name(const Run &run) {
    // Several roots are several trees.
    const bool one_tree = std::ranges::count_if(run.grammar.documents, &Document::is_root) <= 1;
    size_t words = 0;
    for (const Document &document : run.grammar.documents)
        words += document.words.size();
    NameTable known{one_tree ? words : 0};
    const Document *last = nullptr;
    for_each_word(run, [&](const Document &document, const Word &word) {
        if (!one_tree && last != &document)
            known = NameTable{document.words.size()};
        last = &document;
        const auto [other, named] = known.first_with_name_of(document, word);
        if (named == &word)
            return;
        run.report(document, word.name_place,
                   "duplicate node name " + quoted(word.name) +
                       (word.name_given ? "" : " (generated from the path of words)"),
                   {{other->file, named->name_place, "first defined here"}});
    });
}

// Returns whether the type of a parameter, the first one of its word, may occur twice in a list.
bool may_repeat(const Word &word) {
    return word.key.parameter_count == 0 || tsh_mask_may_repeat(nullptr, word.key.types[0]) != 0;
}

// Lookups compare keywords by their keyword alone, ignoring case; the linker's rule for conflicting
// nodes compares parameters by their first type.
Conflicts same_words_of(const Siblings &siblings) {
    Conflicts conflicts;
    const SortedKeywords keywords{siblings};
    const Keyword *first = nullptr;
    for (const Keyword &keyword : keywords) {
        if (first != nullptr && first->token == keyword.token)
            conflicts.emplace(keyword.position, first->position);
        else
            first = &keyword;
    }
    std::unordered_map<uint32_t, size_t> parameters;
    for (size_t i = 0; i < siblings.size(); ++i) {
        const Word *word = siblings.word(i);
        if (word != nullptr && word->key.token.empty() && !may_repeat(*word))
            conflicts.emplace(i, parameters.emplace(word->key.types[0], i).first->second);
    }
    std::erase_if(conflicts, [&](const auto &conflict) {
        return siblings.word(conflict.first) == siblings.word(conflict.second);
    });
    return conflicts;
}

// Returns the conflicts for which the linker leaves out an attached word. Unlike lookups, it
// distinguishes case.
Conflicts refused_words_of(const Siblings &siblings) {
    Conflicts conflicts;
    std::map<std::pair<std::string_view, uint32_t>, size_t> words;
    for (size_t i = 0; i < siblings.size(); ++i) {
        const Word *word = siblings.word(i);
        if (word == nullptr || (word->key.token.empty() && may_repeat(*word)))
            continue;
        const uint32_t type = word->key.token.empty() ? word->key.types[0] : 0;
        const size_t first = words.try_emplace({word->key.token, type}, i).first->second;
        if (first != i && i >= siblings.first_attached())
            conflicts.emplace(i, first);
    }
    return conflicts;
}

void report_same_word(const Run &run, const Siblings &siblings, size_t position, size_t other) {
    run.report(siblings.document(position), siblings.place(position),
               spelled(*siblings.word(position)) + " and its sibling " +
                   spelled(*siblings.word(other)) + " match the same word",
               {{siblings.document(other).file, siblings.place(other), "sibling defined here"}});
}

void same_word(const Run &run) {
    for_each_list(run, [&](const Siblings &siblings) {
        for (const auto &[position, other] : same_words_of(siblings))
            report_same_word(run, siblings, position, other);
    });
    for_each_attached_list(run, [&](const Siblings &siblings) {
        const Conflicts refused = refused_words_of(siblings);
        for (const auto &[position, other] : same_words_of(siblings))
            if (position >= siblings.first_attached() && !refused.contains(position))
                report_same_word(run, siblings, position, other);
    });
}

void refused_word(const Run &run) {
    for_each_attached_list(run, [&](const Siblings &siblings) {
        for (const auto &[position, other] : refused_words_of(siblings))
            report_same_word(run, siblings, position, other);
    });
}

// The first-match lookup takes the first keyword that begins with the typed word, whatever comes
// later. A keyword that equals its sibling is same_word's.
void shadowed(const Run &run) {
    for_each_list(run, [&](const Siblings &siblings) {
        Conflicts conflicts;
        const SortedKeywords keywords{siblings};
        for (auto keyword = keywords.begin(); keyword != keywords.end(); ++keyword) {
            // What begins with a keyword stands right behind it.
            auto longer = keyword + 1;
            while (longer != keywords.end() && longer->token.starts_with(keyword->token) &&
                   (longer->token == keyword->token || longer->position > keyword->position))
                ++longer;
            if (longer != keywords.end() && longer->token.starts_with(keyword->token))
                conflicts.emplace(keyword->position, longer->position);
        }
        for (const auto &[position, other] : conflicts) {
            const Word &word = *siblings.word(position);
            run.report(
                siblings.document(position), siblings.place(position),
                spelled(word) + " is shadowed by its sibling " + spelled(*siblings.word(other)) +
                    " in the shell's first-match lookup; put " + spelled(word) + " first",
                {{siblings.document(other).file, siblings.place(other), "sibling defined here"}});
        }
    });
}

void dead_end(const Run &run) {
    constexpr uint32_t kEnds = TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE;
    for (const Document &document : run.grammar.documents) {
        std::unordered_set<uint32_t> redirect_roots;
        for (const Word &word : document.words)
            if (word.name == kRedirectRoot)
                for (const Link &link : document.links_of(word))
                    redirect_roots.insert(link.child);
        for (uint32_t i = document.is_root ? 1 : 0; i < document.words.size(); ++i) {
            const Word &word = document.words[i];
            const bool may_be_attach_point = word.name_given && !run.main;
            if (document.complete && word.sound && word.link_count == 0 && !may_be_attach_point &&
                run.attachments.below(word.name).empty() &&
                (flags_of(document, word) & kEnds) == 0 && word.name != kRedirectRoot &&
                !redirect_roots.contains(i))
                run.report(document, word.place,
                           "dead end: no command ends at " + spelled(word) + " or at a descendant");
        }
    }
}

// How to write a key such as `pace <INTEGER>` or `pace quick`.
std::string advice_for(const WordKey &key) {
    const std::string_view keyword = key.token.substr(0, key.token.find_last_not_of(' ') + 1);
    if (key.parameter_count == 0 || keyword.find(' ') != std::string_view::npos)
        return "put following words under 'words'";
    return "write " + quoted(tool::word_key(keyword, key.masks())) + " without a space, or put " +
           quoted(tool::word_key({}, key.masks())) + " under 'words'";
}

void blank_in_word(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        const bool blank = std::ranges::any_of(
            word.key.token, [](char c) { return c == ' ' || tool::is_control(c); });
        if (blank && !word.exact_token)
            run.report(document, word.place,
                       "keyword contains a space or control character; " + advice_for(word.key));
    });
}

// A bound as the record will store it.
int64_t bound_of(const Setting *setting, uint32_t type_mask) {
    return tsh_mask_bound(nullptr, type_mask,
                          setting == nullptr ? 0 : static_cast<int32_t>(setting->number[0]));
}

// What a word gives as bounds of one of its parameters; null if not given.
struct Bounds {
    const Document &document;
    uint32_t mask;
    const Setting *min;
    const Setting *max; // at the position of min if only that is given
    const Setting *length;

    [[nodiscard]] std::string type() const { return quoted(tool::word_key({}, {&mask, 1})); }
    [[nodiscard]] const Setting *first() const { return min != nullptr ? min : max; }
    [[nodiscard]] bool may_have(uint32_t kinds) const {
        return (tsh_mask_bounds(nullptr, mask) & (kinds | TSH_BOUNDS_UNKNOWN)) != 0;
    }
};

// Calls the function with the bounds of every parameter of every valid word.
template <typename Call> void for_each_bounds(const Run &run, const Call &call) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        for (int i = 1; i <= word.key.parameter_count; ++i)
            call(Bounds{document, word.key.types.at(static_cast<size_t>(i - 1)),
                        find_setting(document, word, "min", i),
                        find_setting(document, word, "max", i),
                        find_setting(document, word, "length", i)});
    });
}

void bounds(const Run &run) {
    for_each_bounds(run, [&](const Bounds &given) {
        const auto &[document, mask, min, max, length] = given;
        if (length != nullptr && !given.may_have(TSH_BOUNDS_LENGTH))
            run.report(document, length->place,
                       "'length' is not allowed for " + given.type() +
                           "; only string types have a length");
        if (max == nullptr)
            return;
        if (given.may_have(TSH_BOUNDS_LENGTH) && !given.may_have(TSH_BOUNDS_NUMBERS))
            run.report(document, given.first()->place,
                       quoted(given.first()->field->key) + " is not allowed for " + given.type() +
                           "; use 'length' for the maximum length");
        else if (bound_of(min, mask) > bound_of(max, mask) && min == nullptr)
            run.report(document, max->place, "'max' is less than the default 'min', 0");
        else if (bound_of(min, mask) > bound_of(max, mask))
            run.report(document, min->place, "'min' is greater than 'max'",
                       {{document.file, max->place, "'max' is given here"}});
    });
}

void unused_bounds(const Run &run) {
    for_each_bounds(run, [&](const Bounds &given) {
        const auto &[document, mask, min, max, length] = given;
        if (max == nullptr)
            return;
        if (!given.may_have(TSH_BOUNDS_NUMBERS | TSH_BOUNDS_LENGTH))
            run.report(document, given.first()->place,
                       quoted(given.first()->field->key) + " has no effect: " + given.type() +
                           " has no bounds");
        else if (bound_of(min, mask) == 0 && bound_of(max, mask) == 0)
            run.report(document, given.first()->place,
                       "'min' and 'max' are both 0, which means no bounds");
    });
}

void message_type(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        const Setting *type = find_setting(document, word, "message_type");
        if (type != nullptr && type->number[0] > UINT8_MAX)
            run.report(document, type->place, "message type out of range; expected 0 to 255");
    });
}

// The loader looks for this node after the first child of the root. Its first child becomes the
// redirect root, or the root itself if it has none.
void redirect_root(const Run &run) {
    for (const Document &document : run.grammar.documents) {
        const bool to_be_loaded = run.main ? run.attachments.of(document).empty()
                                           : document.is_root && document.wants_redirect_root;
        if (!to_be_loaded || !document.complete || document.words.empty() ||
            !document.words[0].sound)
            continue;
        const std::span<const Link> links = document.links_of(document.words[0]);
        if (links.size() > TREE_MAX_CHILDREN) // reported, and there is no capacity for another
            continue;
        const auto found = std::find_if(
            links.begin() + (links.empty() ? 0 : 1), links.end(), [&](const Link &link) {
                return link.child != kNoWord && document.words[link.child].name == kRedirectRoot;
            });
        if (found == links.end())
            run.report(document, document.place,
                       "root has no 'tsh_redirect_root' after its first word; the tree cannot be "
                       "loaded");
    }
}

// Words with their levels, including all words below them: bottom-up in each document, in the order
// in which its words were finished, and after the documents that are attached to it.
class Heights {
public:
    Heights(const Run &run, const std::vector<const Document *> &documents) : run_(run) {
        for (const Document *document : documents)
            measure(*document);
    }

    [[nodiscard]] uint32_t of(const Document &document, uint32_t word = 0) const {
        return levels_.at(&document)[word];
    }

    // A word in its document.
    struct Step {
        const Document *document;
        uint32_t word;
    };

    // Returns the highest child.
    [[nodiscard]] Step below(const Step &step) const {
        const Word &word = step.document->words[step.word];
        Step highest = step;
        uint32_t height = 0;
        for_each_child(*step.document, word, [&](const Step &child) {
            if (const uint32_t other = of(*child.document, child.word); other > height)
                highest = child, height = other;
        });
        return highest;
    }

private:
    template <typename Call>
    void for_each_child(const Document &document, const Word &word, const Call &call) const {
        for (const Link &link : document.links_of(word))
            call(Step{&document, link.child});
        for (const Document *attached : run_.attachments.below(word.name))
            if (!attached->words.empty()) // else reported
                call(Step{attached, 0});
    }

    void measure(const Document &document) {
        std::vector<uint32_t> &levels = levels_[&document];
        levels.assign(document.words.size(), 1);
        for (const uint32_t i : document.finished)
            for_each_child(document, document.words[i], [&](const Step &child) {
                levels[i] =
                    std::max(levels[i], child.document == &document ? levels[child.word] + 1
                                                                    : of(*child.document) + 1);
            });
    }

    const Run &run_;
    std::unordered_map<const Document *, std::vector<uint32_t>> levels_;
};

void depth(const Run &run) {
    const std::vector<Document> &documents = run.grammar.documents;
    if (run.main && !std::ranges::all_of(documents, is_whole))
        return;
    std::vector<const Document *> order = run.children_first;
    if (!run.main)
        for (const Document &document : documents)
            if (is_whole(document))
                order.push_back(&document);
    const Heights heights{run, order};
    for (const Document *document : order) {
        if (document->words.empty() || !run.attachments.of(*document).empty() ||
            heights.of(*document) <= TREE_MAX_LEVELS)
            continue;
        Heights::Step step{document, 0};
        for (int level = 1; level <= TREE_MAX_LEVELS; ++level)
            step = heights.below(step);
        run.report(*step.document, step.document->words[step.word].place,
                   "tree has " + std::to_string(heights.of(*document)) + " levels, the limit is " +
                       std::to_string(TREE_MAX_LEVELS) + "; the limit is exceeded here");
    }
}

void missing_help(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        const bool is_word = !word.key.token.empty() || word.key.parameter_count > 0;
        if (is_word && find_setting(document, word, "help") == nullptr)
            run.report(document, word.place, spelled(word) + " has no help text");
    });
}

void unknown_attach_point(const Run &run) {
    if (run.main) // always an error
        return;
    std::unordered_set<std::string_view> names;
    for (const Document &document : run.grammar.documents)
        for (const Word &word : document.words)
            names.insert(word.name);
    for (const Document &document : run.grammar.documents)
        for (const std::string_view name : tool::attach_names(document.attach_path))
            if (!names.contains(name))
                run.report(document, document.attach_place,
                           "unknown attach point " + quoted(name) + "; no input file defines it");
}

// A plain null is a string in a grammar, and so is a space after a comma between attach points.
void suspect_name(const Run &run) {
    const auto check = [&](const Document &document, SourceRange place, const char *what,
                           std::string_view name) {
        constexpr std::array<std::string_view, 4> kNulls{"null", "Null", "NULL", "~"};
        if (std::ranges::find(kNulls, name) != kNulls.end())
            run.report(document, place,
                       std::string{what} + ' ' + quoted(name) +
                           " is a string here, not an empty value; omit the key for none");
        else if (name.starts_with(' ') || name.ends_with(' '))
            run.report(document, place,
                       std::string{what} + ' ' + quoted(name) + " begins or ends with a space");
    };
    for_each_word(run, [&](const Document &document, const Word &word) {
        for (const Setting &setting : document.settings_of(word))
            if (setting.field->offset == offsetof(tree_node_t, func_id) && setting.parameter == 0)
                check(document, setting.place, "function name", setting.text);
    });
    for (const Document &document : run.grammar.documents)
        for (const std::string_view name : tool::attach_names(document.attach_path))
            check(document, document.attach_place, "attach point", name);
}

void second_root(const Run &run) {
    const std::vector<Document> &documents = run.grammar.documents;
    const auto first = std::ranges::find_if(documents, &Document::is_root);
    if (run.main || first == documents.end())
        return;
    const auto second = std::find_if(first + 1, documents.end(), std::mem_fn(&Document::is_root));
    if (second != documents.end())
        run.report(*second, second->place,
                   "second root among the input files; expected 'below' in a subtree",
                   {{first->file, first->place, "first root defined here"}});
}

void always(const Run &run) {
    for (const Document &document : run.grammar.documents)
        run.report(document, document.place, "document starts here");
}

struct Row {
    const char *name;
    Function run;
};

constexpr std::array kFunctions{
    Row{"duplicate-name", duplicate_name},
    Row{"same-word", same_word},
    Row{"shadowed", shadowed},
    Row{"blank-in-word", blank_in_word},
    Row{"bounds", bounds},
    Row{"unused-bounds", unused_bounds},
    Row{"redirect-root", redirect_root},
    Row{"dead-end", dead_end},
    Row{"depth", depth},
    Row{"suspect-name", suspect_name},
    Row{"second-root", second_root},
    Row{"message-type", message_type},
    Row{"no-help", missing_help},
    Row{"unknown-attach-point", unknown_attach_point},
    Row{"always", always},
};

} // namespace

void check(const Grammar &grammar, bool main, const tool::CheckSeverities &severities,
           Messages &messages) {
    const Attachments attachments{main ? std::span{grammar.documents} : std::span<Document>{}};
    std::vector<const Document *> order;
    if (main) {
        check_links(grammar, attachments, messages);
        order = children_first(grammar, attachments, messages);
        refused_word({grammar, attachments, order, main, "same-word", Severity::kError, messages});
    }
    for (const Row &row : kFunctions) {
        if (!severities.is_on(row.name))
            continue;
        const Severity severity = severities.of(row.name) == tool::CheckSeverity::kError
                                      ? Severity::kError
                                      : Severity::kWarning;
        row.run({grammar, attachments, order, main, row.name, severity, messages});
    }
}

} // namespace compiler
