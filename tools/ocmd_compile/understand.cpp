// What the keys of a grammar mean. A word's own keys are taken in one go; the words below it wait
// in a list of their own, so that no depth of nesting is felt by the call stack. The order in which
// words are met is the order of their records: an anchor stands before its aliases, so the first
// place of a shared word is where it is written out.
#include "tools/ocmd_compile/understand.h"

#include "tools/ocmd_compile/values.h"
#include "tools/ocmd_compile/word_key.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace compiler {

namespace {

using tool::FieldKind;
using tool::GrammarField;
using tool::quoted;

constexpr size_t kMostPathBytes = SUBTREE_PATH_TEXT_SIZE - 1;
constexpr size_t kMostAttachPoints = 32; // more spoil the record for the linker
constexpr const char *kRedirectRoot = "tsh_redirect_root";

// A bound that lies where `min` lies, under the name that suits a text.
constexpr GrammarField kLength{"length", FieldKind::kNumber, offsetof(parameter_info_t, int_min),
                               sizeof(parameter_info_t::int_min)};

const GrammarField &word_field(std::string_view key) {
    return tool::field_of(tool::word_fields(), key);
}

const GrammarField &parameter_field(std::string_view key) {
    return tool::field_of(tool::parameter_fields(), key);
}

// A key of a mapping with its value, both indices into the YAML document.
struct Pair {
    uint32_t key;
    uint32_t value;
};

class Understanding {
public:
    Understanding(const YamlDocument &yaml, size_t most_words, TextStore &texts, Messages &messages)
        : yaml_(yaml), most_words_(most_words), texts_(texts), messages_(messages) {}

    Document whole();

    // What a key of a mapping means to it.
    struct Rule {
        std::string_view key;
        void (Understanding::*take)(const Pair &pair);
        const GrammarField *field = nullptr; // when the key is simply a field
    };
    static std::vector<Rule> with_fields(std::vector<Rule> rules,
                                         std::span<const GrammarField> fields);
    static const std::vector<Rule> &document_rules();
    static const std::vector<Rule> &word_rules();
    static const std::vector<Rule> &parameter_rules();
    static const std::vector<Rule> &submode_rules();

private:
    // A list of words that is being gone through.
    struct OpenList {
        uint32_t parent; // kNoWord for the top of a subtree
        std::string parent_name;
        std::vector<Pair> pairs;
        size_t next;
        uint32_t first_link;
    };

    // Telling
    void fault(Place place, std::string text, std::vector<Note> notes = {});
    void fault_at(uint32_t node, std::string text, std::vector<Note> notes = {});
    [[nodiscard]] Place place_at(uint32_t node) const;
    [[nodiscard]] Note note(Place place, std::string text) const;
    TellPart tell_parts_of(uint32_t node);

    // YAML
    [[nodiscard]] const YamlNode &value_of(const Pair &pair) const {
        return yaml_[yaml_.resolved(pair.value)];
    }
    [[nodiscard]] bool is_empty(const YamlNode &node) const {
        return node.kind == YamlKind::kScalar && node.plain && node.text.empty();
    }
    [[nodiscard]] std::vector<uint32_t> items_of(uint32_t sequence) const;
    std::vector<Pair> pairs_of(uint32_t mapping);
    std::vector<Pair> words_of(uint32_t list);
    std::optional<std::string_view> text_at(uint32_t node, const std::string &expected);
    void take_keys(uint32_t mapping, const std::vector<Rule> &rules, const char *where);
    void tell_unknown(const Pair &pair, const std::vector<Rule> &rules, const char *where);

    // Documents
    void take_below(const Pair &pair);
    void take_names_below(uint32_t sequence);
    void take_version(const Pair &pair) { take_number(pair, out_.version); }
    void take_path_kind(const Pair &pair) { take_number(pair, out_.path_kind); }
    void take_number(const Pair &pair, uint32_t &number);
    void take_redirect_root(const Pair &pair);
    void begin_subtree();
    void add_redirect_root();

