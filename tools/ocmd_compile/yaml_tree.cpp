// The one place that knows libfyaml. Its events are taken instead of its documents: those stop at
// 64 levels or recurse to the end of the call stack, and take seven times as long to build. What
// documents would add is little: anchors are looked up here, and cannot lead into a circle since an
// alias inside its own anchor is refused.
#include "tools/ocmd_compile/yaml_tree.h"

#include "tools/support/releaser.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <glib.h>
#include <libfyaml.h>
#include <new>
#include <string>
#include <unordered_map>

namespace compiler {

namespace {

constexpr uint32_t kNoLength = 0;

// Length of the character that begins here, if YAML may hold it; 0 otherwise.
uint32_t character_length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80)
        return first >= ' ' ? first != 0x7F : first == '\t' || first == '\n' || first == '\r';
    constexpr size_t kMostBytes = 4;
    const gunichar code = g_utf8_get_char_validated(
        text.data(), static_cast<gssize>(std::min(text.size(), kMostBytes)));
    constexpr gunichar kGreatest = 0x10FFFF; // what is no character comes as a greater one
    const bool control = code < 0xA0 && code != 0x85;
    const bool no_character = code == 0xFFFE || code == 0xFFFF || code > kGreatest;
    return control || no_character ? kNoLength
                                   : static_cast<uint32_t>(g_unichar_to_utf8(code, nullptr));
}

// Whether a line begins behind the text, in any version of YAML.
bool ends_with_line_break(std::string_view text) {
    constexpr std::array<std::string_view, 5> kBreaks{"\n", "\r", "\xC2\x85", "\xE2\x80\xA8",
                                                      "\xE2\x80\xA9"};
    return std::ranges::any_of(
        kBreaks, [&](std::string_view line_break) { return text.ends_with(line_break); });
}

// Every directive is compared with all before it, and a grammar needs none: what has many of them
// is no grammar, and would take hours.
bool has_many_directives(const SourceFile &file, Messages &messages) {
    constexpr size_t kMost = 100;
    size_t count = 0;
    for (size_t at = 0; (at = file.bytes().find('%', at)) != std::string_view::npos; ++at) {
        if (!ends_with_line_break(file.bytes().substr(0, at)) || ++count <= kMost)
            continue;
        const auto begin = static_cast<uint32_t>(at);
        messages.fault(file, {begin, begin + 1}, "more YAML directives than any grammar has");
        return true;
    }
    return false;
}

// The parser would take a byte that is none of its characters for the end of the file.
std::string_view readable(const SourceFile &file, TextStore &texts, Messages &messages) {
    if (has_many_directives(file, messages))
        return "";
    std::string mended;
    const std::string_view bytes = file.bytes();
    for (uint32_t i = 0; i < bytes.size();) {
        const uint32_t length = character_length(bytes.substr(i));
        if (length == kNoLength) {
            messages.fault(file, {i, i + 1},
                           "a byte that is no character of YAML; texts of any bytes are tagged "
                           "!bytes");
            if (mended.empty())
                mended = bytes;
            mended[i] = '?';
        }
        i += std::max(length, 1U);
    }
    return mended.empty() ? bytes : texts.keep(mended);
}

std::string_view text_of(fy_token *token) {
    size_t length = 0;
    const char *text = token == nullptr ? nullptr : fy_token_get_text(token, &length);
    return text == nullptr ? std::string_view{} : std::string_view{text, length};
}

// Tags that say what a node is taken for anyway.
bool is_plain_tag(std::string_view tag) {
    return tag.empty() || tag == "!" || tag.starts_with("tag:yaml.org,2002:");
}

} // namespace

struct YamlReader::Parser {
    struct Release {
        fy_parser *parser;
        void operator()(fy_event *event) const { fy_parser_event_free(parser, event); }
    };
    using Event = std::unique_ptr<fy_event, Release>;

    const SourceFile &file;
    TextStore &texts;
    Messages &messages;
    std::string_view bytes;
    std::unique_ptr<fy_diag, tool::Releaser<fy_diag_destroy>> diag;
    std::unique_ptr<fy_parser, tool::Releaser<fy_parser_destroy>> parser;
    std::unordered_map<std::string_view, uint32_t> anchors; // of the document being read
    std::vector<uint32_t> open;                             // nodes that have not ended yet
    uint32_t last_end = 0;                                  // of the last node with a place

    Parser(const SourceFile &source, TextStore &store, Messages &list)
        : file(source), texts(store), messages(list), bytes(readable(source, store, list)) {
        fy_diag_cfg collect;
        fy_diag_cfg_default(&collect);
        collect.fp = nullptr;
        diag.reset(fy_diag_create(&collect));
        if (diag == nullptr)
            throw std::bad_alloc();
        fy_diag_set_collect_errors(diag.get(), true);
        const fy_parse_cfg settings{"", FYPCF_QUIET, nullptr, diag.get()};
        parser.reset(fy_parser_create(&settings));
        if (parser == nullptr ||
            fy_parser_set_string(parser.get(), bytes.data(), bytes.size()) != 0)
            throw std::bad_alloc();
    }

    Place place_of(fy_event *event) {
        const fy_mark *begin = fy_event_start_mark(event);
        const fy_mark *end = fy_event_end_mark(event);
        if (begin == nullptr || end == nullptr)
            return {last_end, last_end};
        const auto limit = static_cast<uint32_t>(bytes.size());
        const auto first = std::min(static_cast<uint32_t>(begin->input_pos), limit);
        last_end = std::clamp(static_cast<uint32_t>(end->input_pos), first, limit);
        return {first, last_end};
    }

