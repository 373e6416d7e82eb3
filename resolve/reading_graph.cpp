// Marks the graph from its ends backwards. All that is marked belongs to equal readings, so words
// are compared layer by layer, without listing the readings, of which there may be very many.
#include "resolve/reading_graph_internal.h"

#include <algorithm>
#include <utility>

namespace tsh {

ReadingGraph::ReadingGraph(const tsh_grammar_t &grammar, const LineParser &parser,
                           std::vector<End> ends)
    : grammar_(grammar), parser_(parser), ends_(std::move(ends)), states_(parser.state_count()),
      closures_(parser.closure_count()) {
    for (Index end = 0; end < ends_.size(); ++end)
        mark(ends_[end].from, {Target::Kind::kEnd, end});
    while (!pending_.empty()) {
        const Source source = pending_.back();
        pending_.pop_back();
        const Index index = source.index();
        if (source.is_closure())
            for (Index i = parser_.closure(index).first_link; i != kNone; i = parser_.link(i).next)
                mark(parser_.link(i).from, {Target::Kind::kClosure, index});
        else
            for (Index i = parser_.state(index).first_edge; i != kNone; i = parser_.edge(i).next)
                mark(parser_.edge(i).from, {Target::Kind::kState, index});
    }
}

void ReadingGraph::mark(Source source, Target target) {
    Target &known = (source.is_closure() ? closures_ : states_)[source.index()];
    if (known.kind != Target::Kind::kUnmarked)
        return;
    known = target;
    pending_.push_back(source);
}

// Visits the edges of marked states that a word leads to, until a visit returns false.
template <typename Visit> void ReadingGraph::for_each_step(size_t word, Visit visit) const {
    const Index first = parser_.first_state(word + 1);
    for (Index state = first; state < first + parser_.layer(word + 1).size(); ++state) {
        if (states_[state].kind == Target::Kind::kUnmarked)
            continue;
        for (Index i = parser_.state(state).first_edge; i != kNone; i = parser_.edge(i).next)
            if (!visit(Path::Step{state, i}))
                return;
    }
}

Spelling ReadingGraph::spelling_of(Path::Step step) const {
    const State &state = parser_.state(step.state);
    const NodeFacts &facts = grammar_.facts(state.node);
    const tree_node_t &node = grammar_.record(state.node);
    switch (const Kind kind = parser_.edge(step.edge).kind) {
    case Kind::kSlash:
        return {};
    case Kind::kFull:
    case Kind::kAbbreviated:
        return {Kind::kFull, facts.word, 0};
    case Kind::kJoined:
        return {kind, facts.word, node.params[0].type_mask};
    default:
        return {Kind::kValue, kNoWord, node.params[last_parameter(state.position)].type_mask};
    }
}

std::optional<size_t> ReadingGraph::ambiguous_word() const {
    for (size_t word = 0; word < parser_.words_read(); ++word) {
        std::optional<Spelling> first;
        bool is_ambiguous = false;
        for_each_step(word, [&](Path::Step step) {
            const Spelling spelling = spelling_of(step);
            is_ambiguous = first && *first != spelling;
            first = spelling;
            return !is_ambiguous;
        });
        if (is_ambiguous)
            return word;
    }
    return std::nullopt;
}

std::vector<Path::Step> ReadingGraph::spellings_of(size_t word) const {
    std::vector<Spelling> spellings;
    std::vector<Path::Step> steps;
    for_each_step(word, [&](Path::Step step) {
        const Spelling spelling = spelling_of(step);
        if (std::ranges::find(spellings, spelling) == spellings.end()) {
            spellings.push_back(spelling);
            steps.push_back(step);
        }
        return true;
    });
    return steps;
}

std::vector<NodeNumber> ReadingGraph::entered_by(size_t word) const {
    std::vector<NodeNumber> nodes;
    for_each_step(word, [&](Path::Step step) {
        const NodeNumber node = parser_.state(step.state).node;
        if (nodes.empty() || nodes.back() != node)
            nodes.push_back(node);
        return true;
    });
    return nodes;
}

// ---- Paths ----

// The first ways, from the source back to the start.
void ReadingGraph::trace_back(Source source, std::vector<Element> &elements) const {
    for (;;) {
        if (source.is_closure()) {
            elements.push_back({source, kNone});
            source = parser_.link(parser_.closure(source.index()).first_link).from;
            continue;
        }
        const Index edge = parser_.state(source.index()).first_edge;
        elements.push_back({source, edge});
        if (edge == kNone)
            break;
        source = parser_.edge(edge).from;
    }
    std::ranges::reverse(elements);
}

// What a source leads to. @return the end.
size_t ReadingGraph::trace_on(Source source, std::vector<Element> &elements) const {
    for (;;) {
        const Target target = target_of(source);
        if (target.kind == Target::Kind::kEnd)
            return target.index;
        if (target.kind == Target::Kind::kClosure) {
            source = Source::closure(target.index);
            elements.push_back({source, kNone});
            continue;
        }
        Index edge = parser_.state(target.index).first_edge;
        while (parser_.edge(edge).from != source)
            edge = parser_.edge(edge).next;
        source = Source::state(target.index);
        elements.push_back({source, edge});
    }
}

Path ReadingGraph::path_to(size_t end) const {
    std::vector<Element> elements;
    trace_back(ends_[end].from, elements);
    return path_of(elements, end);
}

Path ReadingGraph::path_through(Path::Step step) const {
    std::vector<Element> elements;
    trace_back(parser_.edge(step.edge).from, elements);
    elements.push_back({Source::state(step.state), step.edge});
    const size_t end = trace_on(Source::state(step.state), elements);
    return path_of(elements, end);
}

Path ReadingGraph::path_of(const std::vector<Element> &elements, size_t end) const {
    Path path;
    path.start = elements.front().source.index();
    path.end = end;
    const State &start = parser_.state(path.start);
    NodeNumber last = start.position == Position::kBefore ? kNone : start.node;
    const auto add = [&](NodeNumber node) {
        if (node != last)
            path.nodes.push_back(node);
        last = node;
    };
    for (const Element &element : elements) {
        const Index index = element.source.index();
        if (element.source.is_closure()) {
            add(parser_.closure(index).node);
        } else if (element.edge != kNone) {
            add(parser_.state(index).node);
            path.steps.push_back({index, element.edge});
        }
    }
    add(ends_[end].node);
    return path;
}

} // namespace tsh
