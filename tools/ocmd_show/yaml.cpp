// Grammars of trees, in the form of doc/grammar.md. Words are in the order in which the compiler
// numbers nodes; a shared one is at its first link. Nothing recurses. Below some level braces
// replace indentation, which would grow with the square of the depth.
#include "base/bit_array.h"
#include "parse_tree/tree_writer.h"
#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/strays.h"
#include "tools/ocmd_show/subtree_copy.h"
#include "tools/ocmd_show/yaml_entries.h"
#include "tools/support/grammar_fields.h"
#include "tools/support/record_tables.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"
#include "tools/support/yaml_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace show {

namespace {

using tool::Container;
using tool::Nodes;
using tool::TextOutput;
using tool::TreeFile;
using tool::TreeRecord;
using tool::yaml_value;
using tool::yaml_word;

constexpr size_t kBlockLevels = 16; // of words that are written by indentation
constexpr uint32_t kLevelsOfDocument = 1;
constexpr size_t kLineWidth = 100; // for words in one line

std::string_view name_of(const tree_node_t &node) {
    return tool::text_of(node.name);
}

std::string parameters_of(const tree_node_t &node) {
    if (node.param_count == 0)
        return node.token[0] == '\0' ? "<>" : "";
    std::string text;
    for (const parameter_info_t &parameter : tool::params_of(node))
        text += (text.empty() ? "<" : " <") + tool::types_text(parameter.type_mask) + ">";
    return text;
}

std::string key_of(const tree_node_t &node) {
    return yaml_word(tool::text_of(node.token), parameters_of(node));
}

// The key as the compiler compares it.
std::string plain_key_of(const tree_node_t &node) {
    return tool::word_key(tool::text_of(node.token), tool::type_masks_of(node));
}

// ---- Data that a grammar cannot express ----

// Reports the first of them, and the number of the others.
class Losses {
public:
    Losses(const TreeFile &file, TextOutput &output) : file_(file), output_(output) {}
    ~Losses() = default;
    Losses(const Losses &) = delete;
    Losses &operator=(const Losses &) = delete;

    void begin_record(size_t number) { record_ = number; }

    [[gnu::format(printf, 2, 3)]] void tell(const char *format, ...) {
        constexpr uint32_t kMostTold = 20;
        if (++count_ > kMostTold)
            return;
        std::array<char, 512> what;
        va_list values;
        va_start(values, format);
        vsnprintf(what.data(), what.size(), format, values);
        va_end(values);
        output_.flush();
        if (file_.container() == Container::kMain)
            tool::report("%s: cannot be expressed in a grammar: %s", file_.name().c_str(),
                         what.data());
        else
            tool::report("%s: record %zu: cannot be expressed in a grammar: %s",
                         file_.name().c_str(), record_, what.data());
        told_ = count_;
    }