    // Words
    uint32_t add_word(WordKey key, Place place);
    void begin_words(uint32_t parent, const std::string &parent_name, uint32_t list);
    void go_through_words();
    uint32_t word_for(const Pair &pair, const OpenList &list);
    uint32_t shared_word(const Pair &pair, const WordKey &key, uint32_t word, const OpenList &list);
    void describe(uint32_t word, const Pair &pair, const std::string &parent_name);
    void finish_bounds();
    void take_field(const Pair &pair, const GrammarField &field);
    void take_field_at(uint32_t node, const GrammarField &field);
    void take_set(uint32_t node, const GrammarField &field);
    void add_setting(uint32_t node, const GrammarField &field, std::string_view text,
                     const Bits &number);
    void take_name(const Pair &pair);
    void take_command(const Pair &pair);
    void command_at(uint32_t node);
    void take_submode(const Pair &pair);
    void take_mode(const Pair &pair) { take_field(pair, word_field("mode")); }
    void take_submode_help(const Pair &pair) { take_field(pair, word_field("submode_help")); }
    void take_min(const Pair &pair) { take_bound(pair, parameter_field("min")); }
    void take_max(const Pair &pair) { take_bound(pair, parameter_field("max")); }
    void take_length(const Pair &pair) { take_bound(pair, kLength); }
    void take_bound(const Pair &pair, const GrammarField &field);
    void take_own_length(const Pair &pair) { take_field(pair, kLength); }
    void take_parameters(const Pair &pair);
    void take_words(const Pair &pair) { list_ = yaml_.resolved(pair.value); }
    void take_marked(const Pair &pair) { marked_.emplace_back(word_, pair.value); }
    void take_marks(uint32_t word, uint32_t list);

    Word &word() { return out_.words[word_]; }

    const YamlDocument &yaml_;
    size_t most_words_;
    TextStore &texts_;
    Messages &messages_;
    Document out_;
    std::vector<OpenList> open_;
    std::vector<std::pair<uint32_t, uint32_t>> marked_;                   // words and their lists
    std::unordered_map<uint32_t, uint32_t> word_of_;                      // of anchored values
    std::unordered_map<uint32_t, std::pair<uint32_t, uint32_t>> list_of_; // links, of anchored ones

