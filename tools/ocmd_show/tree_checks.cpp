// The checks of one record. Those of siblings look at each link once: for every symbol they keep
// the node in whose list it was met last.
#include "tools/ocmd_show/tree_checks.h"

#include "param_reg/values.h"
#include "tools/ocmd_show/ambiguity.h"
#include "tools/ocmd_show/line_graph.h"
#include "tools/support/command_lines.h"
#include "tools/support/grammar_fields.h"
#include "tools/support/types.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace show {

namespace {

using tool::CheckSeverity;
using tool::quoted;
using tool::TreeFile;
using tool::TreeRecord;

// Findings of a check and a record that are printed.
constexpr uint64_t kMostFindings = AmbiguitySearch::kMostLines;

class RecordChecks {
public:
    RecordChecks(const TreeFile &file, const TreeRecord &record,
                 const tool::CheckSeverities &severities)
        : file_(file), record_(record), severities_(severities), graph_(record.nodes),
          begins_with_root_(tool::begins_with_root(file, record)) {}

    // Returns the number of errors.
    uint64_t run() {
        find_parents();
        check_root();
        check_siblings();
        check_nodes();
        report_others();
        return errors_;
    }

private:
    // A symbol in the list of siblings that is being checked.
    struct Met {
        uint32_t in_list = 0; // the latest list that has it
        uint32_t child = 0;
        uint32_t longer_in = 0; // the latest list that has a longer keyword that begins with it
        uint32_t longer = 0;
    };

    // Breadth-first, so that witnesses are short.
    void find_parents() {
        parents_.assign(graph_.node_count(), kNoParent);
        reached_.reserve(graph_.node_count());
        reached_.push_back(0);
        for (size_t i = 0; i < reached_.size(); ++i)
            for (const uint16_t child : graph_.links().below(reached_[i]))
                if (child != 0 && parents_[child] == kNoParent) {
                    parents_[child] = reached_[i];
                    reached_.push_back(child);
                }
    }

    [[nodiscard]] bool is_reached(uint32_t node) const {
        return node == 0 || parents_[node] != kNoParent;
    }

    // ---- Reports ----

    [[nodiscard]] bool is_on(std::string_view check) const { return severities_.is_on(check); }

    // Reports a finding; the text is made only if it is printed.
    template <typename Text> void report(std::string_view check, const Text &text) {
        const bool is_error = severities_.of(check) == CheckSeverity::kError;
        errors_ += is_error ? 1 : 0;
        if (++findings_[check] > kMostFindings)
            return;
        tool::report("%s: %s%s [%s]", place().c_str(),
                     label(is_error ? tool::Severity::kError : tool::Severity::kWarning),
                     std::string{text()}.c_str(), std::string{check}.c_str());
    }

    void report_others() const {
        for (const auto &[check, count] : findings_)
            if (count > kMostFindings)
                tool::report("%s: %llu more findings not shown [%s]", place().c_str(),
                             static_cast<unsigned long long>(count - kMostFindings),
                             std::string{check}.c_str());
    }

    [[nodiscard]] std::string place() const {
        std::string text = file_.name();
        if (file_.container() == tool::Container::kSubtrees)
            text += ": record " + std::to_string(record_number());
        return text;
    }
    [[nodiscard]] size_t record_number() const {
        return static_cast<size_t>(&record_ - file_.records().data()) + 1;
    }

    [[nodiscard]] std::string named(uint32_t node) const {
        return "node " + std::to_string(node) + " " +
               tool::double_quoted(tool::text_of(graph_.node(node).name));
    }
    [[nodiscard]] std::string word(uint32_t node) const {
        std::string text{tool::text_of(graph_.node(node).token)};
        for (uint32_t i = text.empty() ? 0 : 1; i < graph_.facts(node).words; ++i)
            (text += text.empty() ? "" : " ") += graph_.text(graph_.symbol(node, i));
        return quoted(text);
    }

    // ---- Checks ----

    void check_root() {
        if (!is_on("second-root") || file_.container() == tool::Container::kMain ||
            begins_with_root_)
            return;
        for (const TreeRecord &other : file_.records().first(record_number() - 1))
            if (!tool::begins_with_root(file_, other))
                return report("second-root", [&] {
                    return "second root: like record " +
                           std::to_string(&other - file_.records().data() + 1) +
                           ", it has no attach path";
                });
    }

    void check_siblings() {
        AmbiguitySearch search{graph_, parents_, begins_with_root_};
        met_.assign(graph_.symbol_count(), {});
        for (const uint16_t parent : reached_)
            if (check_children(parent) && is_branch(parent))
                search.add(parent);
        if (!is_on("ambiguous"))
            return;
        const auto &findings = search.search();
        if (search.gave_up())
            report("ambiguous", [&] {
                return "too many similar or optional words; the search for ambiguous lines "
                       "stopped before its end";
            });
        for (const AmbiguitySearch::Finding &finding : findings)
            report("ambiguous", [&] {
                return quoted(finding.line) + " ends at " + named(finding.first) + " and " +
                       named(finding.second);
            });
    }

