// The only file that uses libyaml. It takes events instead of libyaml's documents: anchors are
// looked up here, and cannot lead into a circle since an alias inside its own anchor is refused.
#include "tools/ocmd_compile/yaml_tree.h"

#include "tools/support/grammar_fields.h"
#include "tools/support/utf8.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <glib.h>
#include <new>
#include <string>
#include <unordered_map>
#include <utility>
#include <yaml.h>

namespace compiler {

namespace {

constexpr std::string_view kLineBreaks = "\r\n";

// ---- Characters ----

struct Character {
    uint32_t size; // bytes; 1 where no character begins
    bool allowed;  // in YAML
};

Character character_at(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80)
        return {1, first >= ' ' ? first != 0x7F : first == '\t' || first == '\n' || first == '\r'};
    constexpr size_t kMostBytes = 4;
    const gunichar code = g_utf8_get_char_validated(
        text.data(), static_cast<gssize>(std::min(text.size(), kMostBytes)));
    constexpr gunichar kGreatest = 0x10FFFF; // what is no character comes as a greater one
    if (code > kGreatest || code == 0)
        return {1, false};
    const bool control = code < 0xA0 && code != 0x85;
    return {static_cast<uint32_t>(g_unichar_to_utf8(code, nullptr)),
            !control && code != 0xFFFE && code != 0xFFFF};
}

bool is_plain_ascii(char c) {
    return (c >= ' ' && c <= '~') || c == '\n';
}

// Eight bytes with the same value.
constexpr uint64_t eight(uint8_t byte) {
    return 0x0101010101010101U * byte;
}

// Returns how many bytes at the beginning are plain ASCII, as far as whole words of eight bytes. In
// a byte below 0x80, the upper bit is free for carries, so no byte changes another.
uint32_t plain_ascii_size(std::string_view text) {
    constexpr uint64_t kUpper = eight(0x80);
    size_t size = 0;
    for (uint64_t bytes = 0; size + sizeof bytes <= text.size(); size += sizeof bytes) {
        std::memcpy(&bytes, text.data() + size, sizeof bytes);
        const uint64_t from_blank = (bytes | kUpper) - eight(' ');
        const uint64_t from_delete = bytes + eight(1);
        const uint64_t not_line_feed = ((bytes ^ eight('\n')) & ~kUpper) + eight(0x7F);
        if (((bytes | from_delete | (~from_blank & not_line_feed)) & kUpper) != 0)
            break;
    }
    return static_cast<uint32_t>(size);
}

bool is_ascii(std::string_view text) {
    unsigned char all = 0;
    for (const char c : text)
        all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

// The bytes of a file, with '?' in the place of each byte that YAML does not allow. libyaml would
// stop at the first.
std::string_view readable(const SourceFile &file, TextStore &texts, Messages &messages) {
    std::string mended;
    const std::string_view bytes = file.bytes();
    for (uint32_t i = 0; i < bytes.size();) {
        if (is_plain_ascii(bytes[i])) {
            i += std::max(plain_ascii_size(bytes.substr(i)), 1U);
            continue;
        }
        const Character character = character_at(bytes.substr(i));
        if (!character.allowed) {
            messages.error(file, {i, i + character.size},
                           "invalid character in YAML; use a !bytes string for arbitrary bytes");
            if (mended.empty())
                mended = bytes;
            std::fill_n(mended.begin() + i, character.size, '?');
        }
        i += character.size;
    }
    return mended.empty() ? bytes : texts.keep(mended);
}

// Offsets of characters, which libyaml counts.
class CharacterOffsets {
public:
    explicit CharacterOffsets(std::string_view text) : text_(text) {
        if (is_ascii(text))
            return;
        size_t count = 0;
        for (uint32_t i = 0; i < text.size(); ++i)
            if (!tool::is_inside_character(text[i]) && count++ % kStep == 0)
                steps_.push_back(i);
    }

    [[nodiscard]] uint32_t of(size_t index) const {
        const auto size = static_cast<uint32_t>(text_.size());
        if (steps_.empty())
            return static_cast<uint32_t>(std::min<size_t>(index, size));
        if (index / kStep >= steps_.size())
            return size;
        uint32_t offset = steps_[index / kStep];
        for (size_t left = index % kStep; left > 0 && offset < size; --left)
            do
                ++offset;
            while (offset < size && tool::is_inside_character(text_[offset]));
        return offset;
    }

private:
    static constexpr size_t kStep = 64;
    std::string_view text_;
    std::vector<uint32_t> steps_; // of each kStep-th character, where there are others than ASCII
};

// Returns whether a line begins after the text, in any version of YAML.
bool ends_with_line_break(std::string_view text) {
    constexpr std::array<std::string_view, 5> kBreaks{"\n", "\r", "\xC2\x85", "\xE2\x80\xA8",
                                                      "\xE2\x80\xA9"};
    return std::ranges::any_of(
        kBreaks, [&](std::string_view line_break) { return text.ends_with(line_break); });
}

// libyaml compares each directive with all before it, and copies what it says for each tag, so a
// file of them would take hours. A grammar needs none.
bool has_many_directives(const SourceFile &file, Messages &messages) {
    constexpr size_t kMost = 100;
    constexpr size_t kMostBytes = 1000;
    const std::string_view bytes = file.bytes();
    size_t count = 0;
    for (size_t at = 0; (at = bytes.find('%', at)) != std::string_view::npos; ++at) {
        if (at > 0 && !ends_with_line_break(bytes.substr(0, at)))
            continue;
        const size_t length = std::min(bytes.find_first_of(kLineBreaks, at), bytes.size()) - at;
        if (++count <= kMost && length <= kMostBytes)
            continue;
        const auto begin = static_cast<uint32_t>(at);
        messages.error(file, {begin, begin + 1},
                       "too many YAML directives (limit: 100 lines of 1000 bytes)");
        return true;
    }
    return false;
}

// ---- Syntax errors ----

// What libyaml says, and what is reported.
struct Phrase {
    std::string_view problem;
    std::string_view report;
    bool names_found = false; // "unexpected ..." stands before it
};

constexpr const char *kBadDirective = "invalid YAML directive; a grammar needs none";
constexpr const char *kBadTag = "invalid tag; the only tag of a grammar is !bytes";
constexpr const char *kTabIndents = "tab used for indentation; expected spaces";

constexpr std::array kPhrases{
    Phrase{"did not find expected ',' or ']'", "expected ',' or ']'", true},
    Phrase{"did not find expected ',' or '}'", "expected ',' or '}'", true},
    Phrase{"did not find expected '-' indicator", "expected '-' before the next item", true},
    Phrase{"did not find expected key", "expected a key with the indentation of the others", true},
    Phrase{"did not find expected node content", "expected a value", true},
    Phrase{"did not find expected <document start>", "expected '---' before another document",
           true},
    Phrase{"could not find expected ':'", "expected ':' after this key"},
    Phrase{"mapping values are not allowed in this context",
           "unexpected ':'; expected quotes around a string that contains it"},
    Phrase{"mapping keys are not allowed in this context", "unexpected key; expected a new line"},
    Phrase{"block sequence entries are not allowed in this context",
           "unexpected '-'; expected a new line before the first item"},
    Phrase{"found a tab character that violates indentation", kTabIndents},
    Phrase{"found a tab character where an indentation space is expected", kTabIndents},
    Phrase{"found character that cannot start any token",
           "expected quotes around a string that begins with it", true},
    Phrase{"found an indentation indicator equal to 0", "indentation 0; expected 1 to 9"},
    Phrase{"did not find expected comment or line break", "expected a comment or a new line", true},
    Phrase{"found unexpected end of stream", "expected the closing quote", true},
    Phrase{"found unexpected document indicator",
           "document marker in a quoted string; expected the closing quote"},
    Phrase{"found unknown escape character",
           R"(unknown escape sequence; expected '\\' for a backslash)"},
    Phrase{"did not find expected hexdecimal number",
           R"(expected hexadecimal digits: 2 after \x, 4 after \u, 8 after \U)", true},
    Phrase{"found invalid Unicode character escape code", "no character has this number"},
    Phrase{"did not find expected alphabetic or numeric character",
           "invalid anchor or alias; expected letters, digits, '-' and '_'"},
    Phrase{"found unexpected ':'",
           "unexpected ':'; expected quotes around a string that contains it"},
    Phrase{"found undefined tag handle", kBadTag},
    Phrase{"found duplicate %YAML directive", kBadDirective},
    Phrase{"found duplicate %TAG directive", kBadDirective},
    Phrase{"found incompatible YAML document", "unknown version of YAML; expected 1.1 or 1.2"},
};

// The constructs whose beginning is worth a note.
constexpr std::array<std::pair<std::string_view, const char *>, 7> kConstructs{{
    {"while parsing a flow sequence", "the sequence begins here"},
    {"while parsing a flow mapping", "the mapping begins here"},
    {"while parsing a block collection", "the sequence begins here"},
    {"while parsing a block mapping", "the mapping begins here"},
    {"while scanning a quoted scalar", "the string begins here"},
    {"while scanning a plain scalar", "the string begins here"},
    {"while scanning a block scalar", "the string begins here"},
}};

std::string found_in(std::string_view rest) {
    if (rest.empty())
        return "end of file";
    if (rest[0] == '\n' || rest[0] == '\r')
        return "end of line";
    if (rest[0] == '\t')
        return "tab";
    return tool::quoted(rest.substr(0, character_at(rest).size));
}

// Returns the report of a problem. The rest is the file from there on.
std::string report_of(std::string_view problem, std::string_view context, std::string_view rest) {
    for (const auto &[subject, report] : {std::pair{"directive", kBadDirective}, {" tag", kBadTag}})
        if (context.find(subject) != std::string_view::npos)
            return report;
    const auto *const phrase = std::ranges::find(kPhrases, problem, &Phrase::problem);
    if (phrase == kPhrases.end())
        return "YAML syntax error: " + std::string{problem};
    if (problem.starts_with("found character") && rest.starts_with('\t'))
        return kTabIndents;
    std::string report;
    if (phrase->names_found)
        report.append("unexpected ").append(found_in(rest)).append("; ");
    return report.append(phrase->report);
}

// ---- Events ----

class Event {
public:
    Event() = default;
    ~Event() { yaml_event_delete(&event_); }
    Event(const Event &) = delete;
    Event &operator=(const Event &) = delete;

    // Replaces it by the next one. False at a syntax error.
    bool read(yaml_parser_t &parser) {
        yaml_event_delete(&event_);
        return yaml_parser_parse(&parser, &event_) != 0;
    }

    const yaml_event_t *operator->() const { return &event_; }
    const yaml_event_t &operator*() const { return event_; }

private:
    yaml_event_t event_{};
};

std::string_view text_of(const yaml_char_t *text) {
    return text == nullptr ? std::string_view{}
                           : std::string_view{reinterpret_cast<const char *>(text)};
}

// Tags that name the default type of a node.
bool is_plain_tag(std::string_view tag) {
    return tag.empty() || tag == "!" || tag.starts_with("tag:yaml.org,2002:");
}

constexpr std::string_view kWhiteSpace = " \t\r\n";

// Removes what stands before the first of these characters.
void skip_to(std::string_view &text, std::string_view characters) {
    text.remove_prefix(std::min(text.find_first_of(characters), text.size()));
}

void skip(std::string_view &text, std::string_view characters) {
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
}

void skip_properties(std::string_view &text) {
    for (;;) {
        skip(text, kWhiteSpace);
        if (text.starts_with('#'))
            skip_to(text, kLineBreaks);
        else if (text.starts_with('&') || text.starts_with('!'))
            skip_to(text, kWhiteSpace);
        else
            return;
    }
}

// Returns the part of a scalar in the file that its text is made of: what stands between quotes, or
// the lines after the indicator of a block.
std::string_view content_of(std::string_view text, yaml_scalar_style_t style) {
    switch (style) {
    case YAML_SINGLE_QUOTED_SCALAR_STYLE:
    case YAML_DOUBLE_QUOTED_SCALAR_STYLE:
        return text.size() < 2 ? text : text.substr(1, text.size() - 2);
    case YAML_LITERAL_SCALAR_STYLE:
    case YAML_FOLDED_SCALAR_STYLE:
        skip_to(text, kLineBreaks);
        skip(text, kWhiteSpace);
        return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
    default:
        return text;
    }
}

} // namespace

struct YamlReader::Parser {
    const SourceFile &file;
    TextStore &texts;
    Messages &messages;
    std::string_view bytes;
    CharacterOffsets offsets;
    yaml_parser_t parser{};
    std::unordered_map<std::string_view, uint32_t> anchors; // of the document being read
    std::vector<uint32_t> open;                             // nodes that have not ended yet
    uint32_t document_begin = 0;
    bool stopped = false;