    // What is being read
    uint32_t word_ = kNoWord;
    uint8_t parameter_ = 0;
    std::optional<uint32_t> list_; // the words below the word
    uint32_t key_ = 0;
    bool too_many_ = false;
};

// ---- Telling ----

void Understanding::fault(Place place, std::string text, std::vector<Note> notes) {
    if (word_ != kNoWord)
        word().sound = false;
    messages_.fault(*yaml_.file, place, std::move(text), std::move(notes));
}

void Understanding::fault_at(uint32_t node, std::string text, std::vector<Note> notes) {
    fault(place_at(node), std::move(text), std::move(notes));
}

// Values that take no room, and lists, which only begin somewhere, are shown at their keys.
Place Understanding::place_at(uint32_t node) const {
    const Place place = yaml_[node].place;
    return place.begin == place.end ? yaml_[key_].place : place;
}

Note Understanding::note(Place place, std::string text) const {
    return {yaml_.file, place, std::move(text)};
}

// Parts of texts that stand in the file as they are have places of their own.
TellPart Understanding::tell_parts_of(uint32_t node) {
    return [this, node](std::string_view part, std::string text) {
        const std::string_view bytes = yaml_.file->bytes();
        const Place whole = place_at(node);
        const auto begin = static_cast<uint32_t>(part.data() - bytes.data());
        const bool inside = !part.empty() && part.data() >= bytes.data() + whole.begin &&
                            part.data() + part.size() <= bytes.data() + whole.end;
        fault(inside ? Place{begin, begin + static_cast<uint32_t>(part.size())} : whole,
              std::move(text));
    };
}

// ---- YAML ----

std::vector<uint32_t> Understanding::items_of(uint32_t sequence) const {
    std::vector<uint32_t> items;
    for (uint32_t i = sequence + 1; i < yaml_[sequence].end; i = yaml_[i].end)
        items.push_back(i);
    return items;
}

// Pairs whose key is a text that did not stand before.
std::vector<Pair> Understanding::pairs_of(uint32_t mapping) {
    std::vector<Pair> pairs;
    std::unordered_map<std::string_view, uint32_t> seen;
    for (uint32_t i = mapping + 1; i < yaml_[mapping].end;) {
        const Pair pair{i, yaml_[i].end};
        i = yaml_[pair.value].end;
        const YamlNode &key = yaml_[yaml_.resolved(pair.key)];
        key_ = pair.key;
        if (key.kind == YamlKind::kBroken)
            continue;
        if (key.kind != YamlKind::kScalar) {
            fault_at(pair.key, "a key is a text");
            continue;
        }
        const auto [first, is_new] = seen.emplace(key.text, pair.key);
        if (is_new)
            pairs.push_back(pair);
        else
            fault_at(pair.key, "the key " + quoted(key.text) + " stands twice",
                     {note(yaml_[first->second].place, "first here")});
    }
    return pairs;
}

// The words of a list in either of its two forms.
std::vector<Pair> Understanding::words_of(uint32_t list) {
    if (yaml_[list].kind == YamlKind::kMapping)
        return pairs_of(list);
    std::vector<Pair> words;
    if (yaml_[list].kind != YamlKind::kSequence) {
        if (yaml_[list].kind != YamlKind::kBroken && !is_empty(yaml_[list]))
            fault_at(list, "'words' takes a mapping of words, or a list of such");
        return words;
    }
    for (const uint32_t item : items_of(list)) {
        const uint32_t mapping = yaml_.resolved(item);
        if (yaml_[mapping].kind == YamlKind::kBroken)
            continue;
        const std::vector<Pair> pairs =
            yaml_[mapping].kind == YamlKind::kMapping ? pairs_of(mapping) : std::vector<Pair>{};
        if (pairs.size() == 1)
            words.push_back(pairs.front());
        else
            fault_at(item, "an item of a list of words is a mapping with one word");
    }
    return words;
}

std::optional<std::string_view> Understanding::text_at(uint32_t node, const std::string &expected) {
    const YamlNode &value = yaml_[yaml_.resolved(node)];
    if (value.kind == YamlKind::kBroken)
        return {};
    if (value.kind != YamlKind::kScalar) {
        fault_at(node, expected);
        return {};
    }
    if (!value.of_bytes)
        return value.text;
    const std::optional<std::string> bytes = read_bytes(value.text, tell_parts_of(node));
    return bytes ? std::optional{texts_.keep(*bytes)} : std::nullopt;
}

void Understanding::take_keys(uint32_t mapping, const std::vector<Rule> &rules, const char *where) {
    for (const Pair &pair : pairs_of(mapping)) {
        const std::string_view key = yaml_[yaml_.resolved(pair.key)].text;
        const auto rule = std::ranges::find(rules, key, &Rule::key);
        key_ = pair.key;
        if (rule == rules.end())
            tell_unknown(pair, rules, where);
        else if (rule->field != nullptr)
            take_field(pair, *rule->field);
        else
            (this->*rule->take)(pair);
    }
}

void Understanding::tell_unknown(const Pair &pair, const std::vector<Rule> &rules,
                                 const char *where) {
    const std::string_view key = yaml_[yaml_.resolved(pair.key)].text;
    std::vector<std::string_view> known;
    for (const Rule &rule : rules)
        known.push_back(rule.key);
    std::string hint = tool::suggestion(key, known);
    const bool takes_words = std::ranges::find(known, "words") != known.end();
    if (hint.empty() && takes_words && value_of(pair).kind == YamlKind::kMapping)
        hint = ", words stand under 'words'";
    const bool of_a_word = std::ranges::find(word_rules(), key, &Rule::key) != word_rules().end();
    if (of_a_word && word_ == kNoWord)
        hint = ", it belongs to the word at the top";
    fault_at(pair.key, "unknown key " + quoted(key) + " " + where + hint);
}

// ---- Rules of the mappings ----

std::vector<Understanding::Rule> Understanding::with_fields(std::vector<Rule> rules,
                                                            std::span<const GrammarField> fields) {
    for (const GrammarField &field : fields)
        if (std::ranges::find(rules, field.key, &Rule::key) == rules.end())
            rules.push_back({field.key, nullptr, &field});
    return rules;
}

const std::vector<Understanding::Rule> &Understanding::document_rules() {
    static const std::vector<Rule> rules{
        {"below", &Understanding::take_below},
        {"version", &Understanding::take_version},
        {"path_kind", &Understanding::take_path_kind},
        {"redirect_root", &Understanding::take_redirect_root},
    };
    return rules;
}

const std::vector<Understanding::Rule> &Understanding::word_rules() {
    static const std::vector<Rule> rules = with_fields(
        {
            {"name", &Understanding::take_name},
            {"command", &Understanding::take_command},
            {"submode", &Understanding::take_submode},
            {"min", &Understanding::take_min},
            {"max", &Understanding::take_max},
            {"length", &Understanding::take_length},
            {"parameters", &Understanding::take_parameters},
            {"words", &Understanding::take_words},
            {"marked", &Understanding::take_marked},
        },
        tool::word_fields());
    return rules;
}

const std::vector<Understanding::Rule> &Understanding::parameter_rules() {
    static const std::vector<Rule> rules =
        with_fields({{"length", &Understanding::take_own_length}}, tool::parameter_fields());
    return rules;
}

const std::vector<Understanding::Rule> &Understanding::submode_rules() {
    static const std::vector<Rule> rules{
        {"help", &Understanding::take_submode_help},
        {"mode", &Understanding::take_mode},
    };
    return rules;
}

// ---- Documents ----

Document Understanding::whole() {
    out_.file = yaml_.file;
    out_.place = yaml_[0].place;
    if (yaml_[0].kind != YamlKind::kMapping) {
        fault_at(0, "a document is a mapping of keys such as 'below' and 'words'");
        return std::move(out_);
    }
    // Whether the words beside 'below' describe a root depends on it, wherever it stands.
    const std::vector<Pair> pairs = pairs_of(0);
    out_.is_root = std::ranges::none_of(
        pairs, [&](const Pair &pair) { return yaml_[yaml_.resolved(pair.key)].text == "below"; });
    if (out_.is_root)
        word_ = add_word({}, out_.place);
    std::vector<Rule> rules = document_rules();
    if (out_.is_root)
        rules.insert(rules.end(), word_rules().begin(), word_rules().end());
    else
        rules.push_back({"words", &Understanding::take_words});
    take_keys(0, rules, "in a document");

    if (out_.is_root) {
        if (!word().name_given)
            word().name = "root";
        if (list_)
            begin_words(word_, "", *list_);
        else
            out_.finished.push_back(word_);
    } else {
        begin_subtree();
    }
    go_through_words();
    for (const auto &[word, list] : marked_)
        take_marks(word, list);
    if (out_.is_root && out_.wants_redirect_root)
        add_redirect_root();
    out_.complete = !too_many_;
    return std::move(out_);
}

void Understanding::take_below(const Pair &pair) {
    const uint32_t value = yaml_.resolved(pair.value);
    out_.attach_place = place_at(pair.value);
    if (yaml_[value].kind == YamlKind::kSequence)
        take_names_below(value);
    else if (const auto path = text_at(pair.value, "'below' takes the name of a node, or a list"))
        out_.attach_path = *path;

    const auto commas = static_cast<size_t>(std::ranges::count(out_.attach_path, ','));
    if (out_.attach_path.size() > kMostPathBytes)
        fault_at(pair.value, "attach points of " + std::to_string(out_.attach_path.size()) +
                                 " bytes, there is room for " + std::to_string(kMostPathBytes));
    else if (commas >= kMostAttachPoints)
        fault_at(pair.value, "more than " + std::to_string(kMostAttachPoints) + " attach points");
    else if (out_.attach_path.find('\0') != std::string::npos)
        fault_at(pair.value, "a text with a zero byte");
}

void Understanding::take_names_below(uint32_t sequence) {
    for (const uint32_t item : items_of(sequence)) {
        const auto name = text_at(item, "an attach point is the name of a node");
        if (!name)
            continue;
        if (name->empty() || name->size() >= TREE_NAME_SIZE ||
            name->find(',') != std::string_view::npos)
            fault_at(item, "an attach point is a name of 1 to 63 bytes without a comma");
        if (!out_.attach_path.empty())
            out_.attach_path += ',';
        out_.attach_path += *name;
    }
}

void Understanding::take_number(const Pair &pair, uint32_t &number) {
    const std::string expected = quoted(yaml_[yaml_.resolved(pair.key)].text) +
                                 " takes a number from 0 to " + std::to_string(UINT32_MAX);
    const auto text = text_at(pair.value, expected);
    if (!text)
        return;
    const std::optional<Bits> value = read_number(*text);
    if (value && fits(*value, 32))
        number = static_cast<uint32_t>((*value)[0]);
    else
        fault_at(pair.value, expected);
}

void Understanding::take_redirect_root(const Pair &pair) {
    const std::string expected = "'redirect_root' takes yes or no, in a document without 'below'";
    const auto text = text_at(pair.value, expected);
    const std::optional<bool> wanted = text ? read_yes_no(*text) : std::nullopt;
    if (text && (!wanted || !out_.is_root))
        fault_at(pair.value, expected);
    out_.wants_redirect_root = wanted.value_or(true);
}

void Understanding::begin_subtree() {
    const std::string first_point = out_.attach_path.substr(0, out_.attach_path.find(','));
    if (list_)
        begin_words(kNoWord, first_point, *list_);
    const size_t count = open_.empty() ? 0 : open_.back().pairs.size();
    if (count != 1)
        fault(count == 0 ? out_.place : yaml_[open_.back().pairs[1].key].place,
              "a subtree has one word at its top, this one has " + std::to_string(count));
}

// A main tree is loaded only with such a node; that it stands right is for the checks.
void Understanding::add_redirect_root() {
    const std::span<const Link> links = out_.links_of(out_.words[0]);
    const bool named = std::ranges::any_of(
        out_.words, [](const Word &known) { return known.name == kRedirectRoot; });
    if (named || links.empty() || !out_.words[0].sound || too_many_)
        return;
    // The new link has to stand behind the others of its list.
    const std::vector<Link> others{links.begin(), links.end()};
    const uint32_t redirect = add_word({}, out_.place);
    const uint32_t inner = add_word({}, out_.place);
    out_.words[redirect].name = kRedirectRoot;
    out_.words[inner].name = "redirect";
    out_.words[redirect].first_link = static_cast<uint32_t>(out_.links.size());
    out_.words[redirect].link_count = 1;
    out_.links.push_back({inner, out_.place});
    out_.words[0].first_link = static_cast<uint32_t>(out_.links.size());
    out_.words[0].link_count = static_cast<uint32_t>(others.size()) + 1;
    out_.links.insert(out_.links.end(), others.begin(), others.end());
    out_.links.push_back({redirect, out_.place});
    out_.finished.insert(out_.finished.end() - 1, {inner, redirect});
}

// ---- Words ----

uint32_t Understanding::add_word(WordKey key, Place place) {
    const auto index = static_cast<uint32_t>(out_.words.size());
    out_.words.push_back({.key = key, .place = place, .name = {}, .name_place = place});
    out_.words.back().first_setting = static_cast<uint32_t>(out_.settings.size());
    return index;
}

void Understanding::begin_words(uint32_t parent, const std::string &parent_name, uint32_t list) {
    OpenList open{parent, parent_name, words_of(list), 0, static_cast<uint32_t>(out_.links.size())};
    if (open.pairs.size() > TREE_MAX_CHILDREN) {
        key_ = open.pairs[TREE_MAX_CHILDREN].key;
        fault_at(key_, std::to_string(open.pairs.size()) + " words below one word, of which " +
                           std::to_string(TREE_MAX_CHILDREN) + " have room");
    }
    out_.links.resize(out_.links.size() + open.pairs.size(), {kNoWord, {}});
    const std::pair links{open.first_link, static_cast<uint32_t>(open.pairs.size())};
    if (parent != kNoWord)
        std::tie(out_.words[parent].first_link, out_.words[parent].link_count) = links;
    if (yaml_[list].anchored)
        list_of_.emplace(list, links);
    open_.push_back(std::move(open));
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
        const Pair pair = list.pairs[list.next];
        const auto link = list.first_link + static_cast<uint32_t>(list.next++);
        word_ = list.parent;
        list_.reset();
        const uint32_t child = word_for(pair, list);
        out_.links[link] = {child, yaml_[pair.key].place};
        if (!list_) {
            if (child == word_ && child != kNoWord)
                out_.finished.push_back(child);
            continue;
        }
        const auto known = list_of_.find(*list_);
        if (known == list_of_.end()) {
            begin_words(child, out_.words[child].name, *list_);
            continue;
        }
        std::tie(out_.words[child].first_link, out_.words[child].link_count) = known->second;
        out_.finished.push_back(child);
    }
}

