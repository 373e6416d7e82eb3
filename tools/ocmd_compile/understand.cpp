// The shape of a document: its own keys, the word or the root at its top, and the words below each
// word. A word's own keys are read in one go; the lists of words below wait in a row of their own,
// so that no depth of nesting is felt by the call stack. The order in which words are met is the
// order of their records: an anchor stands before its aliases, so the first place of a shared word
// is where it is written out.
#include "tools/ocmd_compile/understand.h"

#include "base/bit_array.h"
#include "tools/ocmd_compile/values.h"
#include "tools/ocmd_compile/word_reader.h"
#include "tools/ocmd_compile/yaml_values.h"
#include "tools/support/tree_input.h"
#include "tools/support/wording.h"
#include "treelink/subtree_read.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace compiler {

using tool::quoted;
using tool::quoted_start;

namespace {

constexpr size_t kMostPathBytes = SUBTREE_PATH_TEXT_SIZE - 1;
constexpr size_t kMostAttachPoints = SUBTREE_ATTACH_PATHS; // more spoil the record for its readers
constexpr std::array<std::string_view, 4> kDocumentKeys{"below", "version", "path_kind",
                                                        "redirect_root"};

class Understanding {
public:
    Understanding(const YamlDocument &yaml, size_t most_words, TextStore &texts, Messages &messages)
        : yaml_(yaml), most_words_(most_words), values_(yaml, texts, messages),
          reader_(values_, out_) {}

    Document whole();

private:
    // A list of words that is being gone through.
    struct OpenList {
        uint32_t parent; // kNoWord at the top of a subtree
        std::string_view parent_name;
        std::vector<KeyValue> pairs;
        size_t next;
        uint32_t first_link;
    };

    // Documents
    [[nodiscard]] bool has_below() const;
    void take_document_key(const KeyValue &pair);
    void take_below(const KeyValue &pair);
    [[nodiscard]] std::string names_below(const KeyValue &pair);
    void take_number(const KeyValue &pair, uint32_t &number);
    void take_redirect_root(const KeyValue &pair);
    void report_unknown(const KeyValue &pair);
    void begin_root(size_t errors_before);
    void begin_subtree(const std::optional<KeyValue> &words);
    void add_redirect_root();

    // Words
    uint32_t add_word(const WordKey &key, SourceRange place);
    void add_links(uint32_t parent, const KeyValue &words, std::string_view parent_name);
    std::vector<KeyValue> words_in(const KeyValue &list);
    void go_through_words();
    uint32_t word_below(const OpenList &list, const KeyValue &pair);
    uint32_t shared_word(const OpenList &list, const KeyValue &pair, const WordKey &key,
                         uint32_t word);
    void read_word(uint32_t word, const KeyValue &pair, std::string_view parent_name);

    // Marked links
    using Positions = std::map<std::string, uint32_t, std::less<>>;
    [[nodiscard]] Positions make_positions_below(const Word &word) const;
    const Positions &positions_below(const Word &word);
    std::string as_word(std::string_view text);
    Marks read_marks(uint32_t word, const KeyValue &list);
    void take_marks(uint32_t word, const KeyValue &list);

    const YamlDocument &yaml_;
    size_t most_words_;
    Document out_;
    YamlValues values_;
    WordReader reader_;
    std::vector<OpenList> open_; // each below the one before
    std::vector<std::pair<uint32_t, KeyValue>> marked_;
    std::unordered_map<uint32_t, uint32_t> word_of_; // of values that have an anchor
    std::unordered_map<uint32_t, std::pair<uint32_t, uint32_t>> links_of_; // of lists that have one
    bool too_many_ = false;