    Parser(const SourceFile &source, TextStore &store, Messages &list)
        : file(source), texts(store), messages(list), bytes(readable(source, store, list)),
          offsets(bytes), stopped(has_many_directives(source, list)) {
        if (yaml_parser_initialize(&parser) == 0)
            throw std::bad_alloc();
        yaml_parser_set_encoding(&parser, YAML_UTF8_ENCODING);
        yaml_parser_set_input_string(&parser, reinterpret_cast<const unsigned char *>(bytes.data()),
                                     bytes.size());
    }
    ~Parser() { yaml_parser_delete(&parser); }
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    [[nodiscard]] SourceRange place_of(const yaml_event_t &event) const {
        const uint32_t begin = offsets.of(event.start_mark.index);
        return {begin, std::max(begin, offsets.of(event.end_mark.index))};
    }

    [[nodiscard]] SourceRange place_of(std::string_view part) const {
        const auto begin = static_cast<uint32_t>(part.data() - bytes.data());
        return {begin, begin + static_cast<uint32_t>(part.size())};
    }

    // libyaml counts tags and anchors as part of the scalar.
    [[nodiscard]] SourceRange content_place(const yaml_event_t &event) const {
        const auto &scalar = event.data.scalar;
        const SourceRange whole = place_of(event);
        std::string_view text = bytes.substr(whole.begin, whole.end - whole.begin);
        if (scalar.anchor != nullptr || scalar.tag != nullptr)
            skip_properties(text);
        return place_of(content_of(text, scalar.style));
    }

