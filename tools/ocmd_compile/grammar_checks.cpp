// The checks, one function each. Invalid words are skipped, so that no error is reported twice; all
// other words are still checked.
#include "tools/ocmd_compile/grammar_checks.h"

#include "param_reg/values.h"
#include "tools/support/tree_input.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace compiler {

namespace {

using tool::kRedirectRoot;
using tool::Level;
using tool::quoted;

constexpr const char *kSoundWord = "the word is valid";
constexpr const char *kSoundTree = "the document is valid";

// Input and output of one check.
struct Run {
    const Grammar &grammar;
    bool main;
    const char *name;
    Severity severity;
    Messages &messages;

    void tell(const Document &document, Place place, std::string text,
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

// Calls the function once for every list of words, shared or not.
template <typename Call> void for_each_list(const Run &run, const Call &call) {
    for (const Document &document : run.grammar.documents) {
        std::unordered_set<uint32_t> seen;
        for (const Word &word : document.words)
            if (document.complete && word.link_count > 1 && seen.insert(word.first_link).second)
                call(document, document.links_of(word));
    }
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

// ---- The checks ----

void duplicate_name(const Run &run) {
    // Several roots are several trees.
    const bool one_tree = std::ranges::count_if(run.grammar.documents, &Document::is_root) <= 1;
    std::unordered_map<std::string_view, std::pair<const Document *, const Word *>> known;
    size_t most_words = 0;
    for (const Document &document : run.grammar.documents)
        most_words = one_tree ? most_words + document.words.size()
                              : std::max(most_words, document.words.size());
    known.reserve(most_words);
    const Document *last = nullptr;
    for_each_word(run, [&](const Document &document, const Word &word) {
        if (!one_tree && last != &document)
            known.clear();
        last = &document;
        const auto [first, is_new] = known.emplace(word.name, std::pair{&document, &word});
        if (is_new)
            return;
        const auto [other, named] = first->second;
        run.tell(document, word.name_place,
                 "duplicate node name " + quoted(word.name) +
                     (word.name_given ? "" : " (generated from the path of words)"),
                 {{other->file, named->name_place, "first defined here"}});
    });
}

// The linker's rule for conflicting nodes, which lookups follow as well: keywords differ by their
// keyword alone, parameters by their first type, and several INTERFACE or URI are allowed.
void same_word(const Run &run) {
    for_each_list(run, [&](const Document &document, std::span<const Link> links) {
        std::unordered_map<std::string_view, const Link *> keywords;
        std::unordered_map<uint32_t, const Link *> parameters;
        for (const Link &link : links) {
            const Word *word = link.child == kNoWord ? nullptr : &document.words[link.child];
            if (word == nullptr || !word->sound)
                continue;
            const uint32_t mask = word->key.types[0];
            const bool may_repeat = tsh_mask_may_repeat(nullptr, mask) != 0;
            const Link *other = nullptr;
            if (!word->key.token.empty())
                other = keywords.emplace(word->key.token, &link).first->second;
            else if (word->key.parameter_count > 0 && !may_repeat)
                other = parameters.emplace(mask, &link).first->second;
            if (other != nullptr && other != &link && other->child != link.child)
                run.tell(document, link.place,
                         spelled(*word) + " and its sibling " +
                             spelled(document.words[other->child]) + " match the same word",
                         {{document.file, other->place, "sibling defined here"}});
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
                (flags_of(document, word) & kEnds) == 0 && word.name != kRedirectRoot &&
                !redirect_roots.contains(i))
                run.tell(document, word.place,
                         "dead end: no command ends at " + spelled(word) + " or at a descendant");
        }
    }
}

void blank_in_word(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        const bool blank = std::ranges::any_of(
            word.key.token, [](char c) { return c == ' ' || tool::is_control(c); });
        if (blank && !word.exact_token)
            run.tell(document, word.place,
                     "keyword contains a space or control character; put following words "
                     "under 'words'");
    });
}

// A bound as the record will store it.
int64_t bound_of(const Setting *setting, uint32_t type_mask) {
    return tsh_mask_bound(nullptr, type_mask,
                          setting == nullptr ? 0 : static_cast<int32_t>(setting->number[0]));
}

void bounds(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        for (int i = 1; i <= word.key.parameter_count; ++i) {
            const uint32_t mask = word.key.masks()[static_cast<size_t>(i - 1)];
            const Setting *min = find_setting(document, word, "min", i);
            const Setting *max = find_setting(document, word, "max", i);
            const Setting *length = find_setting(document, word, "length", i);
            if (length != nullptr && !tool::may_have_length(mask))
                run.tell(document, length->place,
                         "'length' is not allowed for " + quoted(tool::word_key({}, {&mask, 1})) +
                             "; only string types have a length");
            if (length != nullptr || max == nullptr || bound_of(min, mask) <= bound_of(max, mask))
                continue;
            if (min == nullptr)
                run.tell(document, max->place, "'max' is less than the default 'min', 0");
            else
                run.tell(document, min->place, "'min' is greater than 'max'",
                         {{document.file, max->place, "'max' is given here"}});
        }
    });
}