// The word of a pair below a parent: a known one where the value is shared, else a new one, whose
// own keys are taken. Sets word_ to a new word, and list_ to what stands below it.
uint32_t Understanding::word_for(const Pair &pair, const OpenList &list) {
    const YamlNode &key = yaml_[yaml_.resolved(pair.key)];
    const uint32_t value = yaml_.resolved(pair.value);
    key_ = pair.key;
    const auto read = read_word_key(key.text, key.of_bytes, texts_, tell_parts_of(pair.key));
    if (yaml_[value].kind == YamlKind::kBroken)
        return kNoWord;
    if (const auto known = word_of_.find(value); known != word_of_.end())
        return read ? shared_word(pair, *read, known->second, list) : kNoWord;
    if (out_.words.size() == most_words_) {
        fault_at(pair.key, "more than " + std::to_string(most_words_) + " nodes in one tree");
        too_many_ = true;
        return kNoWord;
    }

    const uint32_t parent =
        std::exchange(word_, add_word(read.value_or(WordKey{}), yaml_[pair.key].place));
    word().sound = read.has_value();
    word().exact_token = key.of_bytes;
    if (parent != kNoWord && !read)
        out_.words[parent].sound = false;
    if (yaml_[value].anchored)
        word_of_.emplace(value, word_);
    describe(word_, pair, list.parent_name);
    return word_;
}