    tool::Status finish() {
        if (count_ > told_)
            tool::report("%s: %u more items cannot be expressed in a grammar", file_.name().c_str(),
                         count_ - told_);
        return count_ == 0 ? tool::kDone : tool::kNegative;
    }

private:
    const TreeFile &file_;
    TextOutput &output_;
    size_t record_ = 0;
    uint32_t count_ = 0;
    uint32_t told_ = 0;
};

bool lacks_implied_kinds(std::span<const tsh_field_t> fields, const void *record) {
    return std::ranges::any_of(fields, [&](const tsh_field_t &field) {
        const uint64_t kinds = tsh_field_number(&field, record);
        return (field.traits & TSH_FIELD_INTERFACES) != 0 && (kinds & TREE_INTF_ANY) != 0 &&
               (kinds & TREE_INTF_IMPLIED) != TREE_INTF_IMPLIED;
    });
}

void tell_losses(const tree_node_t &node, uint32_t index, Losses &losses) {
    const std::string name = yaml_value(name_of(node));
    for (const std::string &stray : strays_of(node))
        losses.tell("node %u %s: %s", index, name.c_str(), stray.c_str());
    bool lacking = lacks_implied_kinds(tool::node_record_fields(), &node);
    for (const parameter_info_t &parameter : tool::params_of(node))
        lacking |= lacks_implied_kinds(tool::parameter_record_fields(), &parameter);
    if (lacking)
        losses.tell("node %u %s: interface kind 0 without 18 and 19", index, name.c_str());
}

// Returns the levels of collections in a value as it is written.
uint32_t levels_in(std::string_view value) {
    uint32_t deepest = 0;
    uint32_t levels = 0;
    char quote = '\0';
    for (size_t i = 0; i < value.size(); ++i) {
        if (quote != '\0') {
            i += quote == '"' && value[i] == '\\' ? 1 : 0;
            quote = i < value.size() && value[i] == quote ? '\0' : quote;
        } else if (value[i] == '"' || value[i] == '\'') {
            quote = value[i];
        } else if (value[i] == '[' || value[i] == '{') {
            deepest = std::max(deepest, ++levels);
        } else if (value[i] == ']' || value[i] == '}') {
            --levels;
        }
    }
    return deepest;
}

// ---- Documents ----

bool is_marked(const tree_node_t &node, size_t link) {
    return base::is_in_set(node.child_link_bits, link);
}

// Nodes that are reachable from the root.
struct Reach {
    std::vector<uint16_t> nodes;
    std::vector<bool> shared; // by more than one link

    explicit Reach(const tool::LinkTable &links)
        : nodes(tool::children_first(links)), shared(links.node_count()) {
        std::vector<bool> linked(links.node_count());
        for (const uint16_t node : nodes)
            for (const uint16_t child : links.below(node)) {
                shared[child] = shared[child] || linked[child];
                linked[child] = true;
            }
    }
};

// Returns whether the node and its child are, to the byte, those that the compiler adds to a root.
bool is_usual_redirect_root(Nodes nodes, const Reach &reach, uint16_t index) {
    const std::vector<bool> &shared = reach.shared;
    if (index + size_t{2} != nodes.size() || shared[index] || shared[index + size_t{1}])
        return false;
    std::unordered_set<std::string_view> taken;
    for (const uint16_t node : reach.nodes)
        if (node < index)
            taken.insert(name_of(nodes[node]));
    const std::string inner_name = tool::name_below_redirect_root(taken);
    tree_node_t redirect{};
    tool::kRedirectRoot.copy(redirect.name, tool::kRedirectRoot.size());
    redirect.child_count = 1;
    redirect.children[0] = static_cast<uint16_t>(index + 1);
    tree_node_t inner{};
    inner_name.copy(inner.name, inner_name.size());
    return memcmp(&redirect, &nodes[index], sizeof redirect) == 0 &&
           memcmp(&inner, &nodes[index + size_t{1}], sizeof inner) == 0;
}

class DocumentWriter {
public:
    DocumentWriter(const TreeRecord &record, TextOutput &output, Losses &losses)
        : record_(record), nodes_(record.nodes), output_(output), losses_(losses),
          written_(record.nodes.size()), reach_(tool::LinkTable{record.nodes}) {}

    // A root is a node without a word and without attach points.
    void write(bool main) {
        if (!main && nodes_.size() > TREE_WRITER_MAX_NODES)
            losses_.tell("%zu nodes; one record has up to %d", nodes_.size(),
                         TREE_WRITER_MAX_NODES);
        const tree_node_t &top = nodes_[0];
        is_root_ = record_.attach_path.empty() && top.token[0] == '\0' && top.param_count == 0;
        Entries entries;
        if (!is_root_)
            entries.emplace_back("below", attach_points());
        if (!main && record_.version != kUsualVersion)
            entries.emplace_back("version", std::to_string(record_.version));
        if (!main && record_.path_kind != kUsualPathKind)
            entries.emplace_back("path_kind", std::to_string(record_.path_kind));
        if (is_root_)
            write_root(entries);
        else
            write_subtree(entries);
        while (!open_.empty())
            go_on();
        report_order();
    }

private:
    // A list of words of which some are not written yet.
    struct Open {
        uint16_t node;
        uint16_t next;
        uint16_t end;
        bool in_braces;
        bool as_list;
        uint32_t indent;     // of its words
        uint32_t levels;     // of YAML around each of its words
        const char *closing; // what stands behind its last word
    };