    // What aliases may repeat: positions by a list's first link, marks by that and their list.
    std::unordered_map<uint32_t, Positions> positions_;
    std::map<std::pair<uint32_t, uint32_t>, std::pair<Marks, size_t>> known_marks_;
};

// ---- Documents ----

Document Understanding::whole() {
    // Nodes of YAML for a word and for what is said of it, key and value each.
    constexpr size_t kNodesOfWord = 4;
    constexpr size_t kNodesOfSetting = 2;
    out_.words.reserve(std::min(most_words_, yaml_.nodes.size() / kNodesOfWord + 2));
    out_.links.reserve(yaml_.nodes.size() / kNodesOfWord);
    out_.settings.reserve(yaml_.nodes.size() / kNodesOfSetting);
    out_.file = yaml_.file;
    out_.place = yaml_[0].place;
    if (yaml_[0].kind != YamlKind::kMapping) {
        values_.error(out_.place,
                      "invalid document; expected a mapping of keys such as 'below' and 'words'");
        return std::move(out_);
    }
    out_.is_root = !has_below();
    if (out_.is_root) {
        add_word({}, out_.place);
        reader_.begin();
    }
    std::optional<KeyValue> words;
    const size_t errors_before = values_.errors();
    for (const KeyValue &pair : values_.pairs(0)) {
        if (std::ranges::find(kDocumentKeys, values_.key(pair).text) != kDocumentKeys.end())
            take_document_key(pair);
        else if (!out_.is_root && values_.key(pair).text == "words")
            words = pair;
        else if (!out_.is_root || !reader_.take(pair))
            report_unknown(pair);
    }
    if (out_.is_root)
        begin_root(errors_before);
    else
        begin_subtree(words);
    go_through_words();
    for (const auto &[word, list] : marked_)
        take_marks(word, list);
    if (out_.is_root && out_.wants_redirect_root)
        add_redirect_root();
    out_.complete = !too_many_;
    return std::move(out_);
}

// Whether the keys beside it describe a root depends on it, wherever it stands.
bool Understanding::has_below() const {
    for (uint32_t key = 1; key < yaml_[0].end; key = yaml_[yaml_[key].end].end)
        if (yaml_[yaml_.resolved(key)].text == "below")
            return true;
    return false;
}

void Understanding::take_document_key(const KeyValue &pair) {
    const std::string_view key = values_.key(pair).text;
    if (key == "below")
        take_below(pair);
    else if (key == "version")
        take_number(pair, out_.version);
    else if (key == "path_kind")
        take_number(pair, out_.path_kind);
    else
        take_redirect_root(pair);
}

void Understanding::take_below(const KeyValue &pair) {
    out_.attach_place = values_.place_of(pair);
    out_.attach_path = names_below(pair);
    if (out_.attach_path.size() > kMostPathBytes)
        values_.error_at(pair,
                         "attach points too long: " + std::to_string(out_.attach_path.size()) +
                             " bytes (limit: " + std::to_string(kMostPathBytes) + ")");
    else if (tool::attach_names(out_.attach_path).size() > kMostAttachPoints)
        values_.error_at(
            pair, "too many attach points (limit: " + std::to_string(kMostAttachPoints) + ")");
    else if (out_.attach_path.find('\0') != std::string::npos)
        values_.error_at(pair, "string contains a NUL byte");
}

std::string Understanding::names_below(const KeyValue &pair) {
    const auto expected = [] {
        return std::string{"invalid 'below'; expected a node name, or a list of node names"};
    };
    if (values_.kind(pair) != YamlKind::kSequence)
        return std::string{values_.text(pair, expected).value_or("")};
    std::string path;
    for (const KeyValue &item : values_.items(values_.index_of(pair))) {
        const auto name = values_.text(item, expected);
        if (!name)
            continue;
        if (name->empty() || name->size() >= TREE_NAME_SIZE ||
            name->find(',') != std::string_view::npos)
            values_.error_at(
                item, "invalid attach point; expected a name of 1 to 63 bytes without a comma");
        else
            (path += path.empty() ? "" : ",") += *name;
    }
    return path;
}

void Understanding::take_number(const KeyValue &pair, uint32_t &number) {
    const auto expected = [&] {
        return "invalid " + quoted(values_.key(pair).text) + "; expected 0 to " +
               std::to_string(UINT32_MAX);
    };
    const auto text = values_.text(pair, expected);
    const std::optional<Bits> value = text ? read_number(*text) : std::nullopt;
    if (value && fits(*value, 32))
        number = static_cast<uint32_t>((*value)[0]);
    else if (text)
        values_.error_at(pair, expected());
}

void Understanding::take_redirect_root(const KeyValue &pair) {
    const auto expected = [] {
        return std::string{
            "invalid 'redirect_root'; expected yes or no, in a document without 'below'"};
    };
    const auto text = values_.text(pair, expected);
    const std::optional<bool> wanted = text ? read_yes_no(*text) : std::nullopt;
    if (text && (!wanted || !out_.is_root))
        values_.error_at(pair, expected());
    out_.wants_redirect_root = wanted.value_or(true);
}

void Understanding::report_unknown(const KeyValue &pair) {
    std::vector<std::string_view> known{kDocumentKeys.begin(), kDocumentKeys.end()};
    const std::vector<std::string_view> of_words = WordReader::word_keys();
    const bool is_of_words = std::ranges::find(of_words, values_.key(pair).text) != of_words.end();
    if (out_.is_root)
        known.insert(known.end(), of_words.begin(), of_words.end());
    else
        known.emplace_back("words");
    values_.unknown_key(pair, "of a document", known,
                        is_of_words ? "; it belongs to the top-level word"
                                    : "; put words under 'words'");
}

void Understanding::begin_root(size_t errors_before) {
    const WordReader::Rest rest = reader_.end();
    out_.words[0].sound = values_.errors() == errors_before;
    if (!out_.words[0].name_given)
        out_.words[0].name = "root";
    if (rest.marked)
        marked_.emplace_back(0, *rest.marked);
    if (rest.words)
        add_links(0, *rest.words, "");
    else
        out_.finished.push_back(0);
}

void Understanding::begin_subtree(const std::optional<KeyValue> &words) {
    const size_t errors_before = values_.errors();
    if (words)
        add_links(kNoWord, *words,
                  values_.texts().keep(out_.attach_path.substr(0, out_.attach_path.find(','))));
    const size_t count = open_.empty() ? 0 : open_.back().pairs.size();
    const bool none_sound = count == 0 && values_.errors() > errors_before;
    if (count == 1 || none_sound)
        return;
    const SourceRange place = count == 0 ? out_.place : values_.key_place(open_.back().pairs[1]);
    values_.error(place,
                  "a subtree must have exactly one top-level word, found " + std::to_string(count));
}

// A main tree is loaded only with such a node; that it stands right is for the checks.
void Understanding::add_redirect_root() {
    const auto links = out_.links_of(out_.words[0]);
    std::unordered_set<std::string_view> taken;
    for (const Word &word : out_.words)
        if (word.name == tool::kRedirectRoot || word.name.starts_with(tool::kBelowRedirectRoot))
            taken.insert(word.name);
    const bool has_room =
        links.size() < TREE_MAX_CHILDREN && out_.words.size() + 2 <= most_words_ && !too_many_;
    if (taken.contains(tool::kRedirectRoot) || !has_room)
        return;
    const std::vector<Link> others{links.begin(), links.end()};
    const std::string inner_name = tool::name_below_redirect_root(taken);
    const uint32_t redirect = add_word({}, out_.place);
    const uint32_t inner = add_word({}, out_.place);
    out_.words[redirect].name = tool::kRedirectRoot;
    out_.words[inner].name = values_.texts().keep(inner_name);
    out_.words[redirect].first_link = static_cast<uint32_t>(out_.links.size());
    out_.words[redirect].link_count = 1;
    out_.links.push_back({inner, out_.place});
    // Links of one word stand in a row, so those of the root move.
    out_.words[0].first_link = static_cast<uint32_t>(out_.links.size());
    out_.words[0].link_count = static_cast<uint32_t>(others.size()) + 1;
    out_.links.insert(out_.links.end(), others.begin(), others.end());
    out_.links.push_back({redirect, out_.place});
    out_.finished.insert(out_.finished.end() - 1, {inner, redirect}); // the root stays last
}

// ---- Words ----

uint32_t Understanding::add_word(const WordKey &key, SourceRange place) {
    const auto index = static_cast<uint32_t>(out_.words.size());
    out_.words.push_back({.key = key, .place = place, .name = {}, .name_place = place});
    return index;
}

// Gives a word the links to the words of a list: those it has where it is known, else new ones, to
// be found by going through the list.
void Understanding::add_links(uint32_t parent, const KeyValue &words,
                              std::string_view parent_name) {
    const uint32_t list = values_.index_of(words);
    std::pair<uint32_t, uint32_t> links{out_.links.size(), 0};
    if (const auto known = links_of_.find(list); known != links_of_.end()) {
        links = known->second;
        out_.finished.push_back(parent);
    } else {
        const size_t errors_before = values_.errors();
        OpenList open{parent, parent_name, words_in(words), 0, links.first};
        if (parent != kNoWord && values_.errors() > errors_before)
            out_.words[parent].sound = false;
        links.second = static_cast<uint32_t>(open.pairs.size());
        if (open.pairs.size() > TREE_MAX_CHILDREN)
            values_.error_at_key(open.pairs[TREE_MAX_CHILDREN],
                                 "too many words: " + std::to_string(open.pairs.size()) +
                                     " (limit: " + std::to_string(TREE_MAX_CHILDREN) +
                                     " per word)");
        out_.links.resize(out_.links.size() + open.pairs.size(), {kNoWord, {}});
        if (yaml_[list].anchored)
            links_of_.emplace(list, links);
        open_.push_back(std::move(open));
    }
    if (parent != kNoWord)
        std::tie(out_.words[parent].first_link, out_.words[parent].link_count) = links;
}

// The words of a list in either of its two forms.
std::vector<KeyValue> Understanding::words_in(const KeyValue &list) {
    if (values_.kind(list) == YamlKind::kMapping)
        return values_.pairs(values_.index_of(list));
    std::vector<KeyValue> words;
    for (const KeyValue &item : values_.items(values_.index_of(list))) {
        const std::vector<KeyValue> pairs = values_.pairs(values_.index_of(item));
        if (pairs.size() == 1)
            words.push_back(pairs.front());
        else if (values_.kind(item) != YamlKind::kBroken)
            values_.error_at(item,
                             "invalid item in a list of words; expected a mapping with one word");
    }
    if (values_.kind(list) == YamlKind::kScalar && !values_.is_empty(list))
        values_.error_at(list,
                         "invalid 'words'; expected a mapping of words, or a list of mappings");
    return words;
}

void Understanding::go_through_words() {
    while (!open_.empty() && !too_many_) {
        OpenList &list = open_.back();
        if (list.next == list.pairs.size()) {
            if (list.parent != kNoWord)
                out_.finished.push_back(list.parent);
            open_.pop_back();
            continue;
        }
        const size_t position = list.next++;
        const KeyValue pair = list.pairs[position];
        const uint32_t link = list.first_link + static_cast<uint32_t>(position);
        out_.links[link].place = values_.key_place(pair);
        const uint32_t parent = list.parent;
        const uint32_t child = word_below(list, pair); // may begin a list below
        out_.links[link].child = child;
        if (child == kNoWord && parent != kNoWord)
            out_.words[parent].sound = false;
    }
}

// The word of a pair in a list: a known one where the value is shared, else a new one.
uint32_t Understanding::word_below(const OpenList &list, const KeyValue &pair) {
    const uint32_t value = values_.index_of(pair);
    const SourceRange place = values_.key_place(pair);
    const auto key = values_.word_key(yaml_.resolved(pair.key), place);
    if (yaml_[value].kind == YamlKind::kBroken)
        return kNoWord;
    if (const auto known = word_of_.find(value); known != word_of_.end())
        return key ? shared_word(list, pair, *key, known->second) : kNoWord;
    if (out_.words.size() == most_words_) {
        values_.error_at_key(pair, "too many nodes (limit: " + std::to_string(most_words_) +
                                       " per tree)");
        too_many_ = true;
        return kNoWord;
    }
    const uint32_t word = add_word(key.value_or(WordKey{}), place);
    out_.words[word].sound = key.has_value();
    out_.words[word].exact_token = values_.key(pair).of_bytes;
    if (yaml_[value].anchored)
        word_of_.emplace(value, word);
    read_word(word, pair, list.parent_name);
    return word;
}

uint32_t Understanding::shared_word(const OpenList &list, const KeyValue &pair, const WordKey &key,
                                    uint32_t word) {
    const Word &shared = out_.words[word];
    if (shared.sound && !(shared.key == key)) {
        values_.error_at_key(pair,
                             "alias of word " +
                                 quoted(tool::word_key(shared.key.token, shared.key.masks())) +
                                 " used with a different key",
                             {values_.note(shared.place, "the word is defined here")});
        return kNoWord;
    }
    const size_t before = std::min<size_t>(list.next - 1, TREE_MAX_CHILDREN);
    const auto links = std::span{out_.links}.subspan(list.first_link, before);
    if (const auto first = std::ranges::find(links, word, &Link::child); first != links.end())
        values_.error_at_key(pair, "duplicate child: the same node is attached twice to one word",
                             {values_.note(first->place, "first attached here")});
    return word;
}

void Understanding::read_word(uint32_t index, const KeyValue &pair, std::string_view parent_name) {
    const size_t errors_before = values_.errors();
    const WordReader::Rest rest = reader_.read(pair);
    Word &word = out_.words[index];
    word.sound = word.sound && values_.errors() == errors_before;
    if (!word.name_given)
        word.name =
            values_.texts().keep(tool::made_name(parent_name, word.key.token, word.key.masks()));
    if (rest.marked)
        marked_.emplace_back(index, *rest.marked);
    if (rest.words)
        add_links(index, *rest.words, word.name);
    else
        out_.finished.push_back(index);
}

// ---- Marked links ----

constexpr uint32_t kSeveral = UINT32_MAX;

// Where the words below a word stand, by their keys and, where these are no help, by their names.
Understanding::Positions Understanding::make_positions_below(const Word &word) const {
    Positions positions;
    const std::span<const Link> links = out_.links_of(word);
    const auto count = static_cast<uint32_t>(std::min<size_t>(links.size(), TREE_MAX_CHILDREN));
    const auto child = [&](uint32_t i) {
        return links[i].child == kNoWord ? nullptr : &out_.words[links[i].child];
    };
    for (uint32_t i = 0; i < count; ++i) {
        if (child(i) == nullptr)
            continue;
        const WordKey &key = child(i)->key;
        const auto [known, is_new] = positions.emplace(tool::word_key(key.token, key.masks()), i);
        if (!is_new)
            known->second = kSeveral;
    }
    for (uint32_t i = 0; i < count; ++i)
        if (child(i) != nullptr)
            positions.emplace(child(i)->name, i);
    return positions;
}

const Understanding::Positions &Understanding::positions_below(const Word &word) {
    static const Positions kNone;
    if (word.link_count == 0)
        return kNone;
    const auto [known, is_new] = positions_.try_emplace(word.first_link);
    if (is_new)
        known->second = make_positions_below(word);
    return known->second;
}

// A text as the key of its word is spelled here, if it is one: types have more than one spelling.
std::string Understanding::as_word(std::string_view text) {
    const auto key = read_word_key(text, false, values_.texts(),
                                   {[](std::string_view, const std::string &) {}, false});
    return key ? tool::word_key(key->token, key->masks()) : std::string{text};
}

Marks Understanding::read_marks(uint32_t index, const KeyValue &list) {
    const Positions &positions = positions_below(out_.words[index]);
    const auto expected = [] {
        return std::string{
            "invalid 'marked'; expected a list of child words, or names of their nodes"};
    };
    if (values_.kind(list) != YamlKind::kSequence)
        values_.error_at(list, expected());
    Marks marks{index};
    for (const KeyValue &item : values_.items(values_.index_of(list))) {
        const auto text = values_.text(item, expected);
        if (!text)
            continue;
        auto found = positions.find(as_word(*text));
        if (found == positions.end()) // a made name looks like a word, but is spelled otherwise
            found = positions.find(*text);
        if (found == positions.end())
            values_.error_at(item, "this word has no child " + quoted_start(*text));
        else if (found->second == kSeveral)
            values_.error_at(item, quoted_start(*text) + " is ambiguous here; use the node name");
        else
            base::put_in_set(marks.bits.data(), found->second);
    }
    return marks;
}

void Understanding::take_marks(uint32_t index, const KeyValue &list) {
    const size_t errors_before = values_.errors();
    const Word &word = out_.words[index];
    const std::pair links_and_list{word.first_link, values_.index_of(list)};
    const bool is_shared = values_.value(list).anchored && word.link_count > 0;
    const auto known = is_shared ? known_marks_.find(links_and_list) : known_marks_.end();
    if (known != known_marks_.end()) {
        out_.marks.push_back({index, known->second.first.bits});
        values_.count_errors(known->second.second);
    } else {
        out_.marks.push_back(read_marks(index, list));
        if (is_shared)
            known_marks_.emplace(links_and_list,
                                 std::pair{out_.marks.back(), values_.errors() - errors_before});
    }
    out_.words[index].sound = out_.words[index].sound && values_.errors() == errors_before;
}

} // namespace

Document understand(const YamlDocument &yaml, size_t most_words, TextStore &texts,
                    Messages &messages) {
    return Understanding{yaml, most_words, texts, messages}.whole();
}

std::vector<KeyList> known_keys() {
    return {{"document", {kDocumentKeys.begin(), kDocumentKeys.end()}},
            {"word", WordReader::word_keys()},
            {"parameter", WordReader::parameter_keys()},
            {"submode", WordReader::submode_keys()}};
}

} // namespace compiler
