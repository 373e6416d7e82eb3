// The checks, one function each. Words in which faults were found are passed by, so that no mistake
// is told twice, but keep no other word from being checked.
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

constexpr const char *kSoundWord = "the word is understood";
constexpr const char *kSoundTree = "the document is understood";

// What one check works with.
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

// Calls with every document and each of its words that is understood.
template <typename Call> void for_each_word(const Run &run, const Call &call) {
    for (const Document &document : run.grammar.documents)
        for (const Word &word : document.words)
            if (document.complete && word.sound)
                call(document, word);
}

// Calls with every list of words, once for each, shared or not.
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
                 "the name " + quoted(word.name) + " is taken" +
                     (word.name_given ? "" : ", and made here from the path of words"),
                 {{other->file, named->name_place, "also defined here"}});
    });
}

// The linker's rule for conflicting nodes, which look-ups follow as well: keywords are told apart
// by their keyword alone, parameters by the first type, and several INTERFACE or URI may stand
// together.
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
                         spelled(*word) + " stands for the same word as " +
                             spelled(document.words[other->child]) + " beside it",
                         {{document.file, other->place, "which stands here"}});
        }
    });
}

void dead_end(const Run &run) {
    constexpr uint32_t kEnds = TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE;
    for (const Document &document : run.grammar.documents) {
        std::unordered_set<uint32_t> behind_redirect;
        for (const Word &word : document.words)
            if (word.name == kRedirectRoot)
                for (const Link &link : document.links_of(word))
                    behind_redirect.insert(link.child);
        for (uint32_t i = document.is_root ? 1 : 0; i < document.words.size(); ++i) {
            const Word &word = document.words[i];
            const bool waits_for_words = word.name_given && !run.main;
            if (document.complete && word.sound && word.link_count == 0 && !waits_for_words &&
                (flags_of(document, word) & kEnds) == 0 && word.name != kRedirectRoot &&
                !behind_redirect.contains(i))
                run.tell(document, word.place,
                         "no command ends at " + spelled(word) + " or below it");
        }
    }
}

void blank_in_word(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        const bool blank = std::ranges::any_of(
            word.key.token, [](char c) { return c == ' ' || tool::is_control(c); });
        if (blank && !word.exact_token)
            run.tell(document, word.place,
                     "a keyword with a blank can never be typed; words below a word stand under "
                     "'words'");
    });
}

// As the record will hold it.
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
                         "a length is for texts, " + quoted(tool::word_key({}, {&mask, 1})) +
                             " takes none");
            if (length != nullptr || max == nullptr || bound_of(min, mask) <= bound_of(max, mask))
                continue;
            if (min == nullptr)
                run.tell(document, max->place,
                         "the highest value is below 0, the lowest when none is given");
            else
                run.tell(document, min->place, "the lowest value is greater than the highest",
                         {{document.file, max->place, "which stands here"}});
        }
    });
}

void message_type(const Run &run) {
    for_each_word(run, [&](const Document &document, const Word &word) {
        const Setting *type = find_setting(document, word, "message_type");
        if (type != nullptr && type->number[0] > UINT8_MAX)
            run.tell(document, type->place, "message types go from 0 to 255");
    });
}

// The loader looks for it behind the first child of the root, and goes on at its first child.
void redirect_root(const Run &run) {
    for (const Document &document : run.grammar.documents) {
        const bool to_be_loaded = run.main || (document.is_root && document.wants_redirect_root);
        if (!to_be_loaded || !document.complete || document.words.empty() ||
            !document.words[0].sound)
            continue;
        const std::span<const Link> links = document.links_of(document.words[0]);
        if (links.size() > TREE_MAX_CHILDREN) // told, and there is no room for another
            continue;
        const auto found = std::find_if(
            links.begin() + (links.empty() ? 0 : 1), links.end(), [&](const Link &link) {
                return link.child != kNoWord && document.words[link.child].name == kRedirectRoot;
            });
        if (found == links.end())
            run.tell(document, document.place,
                     "the root has no 'tsh_redirect_root' behind its first word, so that no tree "
                     "with it can be loaded");
        else if (document.words[found->child].link_count == 0)
            run.tell(document, found->place, "'tsh_redirect_root' has no node below it");
    }
}

// Heights come from below, in the order in which the words were finished.
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
                 std::to_string(levels[0]) + " levels, of which " +
                     std::to_string(TREE_MAX_LEVELS) + " are walked; here are more");
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
                         "no node of these files is named " + quoted(name));
}

void always(const Run &run) {
    for (const Document &document : run.grammar.documents)
        run.tell(document, document.place, "here is a document");
}

struct Row {
    tool::Check check;
    Function run;
};

constexpr std::array kTable{
    Row{{"duplicate-name", Level::kError, kSoundWord, "Two nodes of one tree have the same name."},
        duplicate_name},
    Row{{"same-word", Level::kError, kSoundWord,
         "Two siblings stand for the same word, so that one can never be reached."},
        same_word},
    Row{{"blank-in-word", Level::kError, kSoundWord,
         "A keyword has a blank in it and is not tagged !bytes."},
        blank_in_word},
    Row{{"bounds", Level::kError, kSoundWord,
         "The lowest value of a parameter is greater than its highest, or a length is given where "
         "no text is taken."},
        bounds},
    Row{{"redirect-root", Level::kError, kSoundWord,
         "The root lacks what a main tree is loaded by."},
        redirect_root},
    Row{{"dead-end", Level::kWarning, kSoundWord,
         "A word below which no command ends. Words with a name of their own, to which other "
         "files may attach, are passed by without --main."},
        dead_end},
    Row{{"depth", Level::kWarning, kSoundTree,
         "The tree has more than 256 levels, which the shell does not walk whole."},
        depth},
    Row{{"message-type", Level::kWarning, kSoundWord, "A message type is above 255."},
        message_type},
    Row{{"missing-help", Level::kOff, kSoundWord, "A word has no help text."}, missing_help},
    Row{{"unknown-attach-point", Level::kOff, "", "An attach point is no node of the files given."},
        unknown_attach_point},
    Row{{"always", Level::kOff, "", "Finds every document; for trying these options."}, always},
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
            levels.of(i) == Level::kError ? Severity::kFault : Severity::kWarning;
        kTable[i].run({grammar, main, kTable[i].check.name, severity, messages});
    }
}

} // namespace compiler