void message_type(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        const Setting *type = find_setting(document, word, "message_type");
        if (type != nullptr && type->number[0] > UINT8_MAX)
            run.tell(document, type->place, "message type out of range; expected 0 to 255");
    });
}

// The loader looks for this node after the first child of the root; its first child becomes the
// redirect root.
void redirect_root(const Run &run) {
    for (const Document &document : run.grammar.documents) {
        const bool to_be_loaded = run.main || (document.is_root && document.wants_redirect_root);
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
            run.tell(document, document.place,
                     "root has no 'tsh_redirect_root' after its first word; the tree cannot be "
                     "loaded");
        else if (document.words[found->child].link_count == 0)
            run.tell(document, found->place, "'tsh_redirect_root' has no child");
    }
}

// Heights are computed bottom-up, in the order in which the words were finished.
void depth(const Run &run) {
    for (const Document &document : run.grammar.documents) {
        if (!is_whole(document))
            continue;
        std::vector<uint32_t> levels(document.words.size(), 1);
        for (const uint32_t i : document.finished)
            for (const Link &link : document.links_of(document.words[i]))
                levels[i] = std::max(levels[i], levels[link.child] + 1);
        if (levels.empty() || levels[0] <= TREE_MAX_LEVELS)
            continue;
        uint32_t i = 0;
        for (int level = 1; level <= TREE_MAX_LEVELS; ++level)
            i = std::ranges::max(document.links_of(document.words[i]), {}, [&](const Link &link) {
                    return levels[link.child];
                }).child;
        run.tell(document, document.words[i].place,
                 "tree has " + std::to_string(levels[0]) + " levels, the limit is " +
                     std::to_string(TREE_MAX_LEVELS) + "; the limit is exceeded here");
    }
}

void missing_help(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        const bool is_word = !word.key.token.empty() || word.key.parameter_count > 0;
        if (is_word && find_setting(document, word, "help") == nullptr)
            run.tell(document, word.place, spelled(word) + " has no help text");
    });
}

void unknown_attach_point(const Run &run) {
    std::unordered_set<std::string_view> names;
    for (const Document &document : run.grammar.documents)
        for (const Word &word : document.words)
            names.insert(word.name);
    for (const Document &document : run.grammar.documents)
        for (const std::string_view name : tool::attach_names(document.attach_path))
            if (!names.contains(name))
                run.tell(document, document.attach_place,
                         "unknown attach point " + quoted(name) + "; no input file defines it");
}

void always(const Run &run) {
    for (const Document &document : run.grammar.documents)
        run.tell(document, document.place, "document starts here");
}

struct Row {
    tool::Check check;
    Function run;
};

constexpr std::array kTable{
    Row{{"duplicate-name", Level::kError, kSoundWord, "Two nodes of one tree have the same name."},
        duplicate_name},
    Row{{"same-word", Level::kError, kSoundWord,
         "Two siblings match the same word, so one of them is unreachable."},
        same_word},
    Row{{"blank-in-word", Level::kError, kSoundWord,
         "A keyword contains a space or a control character and is not tagged !bytes."},
        blank_in_word},
    Row{{"bounds", Level::kError, kSoundWord,
         "The minimum of a parameter exceeds its maximum, or 'length' is given for a type that "
         "cannot be a string."},
        bounds},
    Row{{"redirect-root", Level::kError, kSoundWord,
         "The root has no child \"tsh_redirect_root\" after its first child, or that node has no "
         "child."},
        redirect_root},
    Row{{"dead-end", Level::kWarning, kSoundWord,
         "No command ends at a word or at a descendant. Without --main, named words are skipped, "
         "because other files may attach words to them."},
        dead_end},
    Row{{"depth", Level::kWarning, kSoundTree,
         "The tree has more than 256 levels; the shell does not traverse deeper levels "
         "completely."},
        depth},
    Row{{"message-type", Level::kWarning, kSoundWord, "A message type is greater than 255."},
        message_type},
    Row{{"missing-help", Level::kOff, kSoundWord, "A word has no help text."}, missing_help},
    Row{{"unknown-attach-point", Level::kOff, "", "No input file defines the attach point."},
        unknown_attach_point},
    Row{{"always", Level::kOff, "", "Reports every document; for testing these options."}, always},
};

} // namespace

std::span<const tool::Check> grammar_checks() {
    static const auto checks = [] {
        std::array<tool::Check, kTable.size()> all{};
        std::ranges::transform(kTable, all.begin(), &Row::check);
        return all;
    }();
    return checks;
}

void check(const Grammar &grammar, bool main, const tool::CheckLevels &levels, Messages &messages) {
    for (size_t i = 0; i < kTable.size(); ++i) {
        if (levels.of(i) == Level::kOff)
            continue;
        const Severity severity =
            levels.of(i) == Level::kError ? Severity::kError : Severity::kWarning;
        kTable[i].run({grammar, main, kTable[i].check.name, severity, messages});
    }
}

} // namespace compiler