    [[nodiscard]] std::string attach_points() const {
        const std::string &path = record_.attach_path;
        std::string list;
        std::string_view rest = path;
        for (size_t comma = 0; comma != std::string_view::npos;) {
            comma = rest.find(',');
            const std::string_view name = rest.substr(0, comma);
            if (name.empty() || name.size() >= TREE_NAME_SIZE)
                return yaml_value(path); // taken as it stands
            list += (list.empty() ? "[" : ", ") + yaml_value(name);
            rest.remove_prefix(std::min(name.size() + 1, rest.size()));
        }
        return path.find(',') == std::string::npos ? yaml_value(path) : list + "]";
    }

    void write_root(Entries &entries) {
        const tree_node_t &root = nodes_[0];
        const auto links = tool::links_of(root);
        note(0);
        const Entries own = entries_of(root);
        if (name_of(root) != "root")
            add_entry(entries, "name", yaml_value(name_of(root)));
        entries.insert(entries.end(), own.begin(), own.end());
        add_marks(entries, root);
        auto end = static_cast<uint16_t>(links.size());
        const auto named = std::ranges::count(reach_.nodes, tool::kRedirectRoot,
                                              [&](uint16_t node) { return name_of(nodes_[node]); });
        if (named == 0)
            entries.emplace_back("redirect_root", "no");
        else if (named == 1 && end > 1 && !is_marked(root, end - 1U) &&
                 is_usual_redirect_root(nodes_, reach_, links.back()))
            written_[links[--end]] = written_[nodes_.size() - 1] = true;
        write_lines(entries, 0);
        if (end > 0)
            open_words(0, end, 0, kLevelsOfDocument, false, "");
        else if (entries.empty())
            output_ << "{}\n";
    }

    void write_subtree(const Entries &entries) {
        write_lines(entries, 0);
        const std::string_view first_point =
            std::string_view{record_.attach_path}.substr(0, record_.attach_path.find(','));
        output_ << "words:\n";
        write_word(0, first_point, Open{0, 0, 0, false, false, 2, kLevelsOfDocument + 1, ""});
    }

    void go_on() {
        Open &list = open_.back();
        if (list.next == list.end) {
            output_ << list.closing;
            open_.pop_back();
            return;
        }
        if (list.in_braces)
            output_ << (list.next == 0 ? "\n" : ",\n");
        const uint16_t child = nodes_[list.node].children[list.next++];
        const bool below_root = list.node == 0 && is_root_;
        write_word(child, below_root ? std::string_view{} : name_of(nodes_[list.node]), list);
    }

    // A word with its value. The words below it are written later.
    void write_word(uint16_t index, std::string_view parent_name, const Open list) {
        const tree_node_t &node = nodes_[index];
        const bool item_in_braces = list.in_braces && list.as_list;
        output_.blanks(list.indent - (list.as_list && !list.in_braces ? 2 : 0));
        output_ << (!list.as_list ? "" : list.in_braces ? "{" : "- ") << key_of(node) << ':';
        const char *ending = item_in_braces ? "}" : list.in_braces ? "" : "\n";
        if (written_[index]) {
            output_ << " *" << anchor_of(index) << ending;
            return;
        }
        note(index);
        if (reach_.shared[index])
            output_ << " &" << anchor_of(index);
        Entries entries;
        const Entries own = entries_of(node);
        if (name_of(node) !=
            tool::made_name(parent_name, tool::text_of(node.token), tool::type_masks_of(node)))
            entries.emplace_back("name",
                                 name_of(node).empty() ? "\"\"" : yaml_value(name_of(node)));
        entries.insert(entries.end(), own.begin(), own.end());
        add_marks(entries, node);
        report_depth(index, entries, list.levels);
        if (node.child_count == 0)
            write_leaf(key_of(node), entries, list, ending);
        else if (list.in_braces || open_.size() >= kBlockLevels)
            write_in_braces(index, entries, list);
        else
            write_block(index, entries, list);
    }

