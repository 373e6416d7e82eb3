// Steps lead from a match back to the place that its candidate was seen from.
#include "tools/ocmd_find/trail.h"

#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace find {

namespace {

// Collects words from the last one to the first.
class TrailMaker {
public:
    TrailMaker(const Forest &forest, const TypedLine &line, const Resolution &resolution)
        : forest_(forest), line_(line), resolution_(resolution) {}

    Trail make(const Way &ending) {
        const Junction *junction = resolution_.end.get();
        Way way = ending;
        add_if_passed(*junction, way);
        for (size_t i = resolution_.steps.size(); i-- > 0;) {
            const Step &step = resolution_.steps[i];
            add_passed(*junction, way);
            const Place &place = junction->places()[way.from];
            junction = step.from.get();
            way = step.matches.empty() ? way_to_submode(step, place.node) : way_to(step, place);
        }
        add_passed(*junction, way);
        return {joined(command_), joined(typed_)};
    }

private:
    void add(const std::string &word) {
        if (!word.empty())
            command_.push_back(word);
    }

    // The line ends at a node whose word is left out, or that has none.
    void add_if_passed(const Junction &junction, const Way &way) {
        if (junction.places()[way.from].node != way.node)
            add(tool::word_of(forest_.node(way.node)));
    }

    void add_passed(const Junction &junction, const Way &way) {
        for (const NodeNumber number : junction.passed(way)) {
            const tree_node_t &node = forest_.node(number);
            if (tool::is_submode(node))
                command_.emplace_back("/");
            add(tool::word_of(node));
        }
    }

    Way way_to_submode(const Step &step, NodeNumber node) {
        const auto way = std::ranges::find(step.from->endings(), node, &Way::node);
        command_.emplace_back("/");
        typed_.emplace_back("/");
        add_if_passed(*step.from, *way);
        return *way;
    }

    Way way_to(const Step &step, const Place &place) {
        const auto match = std::ranges::find(step.matches, place, &Match::to);
        const Candidate &candidate = *match->candidate;
        const tree_node_t &node = forest_.node(place.node);
        typed_.push_back(typed_text(step, candidate, node, place.values > candidate.value));
        const Place &before = step.from->places()[candidate.way.from];
        if (before.is_entered || before.node != place.node) // else a further value of the node
            add(tool::word_of(node));
        return candidate.way;
    }

    // The words of a step, a keyword in full.
    [[nodiscard]] std::string typed_text(const Step &step, const Candidate &candidate,
                                         const tree_node_t &node, bool has_value) const {
        std::string text;
        if (step.takes_rest)
            text = line_.rest_from(step.word);
        else
            text = line_.words()[step.word].is_quoted ? '"' + line_.words()[step.word].text
                                                      : line_.words()[step.word].text;
        if (candidate.keyword.empty())
            return text;
        return node.token + (has_value ? text.substr(candidate.keyword.size()) : "");
    }

    static std::string joined(const std::vector<std::string> &words) {
        std::string text;
        for (size_t i = words.size(); i-- > 0;)
            (text += text.empty() ? "" : " ") += words[i];
        return text;
    }

    const Forest &forest_;
    const TypedLine &line_;
    const Resolution &resolution_;
    std::vector<std::string> command_;
    std::vector<std::string> typed_;
};

} // namespace

Trail trail_of(const Forest &forest, const TypedLine &line, const Resolution &resolution,
               const Way &ending) {
    return TrailMaker{forest, line, resolution}.make(ending);
}

std::string word_of(const Forest &forest, const Candidate &candidate) {
    const tree_node_t &node = forest.node(candidate.way.node);
    if (candidate.value == 0 && (!candidate.keyword.empty() || node.token[0] == '\0'))
        return tool::word_of(node);
    tree_node_t value = node;
    value.token[0] = '\0';
    value.params[0] = node.params[candidate.value];
    value.param_count = 1;
    return tool::word_of(value);
}

} // namespace find