    // Of a collection, its first character.
    [[nodiscard]] SourceRange first_place(const yaml_event_t &event, bool has_properties) const {
        std::string_view text = bytes.substr(place_of(event).begin);
        if (has_properties)
            skip_properties(text);
        return place_of(text.substr(0, 1));
    }

    // A text that stands in the file as it is needs no copy.
    std::string_view kept(std::string_view text, SourceRange place) {
        const std::string_view there = bytes.substr(place.begin, place.end - place.begin);
        return there == text ? there : texts.keep(text);
    }

    void learn_tag(YamlNode &node, std::string_view tag) {
        if (tag == "!bytes" && node.kind == YamlKind::kScalar)
            node.of_bytes = true;
        else if (tag == "!bytes")
            messages.error(file, node.place, "misplaced tag !bytes; expected a string after it");
        else if (!is_plain_tag(tag))
            messages.error(file, node.place,
                           "unknown tag " + tool::quoted_start(tag) + "; expected !bytes");
    }

    void learn_anchor(YamlNode &node, uint32_t index, const yaml_char_t *anchor) {
        if (anchor == nullptr)
            return;
        node.anchored = true;
        const std::string_view name = text_of(anchor);
        if (const auto known = anchors.find(name); known != anchors.end())
            known->second = index;
        else
            anchors.emplace(texts.keep(name), index);
    }