    void write_leaf(const std::string &key, const Entries &entries, const Open &list,
                    const char *ending) {
        if (entries.size() == 1 && entries[0].first == "command") {
            output_ << ' ' << entries[0].second << ending;
            return;
        }
        const std::string line = in_braces(entries);
        if (list.in_braces || list.indent + key.size() + line.size() < kLineWidth) {
            output_ << ' ' << line << ending;
        } else {
            output_ << '\n';
            write_lines(entries, list.indent + 2);
        }
    }

    void write_block(uint16_t index, const Entries &entries, const Open &list) {
        output_ << '\n';
        write_lines(entries, list.indent + 2);
        open_words(index, nodes_[index].child_count, list.indent + 2, list.levels + 1, false, "");
    }

    void write_in_braces(uint16_t index, const Entries &entries, const Open &list) {
        const bool as_list = must_be_list(index, nodes_[index].child_count);
        output_ << " {";
        for (const auto &[key, value] : entries)
            output_ << key << ": " << value << ", ";
        const bool item = list.in_braces && list.as_list;
        const char *closing = nullptr;
        if (!list.in_braces)
            closing = as_list ? "]}\n" : "}}\n";
        else if (as_list)
            closing = item ? "]}}" : "]}";
        else
            closing = item ? "}}}" : "}}";
        open_words(index, nodes_[index].child_count, list.indent + (list.in_braces ? 0 : 2),
                   list.levels + 1, true, closing);
    }

    void write_lines(const Entries &entries, uint32_t indent) {
        for (const auto &[key, value] : entries)
            output_.blanks(indent) << key << ": " << value << '\n';
    }

    void open_words(uint16_t index, uint16_t end, uint32_t indent, uint32_t levels_around,
                    bool in_braces, const char *closing) {
        const bool as_list = must_be_list(index, end);
        const uint32_t levels = levels_around + (as_list ? 2 : 1); // a list has a mapping in it
        if (in_braces)
            output_ << "words: " << (as_list ? '[' : '{');
        else
            output_.blanks(indent) << "words:\n";
        open_.push_back(
            {index, 0, end, in_braces, as_list, indent + (in_braces ? 0 : 2), levels, closing});
    }

    // Keys of a mapping are unique.
    [[nodiscard]] bool must_be_list(uint16_t index, uint16_t end) const {
        std::set<std::string> keys;
        return !std::ranges::all_of(tool::links_of(nodes_[index]).first(end), [&](uint16_t child) {
            return keys.insert(key_of(nodes_[child])).second;
        });
    }

    // Marked links by the words to which they lead, or by names if words have the same spelling.
    void add_marks(Entries &entries, const tree_node_t &node) {
        if (std::ranges::count(node.child_link_bits, 0) == std::ssize(node.child_link_bits))
            return; // the usual case
        const auto links = tool::links_of(node);
        std::map<std::string, uint32_t> words;
        std::map<std::string_view, uint32_t> names;
        for (const uint16_t child : links) {
            ++words[plain_key_of(nodes_[child])];
            ++names[name_of(nodes_[child])];
        }
        std::string list;
        for (size_t i = 0; i < links.size(); ++i) {
            if (!is_marked(node, i))
                continue;
            const tree_node_t &child = nodes_[links[i]];
            const std::string_view name = name_of(child);
            const bool by_word = words[plain_key_of(child)] == 1;
            const bool by_name = names[name] == 1 && !words.contains(std::string{name}) &&
                                 !name.empty() && tool::is_utf8(name);
            if (by_word || by_name)
                list += (list.empty() ? "[" : ", ") + (by_word ? key_of(child) : yaml_value(name));
            else
                losses_.tell(
                    "node %td: a marked link to one of several words with the same spelling",
                    &node - nodes_.data());
        }
        if (!list.empty())
            add_entry(entries, "marked", list + "]");
    }