uint32_t Understanding::shared_word(const Pair &pair, const WordKey &key, uint32_t word,
                                    const OpenList &list) {
    const Word &shared = out_.words[word];
    if (shared.sound && !(shared.key == key)) {
        fault_at(pair.key,
                 "the alias is the word " +
                     quoted(tool::word_key(shared.key.token, shared.key.masks())) +
                     ", which is not what its key says",
                 {note(shared.place, "it stands here")});
        return kNoWord;
    }
    const size_t before = std::min<size_t>(list.next - 1, TREE_MAX_CHILDREN);
    for (const Link &link : std::span{out_.links}.subspan(list.first_link, before))
        if (link.child == word)
            fault_at(pair.key, "the same node stands twice below one word",
                     {note(link.place, "first here")});
    return word;
}

// Takes what the value of a word says of it.
void Understanding::describe(uint32_t index, const Pair &pair, const std::string &parent_name) {
    const YamlNode &value = value_of(pair);
    if (value.kind == YamlKind::kMapping)
        take_keys(yaml_.resolved(pair.value), word_rules(), "of a word");
    else if (value.kind == YamlKind::kSequence)
        fault_at(pair.value, "a word takes a mapping of keys, or the function of its command");
    else if (!is_empty(value))
        command_at(pair.value);
    finish_bounds();
    Word &described = out_.words[index];
    described.setting_count = static_cast<uint32_t>(out_.settings.size()) - described.first_setting;
    if (!described.name_given)
        described.name = tool::made_name(parent_name, described.key.token, described.key.masks());
}