    void resolve(YamlNode &alias, std::string_view anchor, const YamlDocument &document) {
        const std::string name{anchor};
        const auto found = anchors.find(name);
        alias.kind = YamlKind::kBroken;
        if (found == anchors.end()) {
            messages.error(file, alias.place,
                           "undefined alias '*" + name + "'; the anchor '&" + name +
                               "' must come first");
        } else if (document[found->second].end == 0) {
            messages.error(file, alias.place, "alias refers to a node that contains it",
                           {{&file, document[found->second].place, "the node begins here"}});
        } else {
            alias.kind = YamlKind::kAlias;
            alias.target = found->second;
        }
    }

    void add(YamlDocument &document, YamlNode node, const yaml_char_t *tag,
             const yaml_char_t *anchor) {
        const auto index = static_cast<uint32_t>(document.nodes.size());
        if (tag != nullptr)
            learn_tag(node, text_of(tag));
        learn_anchor(node, index, anchor);
        if (node.kind == YamlKind::kMapping || node.kind == YamlKind::kSequence)
            open.push_back(index);
        else
            node.end = index + 1;
        document.nodes.push_back(node);
    }

    void add_scalar(YamlDocument &document, const yaml_event_t &event) {
        const auto &scalar = event.data.scalar;
        YamlNode node{.kind = YamlKind::kScalar,
                      .plain = scalar.style == YAML_PLAIN_SCALAR_STYLE,
                      .place = content_place(event)};
        if (document.nodes.empty() && node.place.begin == node.place.end)
            node.place = {document_begin, document_begin}; // else at the next document
        node.text = kept({reinterpret_cast<const char *>(scalar.value), scalar.length}, node.place);
        add(document, node, scalar.tag, scalar.anchor);
    }