    // Returns whether a line can go on in several ways that are spelled alike, or may leave out
    // words.
    bool check_children(uint32_t parent) {
        bool branches = false;
        const uint32_t list = parent + 1;
        for (const uint16_t child : graph_.links().below(parent)) {
            const LineGraph::Facts &facts = graph_.facts(child);
            branches = branches || facts.is_passable;
            if (facts.first == kNoSymbol)
                continue;
            Met &met = met_[facts.first];
            if (met.in_list == list && met.child != child) {
                branches = true;
                report_same_word(met.child, child);
            } else {
                met.in_list = list;
                met.child = child;
            }
            if (has_shadowed_ && graph_.is_keyword(facts.first))
                check_shadow(list, child, facts.first);
        }
        return branches;
    }

    void report_same_word(uint32_t first, uint32_t second) {
        const Symbol symbol = graph_.facts(first).first;
        if (has_same_word_ &&
            (graph_.is_keyword(symbol) || tsh_mask_may_repeat(nullptr, graph_.mask(symbol)) == 0))
            report("same-word", [&] {
                return named(second) + " and its sibling " + named(first) +
                       " match the same word " + quoted(graph_.text(symbol));
            });
    }

    void check_shadow(uint32_t list, uint32_t child, Symbol keyword) {
        const Met &met = met_[keyword];
        if (met.longer_in == list && met.longer != child)
            report("shadowed", [&] {
                return named(child) + ": " + word(child) + " is shadowed by its sibling " +
                       word(met.longer) + " in the shell's first-match lookup";
            });
        for (Symbol prefix = graph_.prefix(keyword); prefix != kNoSymbol;
             prefix = graph_.prefix(prefix)) {
            met_[prefix].longer_in = list;
            met_[prefix].longer = child;
        }
    }

    // Whether a word, a submode or the beginning of the line comes before the children.
    [[nodiscard]] bool is_branch(uint32_t node) const {
        const LineGraph::Facts &facts = graph_.facts(node);
        return facts.words > 0 || facts.is_submode || (node == 0 && !begins_with_root_);
    }

    void check_nodes() {
        const bool finds_dead_ends =
            is_on("dead-end") && file_.container() == tool::Container::kMain;
        const bool finds_unreachable = is_on("unreachable");
        const bool finds_bounds = is_on("bounds");
        const bool finds_help = is_on("no-help");
        const bool finds_functions = is_on("no-function");
        for (uint32_t node = 0; node < graph_.node_count(); ++node) {
            const LineGraph::Facts &facts = graph_.facts(node);
            if (finds_unreachable && !is_reached(node))
                report("unreachable",
                       [&] { return named(node) + " is unreachable from the root"; });
            if (finds_dead_ends && !facts.ends_line && graph_.links().below(node).empty())
                check_dead_end(node);
            if (finds_bounds && (facts.words > 1 || !begins_with_keyword(facts)))
                check_bounds(node);
            if (finds_help && facts.words > 0 && graph_.node(node).help[0] == '\0')
                report("no-help",
                       [&] { return named(node) + ": " + word(node) + " has no help text"; });
            if (finds_functions && (graph_.node(node).flags & TREE_FLAG_TERMINAL) != 0 &&
                graph_.node(node).func_id[0] == '\0')
                report("no-function",
                       [&] { return named(node) + ": a command without a function ends here"; });
        }
    }

    [[nodiscard]] bool begins_with_keyword(const LineGraph::Facts &facts) const {
        return facts.words > 0 && graph_.is_keyword(facts.first);
    }

    void check_dead_end(uint32_t node) {
        const auto is_redirect_root = [&](uint32_t other) {
            return tool::text_of(graph_.node(other).name) == tool::kRedirectRoot;
        };
        if (node != 0 && is_reached(node) && !is_redirect_root(node) &&
            !is_redirect_root(parents_[node]))
            report("dead-end", [&] {
                return named(node) + ": no command ends at " + word(node) + " or at a descendant";
            });
    }

    void check_bounds(uint32_t node) {
        for (const parameter_info_t &parameter : tool::params_of(graph_.node(node))) {
            if (parameter.int_min == parameter.int_max ||
                (tsh_mask_bounds(nullptr, parameter.type_mask) & TSH_BOUNDS_NUMBERS) == 0)
                continue;
            const int64_t min = tsh_mask_bound(nullptr, parameter.type_mask, parameter.int_min);
            const int64_t max = tsh_mask_bound(nullptr, parameter.type_mask, parameter.int_max);
            if (min > max)
                report("bounds", [&] {
                    return named(node) + ": minimum " + std::to_string(min) + " of <" +
                           tool::types_text(parameter.type_mask) + "> exceeds its maximum " +
                           std::to_string(max);
                });
        }
    }

    const TreeFile &file_;
    const TreeRecord &record_;
    const tool::CheckSeverities &severities_;
    const LineGraph graph_;
    bool begins_with_root_;
    const bool has_same_word_ = is_on("same-word");
    const bool has_shadowed_ = is_on("shadowed");
    std::vector<uint32_t> parents_;
    std::vector<uint16_t> reached_;
    std::vector<Met> met_; // by symbol
    std::map<std::string_view, uint64_t> findings_;
    uint64_t errors_ = 0;
};

} // namespace

uint32_t check_trees(const TreeFile &file, const tool::CheckSeverities &severities) {
    uint64_t errors = 0;
    if (severities.are_all_off())
        return 0;
    for (const TreeRecord &record : file.records())
        errors += RecordChecks{file, record, severities}.run();
    return static_cast<uint32_t>(std::min<uint64_t>(errors, UINT32_MAX));
}

} // namespace show