    // A text that stands in the file as it is needs no copy.
    std::string_view kept(std::string_view text, Place place) {
        const std::string_view there = bytes.substr(place.begin, place.end - place.begin);
        return there == text ? there : texts.keep(text);
    }

    void learn_tag(YamlNode &node, fy_event *event) {
        const std::string_view tag = text_of(fy_event_get_tag_token(event));
        if (tag == "!bytes" && node.kind == YamlKind::kScalar)
            node.of_bytes = true;
        else if (!is_plain_tag(tag))
            messages.fault(file, node.place,
                           "unknown tag '" + std::string{tag} + "', !bytes for texts is known");
    }

    void learn_anchor(YamlNode &node, uint32_t index, fy_event *event) {
        fy_token *token = fy_event_get_anchor_token(event);
        if (token == nullptr)
            return;
        node.anchored = true;
        anchors.insert_or_assign(texts.keep(text_of(token)), index);
    }

    void resolve(YamlNode &alias, const YamlDocument &document) {
        const std::string name{alias.text};
        const auto found = anchors.find(name);
        alias.kind = YamlKind::kBroken;
        if (found == anchors.end()) {
            messages.fault(file, alias.place, "no anchor '&" + name + "' stands before this alias");
        } else if (document[found->second].end == 0) {
            messages.fault(file, alias.place, "the alias lies inside the node that it names",
                           {{&file, document[found->second].place, "which begins here"}});
        } else {
            alias.kind = YamlKind::kAlias;
            alias.target = found->second;
        }
    }

    void add(YamlDocument &document, YamlKind kind, fy_event *event) {
        const auto index = static_cast<uint32_t>(document.nodes.size());
        YamlNode node{.kind = kind, .place = place_of(event)};
        if (kind == YamlKind::kScalar || kind == YamlKind::kAlias)
            node.text = kept(text_of(fy_event_get_token(event)), node.place);
        if (kind == YamlKind::kAlias) {
            resolve(node, document);
        } else {
            node.plain = kind == YamlKind::kScalar && is_plain(event);
            learn_tag(node, event);
            learn_anchor(node, index, event);
        }
        if (kind == YamlKind::kMapping || kind == YamlKind::kSequence)
            open.push_back(index);
        else
            node.end = index + 1;
        document.nodes.push_back(node);
    }

    // False at the end of the document.
    bool take(YamlDocument &document, fy_event *event) {
        switch (event->type) {
        case FYET_DOCUMENT_START:
            last_end = place_of(event).begin; // where a document of nothing is told of
            break;
        case FYET_SCALAR:
            add(document, YamlKind::kScalar, event);
            break;
        case FYET_ALIAS:
            add(document, YamlKind::kAlias, event);
            break;
        case FYET_MAPPING_START:
            add(document, YamlKind::kMapping, event);
            break;
        case FYET_SEQUENCE_START:
            add(document, YamlKind::kSequence, event);
            break;
        case FYET_MAPPING_END:
        case FYET_SEQUENCE_END:
            close(document);
            break;
        default:
            break;
        }
        return event->type != FYET_DOCUMENT_END;
    }

    static bool is_plain(fy_event *event) {
        fy_token *token = fy_event_get_token(event);
        return token == nullptr || fy_token_scalar_style(token) == FYSS_PLAIN;
    }

    void close(YamlDocument &document) {
        document.nodes[open.back()].end = static_cast<uint32_t>(document.nodes.size());
        open.pop_back();
    }

    // Called when the parser has stopped for good.
    void tell_syntax() {
        void *position = nullptr;
        bool can_be_released = true;
        while (const fy_diag_error *error = fy_diag_errors_iterate(diag.get(), &position)) {
            messages.fault(file, place_of(*error), error->msg);
            can_be_released &= strstr(error->msg, "tab for indentation of block entry") == nullptr;
        }
        if (position == nullptr)
            messages.fault(file, {last_end, last_end}, "cannot be read on from here");
        if (!can_be_released)
            keep_parser();
    }

    // Behind the ':' of a key, libfyaml 0.7.12 puts the key among those to be used again, and once
    // more when it refuses a tab there; released, the parser would free it twice.
    void keep_parser() {
        static auto *const kept_parsers = new std::vector<fy_parser *>;
        kept_parsers->push_back(parser.release());
    }

    [[nodiscard]] Place place_of(const fy_diag_error &error) const {
        const fy_mark *mark = error.fyt == nullptr ? nullptr : fy_token_start_mark(error.fyt);
        const auto limit = static_cast<uint32_t>(bytes.size());
        uint32_t begin = 0;
        if (mark != nullptr)
            begin = static_cast<uint32_t>(mark->input_pos);
        else if (error.line > 0)
            begin = file.start_of_line(static_cast<size_t>(error.line)) +
                    static_cast<uint32_t>(std::max(error.column - 1, 0));
        begin = std::min(begin, limit);
        return {begin, std::min(begin + 1, limit)};
    }
};

YamlReader::YamlReader(const SourceFile &file, TextStore &texts, Messages &messages)
    : parser_(std::make_unique<Parser>(file, texts, messages)) {}

YamlReader::~YamlReader() = default;

bool YamlReader::next(YamlDocument &document) {
    document = {};
    document.file = &parser_->file;
    parser_->anchors.clear();
    for (;;) {
        errno = 0;
        const Parser::Event event{fy_parser_parse(parser_->parser.get()), {parser_->parser.get()}};
        const bool goes_on = event != nullptr && parser_->take(document, event.get());
        if (errno == ENOMEM) // the parser goes on with less, or takes it for the end
            throw std::bad_alloc();
        if (goes_on)
            continue;
        if (event == nullptr && fy_parser_get_stream_error(parser_->parser.get()))
            parser_->tell_syntax();
        return event != nullptr;
    }
}

} // namespace compiler