// A lowest value alone means that there is no highest.
void Understanding::finish_bounds() {
    const GrammarField &min = parameter_field("min");
    const GrammarField &max = parameter_field("max");
    for (uint8_t i = 1; i <= TREE_MAX_PARAMS; ++i) {
        const auto settings = std::span{out_.settings}.subspan(word().first_setting);
        const auto find = [&](const GrammarField &field) {
            return std::ranges::find_if(settings, [&](const Setting &setting) {
                return setting.field == &field && setting.parameter == i;
            });
        };
        if (find(min) != settings.end() && find(max) == settings.end())
            out_.settings.push_back({&max, i, find(min)->place, {}, {INT32_MAX, 0}});
    }
}

// ---- Keys of words ----

void Understanding::take_field(const Pair &pair, const GrammarField &field) {
    take_field_at(pair.value, field);
}

std::string expected_of(const GrammarField &field) {
    const unsigned bits = field.size * 8U;
    const std::string key = quoted(field.key) + " takes ";
    switch (field.kind) {
    case FieldKind::kText:
        return key + "a text";
    case FieldKind::kNumber:
        return key + "a number from 0 to " + std::to_string((uint64_t{1} << bits) - 1);
    case FieldKind::kYesNo:
        return key + "yes, no or a number from 0 to " + std::to_string((uint64_t{1} << bits) - 1);
    case FieldKind::kSigned:
        return key + "a number from " + std::to_string(INT32_MIN) + " to " +
               std::to_string(INT32_MAX);
    case FieldKind::kFlag:
        return key + "yes or no";
    case FieldKind::kSet:
        return key + "a list of numbers from 0 to " + std::to_string(bits - 1) + ", or a mask";
    case FieldKind::kBytes:
        break;
    }
    return key + "up to " + std::to_string(field.size) + " bytes in hexadecimal";
}