    void add_alias(YamlDocument &document, const yaml_event_t &event) {
        YamlNode node{.kind = YamlKind::kAlias, .place = place_of(event)};
        resolve(node, text_of(event.data.alias.anchor), document);
        add(document, node, nullptr, nullptr);
    }

    // libyaml looks at all open collections for each token.
    void open_collection(YamlDocument &document, YamlKind kind, const yaml_event_t &event,
                         const yaml_char_t *tag, const yaml_char_t *anchor) {
        const YamlNode node{.kind = kind,
                            .place = first_place(event, tag != nullptr || anchor != nullptr)};
        if (open.size() == tool::kMostYamlLevels) {
            messages.error(file, node.place,
                           "more than " + std::to_string(tool::kMostYamlLevels) +
                               " levels of YAML");
            stopped = true;
        }
        add(document, node, tag, anchor);
    }

    void close_collection(YamlDocument &document) {
        document.nodes[open.back()].end = static_cast<uint32_t>(document.nodes.size());
        open.pop_back();
    }

    void take(YamlDocument &document, const yaml_event_t &event) {
        switch (event.type) {
        case YAML_DOCUMENT_START_EVENT:
            document_begin = place_of(event).begin;
            break;
        case YAML_SCALAR_EVENT:
            add_scalar(document, event);
            break;
        case YAML_ALIAS_EVENT:
            add_alias(document, event);
            break;
        case YAML_MAPPING_START_EVENT:
            open_collection(document, YamlKind::kMapping, event, event.data.mapping_start.tag,
                            event.data.mapping_start.anchor);
            break;
        case YAML_SEQUENCE_START_EVENT:
            open_collection(document, YamlKind::kSequence, event, event.data.sequence_start.tag,
                            event.data.sequence_start.anchor);
            break;
        case YAML_MAPPING_END_EVENT:
        case YAML_SEQUENCE_END_EVENT:
            close_collection(document);
            break;
        default:
            break;
        }
    }

    [[nodiscard]] SourceRange place_of(const yaml_mark_t &mark) const {
        const uint32_t begin = offsets.of(mark.index);
        return {begin, std::min(begin + 1, static_cast<uint32_t>(bytes.size()))};
    }

    void report_syntax_error() {
        if (parser.error == YAML_MEMORY_ERROR)
            throw std::bad_alloc();
        const std::string_view problem{parser.problem == nullptr ? "" : parser.problem};
        const std::string_view context{parser.context == nullptr ? "" : parser.context};
        const bool at_key = context == "while scanning a simple key";
        const SourceRange place = place_of(at_key ? parser.context_mark : parser.problem_mark);
        std::vector<Note> notes;
        const auto *const construct =
            std::ranges::find(kConstructs, context, [](const auto &pair) { return pair.first; });
        if (construct != kConstructs.end())
            notes.push_back({&file, place_of(parser.context_mark), construct->second});
        messages.error(file, place, report_of(problem, context, bytes.substr(place.begin)),
                       std::move(notes));
    }
};

YamlReader::YamlReader(const SourceFile &file, TextStore &texts, Messages &messages)
    : parser_(std::make_unique<Parser>(file, texts, messages)) {}

YamlReader::~YamlReader() = default;

bool YamlReader::next(YamlDocument &document) {
    constexpr size_t kBytesOfNode = 8; // in a usual grammar
    document.nodes.clear();
    document.nodes.reserve(parser_->bytes.size() / kBytesOfNode);
    document.file = &parser_->file;
    parser_->anchors.clear();
    Event event;
    while (!parser_->stopped) {
        if (!event.read(parser_->parser)) {
            parser_->report_syntax_error();
            parser_->stopped = true;
        } else if (event->type == YAML_DOCUMENT_END_EVENT) {
            return true;
        } else {
            parser_->take(document, *event);
            parser_->stopped = parser_->stopped || event->type == YAML_STREAM_END_EVENT;
        }
    }
    return false;
}

} // namespace compiler