    // Derived from the node's name, to be readable.
    const std::string &anchor_of(uint16_t index) {
        std::string &anchor = anchors_[index];
        if (!anchor.empty())
            return anchor;
        for (const char c : name_of(nodes_[index]))
            if (isalnum(static_cast<unsigned char>(c)) != 0 || c == '-')
                anchor += c;
            else if (!anchor.empty() && anchor.back() != '_')
                anchor += '_';
        if (!anchor.empty() && anchor.back() == '_')
            anchor.pop_back();
        while (anchor.empty() || !taken_anchors_.insert(anchor).second)
            anchor += '_' + std::to_string(index);
        return anchor;
    }

    // Records that a node is written.
    void note(uint16_t index) {
        written_[index] = true;
        tell_losses(nodes_[index], index, losses_);
        if (index != next_in_order_ && first_out_of_order_ == UINT32_MAX)
            first_out_of_order_ = index;
        ++next_in_order_;
    }

    // Reports the first word that lies too deep for the compiler.
    void report_depth(uint16_t index, const Entries &entries, uint32_t levels) {
        const bool has_words = nodes_[index].child_count > 0;
        const bool is_text = entries.size() == 1 && entries[0].first == "command";
        if (has_words || (!is_text && !entries.empty()))
            ++levels;
        uint32_t deepest = has_words ? 1 : 0;
        for (const auto &[key, value] : entries)
            deepest = std::max(deepest, levels_in(value));
        if (too_deep_ || levels + deepest <= tool::kMostYamlLevels)
            return;
        too_deep_ = true;
        losses_.tell("node %u %s: more than %zu levels of YAML", index,
                     yaml_value(name_of(nodes_[index])).c_str(), tool::kMostYamlLevels);
    }

    void report_order() {
        const auto lost = std::ranges::count(written_, false);
        const auto first =
            static_cast<uint32_t>(std::ranges::find(written_, false) - written_.begin());
        if (lost > 0)
            losses_.tell("%td unreachable node%s, first: node %u %s", lost, lost == 1 ? "" : "s",
                         first, yaml_value(name_of(nodes_[first])).c_str());
        else if (first_out_of_order_ != UINT32_MAX)
            losses_.tell("the order of the nodes: node %u is not in the order of the compiler",
                         first_out_of_order_);
    }

    const TreeRecord &record_;
    Nodes nodes_;
    TextOutput &output_;
    Losses &losses_;
    bool is_root_ = false;
    std::vector<bool> written_;
    Reach reach_;
    std::vector<Open> open_;
    std::unordered_map<uint16_t, std::string> anchors_;
    std::set<std::string> taken_anchors_;
    uint32_t next_in_order_ = 0;
    uint32_t first_out_of_order_ = UINT32_MAX;
    bool too_deep_ = false;
};

} // namespace

tool::Status show_yaml(const TreeFile &file, const Request &request, TextOutput &output) {
    Losses losses{file, output};
    size_t number = 0;
    const auto write = [&](const TreeRecord &record, bool main) {
        if (request.records_before + number > 0)
            output << "---\n";
        losses.begin_record(++number);
        DocumentWriter{record, output, losses}.write(main);
    };
    if (!request.below) {
        for (const TreeRecord &record : file.records())
            write(record, file.container() == Container::kMain);
        return losses.finish();
    }
    for (const LineSearch &match : search(file, *request.below))
        for (const uint16_t found : match.found())
            write(SubtreeCopy{match, found}.record(), false);
    return number == 0 ? tool::kNegative : losses.finish();
}

} // namespace show