// The number that a text stands for in a field of that kind.
std::optional<Bits> number_for(const GrammarField &field, std::string_view text) {
    if (field.kind == FieldKind::kFlag || field.kind == FieldKind::kYesNo)
        if (const std::optional<bool> answer = read_yes_no(text))
            return Bits{*answer ? 1U : 0U, 0};
    if (field.kind == FieldKind::kFlag)
        return {};
    if (field.kind == FieldKind::kSigned) {
        const std::optional<int32_t> number = read_signed(text);
        return number ? std::optional{Bits{static_cast<uint32_t>(*number), 0}} : std::nullopt;
    }
    const std::optional<Bits> number = read_number(text);
    return number && fits(*number, field.size * 8U) ? number : std::nullopt;
}

void Understanding::take_field_at(uint32_t node, const GrammarField &field) {
    const std::string expected = expected_of(field);
    if (field.kind == FieldKind::kSet && yaml_[yaml_.resolved(node)].kind == YamlKind::kSequence) {
        take_set(node, field);
        return;
    }
    const auto text = text_at(node, expected);
    if (!text)
        return;
    if (field.kind == FieldKind::kText) {
        if (text->size() >= field.size)
            fault_at(node, "a text of " + std::to_string(text->size()) + " bytes, " +
                               quoted(field.key) + " has room for " +
                               std::to_string(field.size - 1));
        else if (text->find('\0') != std::string_view::npos)
            fault_at(node, "a text with a zero byte");
        else
            add_setting(node, field, *text, {});
        return;
    }
    if (field.kind == FieldKind::kBytes) {
        const auto bytes = read_hex_bytes(*text);
        if (bytes && bytes->size() <= field.size)
            add_setting(node, field, texts_.keep(*bytes), {});
        else
            fault_at(node, expected);
        return;
    }
    const std::optional<Bits> number = number_for(field, *text);
    if (number)
        add_setting(node, field, {}, *number);
    else
        fault_at(node, expected);
}

void Understanding::take_set(uint32_t node, const GrammarField &field) {
    Bits set{};
    for (const uint32_t item : items_of(yaml_.resolved(node))) {
        const auto text = text_at(item, expected_of(field));
        if (!text)
            continue;
        const std::optional<Bits> number = read_number(*text);
        if (number && (*number)[1] == 0 && (*number)[0] < field.size * 8U)
            set[(*number)[0] / 64] |= uint64_t{1} << (*number)[0] % 64;
        else
            fault_at(item, expected_of(field));
    }
    add_setting(node, field, {}, set);
}

void Understanding::add_setting(uint32_t node, const GrammarField &field, std::string_view text,
                                const Bits &number) {
    for (const Setting &known : std::span{out_.settings}.subspan(word().first_setting)) {
        const bool same_place =
            known.parameter == parameter_ && known.field->offset == field.offset &&
            known.field->bit == field.bit &&
            (known.field->kind == FieldKind::kSet) == (field.kind == FieldKind::kSet);
        if (!same_place)
            continue;
        if (field.kind != FieldKind::kFlag || known.number != number)
            fault_at(node, quoted(field.key) + " has been said already",
                     {note(known.place, "here")});
        return;
    }
    out_.settings.push_back({&field, parameter_, place_at(node), text, number});
}

void Understanding::take_name(const Pair &pair) {
    const auto name = text_at(pair.value, "'name' takes a text");
    if (!name)
        return;
    if (name->size() >= TREE_NAME_SIZE)
        fault_at(pair.value, "a name of " + std::to_string(name->size()) +
                                 " bytes, there is room for " + std::to_string(TREE_NAME_SIZE - 1));
    else if (name->find('\0') != std::string_view::npos)
        fault_at(pair.value, "a text with a zero byte");
    word().name = name->substr(0, TREE_NAME_SIZE - 1);
    word().name_place = place_at(pair.value);
    word().name_given = true;
}

void Understanding::take_command(const Pair &pair) {
    command_at(pair.value);
}

void Understanding::command_at(uint32_t node) {
    const YamlNode &value = yaml_[yaml_.resolved(node)];
    if (value.kind == YamlKind::kScalar && value.text.empty()) {
        fault_at(node, "a command without a function; 'terminal: yes' ends one that has none");
        return;
    }
    take_field_at(node, word_field("function"));
    add_setting(node, word_field("terminal"), {}, {1, 0});
}

void Understanding::take_submode(const Pair &pair) {
    if (value_of(pair).kind != YamlKind::kMapping) {
        take_field(pair, word_field("submode"));
        return;
    }
    add_setting(pair.value, word_field("submode"), {}, {1, 0});
    take_keys(yaml_.resolved(pair.value), submode_rules(), "of a submode");
}

void Understanding::take_bound(const Pair &pair, const GrammarField &field) {
    const int count = word().key.parameter_count;
    if (count == 1) {
        parameter_ = 1;
        take_field(pair, field);
        parameter_ = 0;
    } else if (word().sound) {
        fault_at(pair.key,
                 quoted(field.key) + (count == 0 ? " is for a word with a parameter"
                                                 : " of one of two parameters stands under "
                                                   "'parameters'"));
    }
}

void Understanding::take_parameters(const Pair &pair) {
    const uint32_t list = yaml_.resolved(pair.value);
    const int count = word().key.parameter_count;
    if (yaml_[list].kind == YamlKind::kBroken)
        return;
    const std::vector<uint32_t> items =
        yaml_[list].kind == YamlKind::kSequence ? items_of(list) : std::vector<uint32_t>{};
    if (items.size() != static_cast<size_t>(count) || count == 0) {
        if (word().sound)
            fault_at(pair.key, "'parameters' takes a list of one mapping for each parameter of the "
                               "word, which has " +
                                   std::to_string(count));
        return;
    }
    for (const uint32_t item : items) {
        const uint32_t mapping = yaml_.resolved(item);
        ++parameter_;
        if (yaml_[mapping].kind == YamlKind::kMapping)
            take_keys(mapping, parameter_rules(), "of a parameter");
        else if (yaml_[mapping].kind != YamlKind::kBroken && !is_empty(yaml_[mapping]))
            fault_at(item, "a parameter is described by a mapping of keys");
    }
    parameter_ = 0;
}

// Marks the links whose words a list names, by their keys or by the names of their nodes.
void Understanding::take_marks(uint32_t index, uint32_t list) {
    constexpr uint32_t kSeveral = UINT32_MAX;
    word_ = index;
    if (yaml_[yaml_.resolved(list)].kind != YamlKind::kSequence) {
        fault_at(list, "'marked' takes a list of words below this one");
        return;
    }
    std::map<std::string, uint32_t, std::less<>> positions;
    const std::span<const Link> links = out_.links_of(word());
    const auto limit = static_cast<uint32_t>(std::min<size_t>(links.size(), TREE_MAX_CHILDREN));
    for (uint32_t i = 0; i < limit; ++i) {
        if (links[i].child == kNoWord)
            continue;
        const WordKey &key = out_.words[links[i].child].key;
        const auto [known, is_new] = positions.emplace(tool::word_key(key.token, key.masks()), i);
        if (!is_new)
            known->second = kSeveral;
    }
    for (uint32_t i = 0; i < limit; ++i)
        if (links[i].child != kNoWord)
            positions.emplace(out_.words[links[i].child].name, i);

    Marks marks{index};
    for (const uint32_t item : items_of(yaml_.resolved(list))) {
        const YamlNode &value = yaml_[yaml_.resolved(item)];
        if (value.kind != YamlKind::kScalar) {
            if (value.kind != YamlKind::kBroken)
                fault_at(item, "a marked link is told by a word or the name of its node");
            continue;
        }
        const auto silent = [](std::string_view, const std::string &) {};
        const auto key = read_word_key(value.text, value.of_bytes, texts_, silent);
        auto found =
            key ? positions.find(tool::word_key(key->token, key->masks())) : positions.end();
        if (found == positions.end() || found->second == kSeveral)
            found = positions.find(value.text);
        if (found == positions.end())
            fault_at(item, "there is no " + quoted(value.text) + " below this word");
        else if (found->second == kSeveral)
            fault_at(item, "several words below are " + quoted(value.text) +
                               ", give the name of the node");
        else
            marks.bits[found->second / 8] =
                static_cast<uint8_t>(marks.bits[found->second / 8] | 1U << found->second % 8);
    }
    out_.marks.push_back(marks);
}

} // namespace

Document understand(const YamlDocument &yaml, size_t most_words, TextStore &texts,
                    Messages &messages) {
    return Understanding{yaml, most_words, texts, messages}.whole();
}

std::vector<KeyList> known_keys() {
    const auto list = [](const char *where, const std::vector<Understanding::Rule> &rules) {
        KeyList keys{where, {}};
        for (const Understanding::Rule &rule : rules)
            keys.keys.push_back(rule.key);
        return keys;
    };
    return {list("document", Understanding::document_rules()),
            list("word", Understanding::word_rules()),
            list("parameter", Understanding::parameter_rules()),
            list("submode", Understanding::submode_rules())};
}

} // namespace compiler
