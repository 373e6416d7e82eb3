// Verdict, readings, candidates and text of an answer.
#include "resolve/answer_maker_internal.h"

#include "base/escape.h"
#include "cmd_gen/word_internal.h"
#include "feature/tsh/src/str_list.h"
#include "resolve/reading_graph_internal.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

namespace tsh {

namespace {

std::string quoted(std::string_view text) {
    std::string result{"'"};
    return result.append(base::escaped(text)).append("'");
}

bool begins_with(std::string_view text, std::string_view beginning) {
    return text.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), text.begin(),
                      [](char a, char b) { return in_lower_case(a) == in_lower_case(b); });
}

} // namespace

void AnswerMaker::resolve(std::string_view line) {
    answer_.clear();
    words_.split(line);
    if (words_.fault().reason != TSH_REASON_NONE)
        answer_unsplit(words_.fault());
    else if (words_.size() > 0)
        answer(words_.size());
    else if (const size_t quote = line.find('"'); quote != std::string_view::npos)
        answer_lone_quote(quote);
    answer_.context = &context_;
    answer_.context_version = context_.version;
}

void AnswerMaker::answer_unsplit(const SplitFault &fault) {
    answer_.verdict = TSH_REFUSED;
    answer_.reason = fault.reason;
    answer_.range = fault.range;
    tell(fault.reason == TSH_REASON_ZERO_BYTE
             ? "NUL byte"
             : "more than " + std::to_string(STR_LIST_MAX_WORDS) + " words");
}

// A quote that ends the line is no word, but a line of nothing else is not empty.
void AnswerMaker::answer_lone_quote(size_t at) {
    parser_.parse(context_, words_, 0, options_);
    answer_.verdict = TSH_REFUSED;
    answer_.reason = TSH_REASON_UNKNOWN;
    answer_.range = {at, at + 1};
    add_candidates(answer_.next_words.after(parser_, context_.hidden, false));
    tell("unknown word '\"'; the quote is not closed");
}

void AnswerMaker::answer(size_t word_count) {
    StateSets &sets = answer_.sets;
    const StateSets::Result result = word_count == words_.size()
                                         ? sets.read(context_, words_, options_)
                                         : StateSets::Result::kUndecided;
    if (result == StateSets::Result::kAccepted && is_brief() && sets.is_simple()) {
        answer_simple(sets);
        return;
    }
    if (result == StateSets::Result::kAccepted) {
        sets.hand_to(parser_, words_);
        answer_read_line();
        return;
    }
    if (result == StateSets::Result::kAmbiguous && is_brief()) {
        const LineWord &word = words_[sets.ambiguous_word()];
        answer_.verdict = TSH_AMBIGUOUS;
        answer_.range = {word.begin, word.end};
        return;
    }
    parser_.parse(context_, words_, word_count, options_);
    if (parser_.words_read() == word_count)
        answer_read_line();
    else
        answer_refused();
}

void AnswerMaker::answer_read_line() {
    const std::vector<Ending> &endings = parser_.endings();
    std::vector<End> ends;
    ends.reserve(endings.size());
    for (const Ending &ending : endings)
        ends.push_back({ending.node, ending.from});
    if (endings.empty())
        for (const Index index : parser_.last_states())
            if (parser_.state(index).rank == 0)
                ends.push_back({parser_.state(index).node, Source::state(index)});
    const ReadingGraph graph{grammar_, parser_, std::move(ends)};
    if (const std::optional<size_t> word = graph.ambiguous_word()) {
        answer_ambiguous(graph, *word);
    } else if (endings.empty()) {
        answer_incomplete(graph);
    } else if (std::ranges::all_of(endings, &Ending::leaves_out) ||
               std::ranges::none_of(endings, &Ending::leaves_out)) {
        answer_accepted(graph);
    } else {
        std::vector<End> best;
        for (const Ending &ending : endings)
            if (!ending.leaves_out)
                best.push_back({ending.node, ending.from});
        answer_accepted(ReadingGraph{grammar_, parser_, std::move(best)});
    }
}

// ---- Verdicts ----

void AnswerMaker::answer_accepted(const ReadingGraph &graph) {
    answer_.verdict = TSH_ACCEPTED;
    const size_t end = words_.end();
    answer_.range = {end, end};
    std::vector<NodeNumber> known;
    for (size_t i = 0; i < graph.ends().size(); ++i) {
        const NodeNumber node = graph.ends()[i].node;
        if (std::ranges::find(known, node) != known.end())
            continue;
        known.push_back(node);
        const Path path = graph.path_to(i);
        add_reading(path, whole(graph, path, true), answer_.store);
    }
    answer_.levels_left = parser_.state(graph.path_to(0).start).rank;
    enter_submodes(graph);
}

// What answer_accepted would make of a line whose ends are the nodes of its last word.
void AnswerMaker::answer_simple(const StateSets &sets) {
    answer_.verdict = TSH_ACCEPTED;
    answer_.range = {words_.end(), words_.end()};
    answer_.levels_left = sets.levels_left();
    Submode submode;
    for (const NodeNumber node : sets.ends()) {
        const tree_node_t *command = &grammar_.record(node);
        const bool is_submode = grammar_.facts(node).is_submode;
        answer_.store.readings.push_back(
            {command, command, is_submode ? 1 : 0, 0, nullptr, 0, nullptr});
        if (!is_submode || context_.is_single_mode)
            continue;
        if (submode.entry == nullptr) {
            const auto entry = std::make_shared<ReadingStore>();
            entry->readings.push_back(answer_.store.readings.back());
            submode.entry = entry;
        }
        submode.nodes.push_back(node);
    }
    if (submode.entry != nullptr)
        answer_.entered.push_back(std::move(submode));
}

void AnswerMaker::answer_incomplete(const ReadingGraph &graph) {
    answer_.verdict = TSH_INCOMPLETE;
    const size_t end = words_.line().size();
    answer_.range = {end, end};
    for (size_t i = 0; i < graph.ends().size(); ++i) {
        const Path path = graph.path_to(i);
        add_reading(path, whole(graph, path, false), answer_.store);
    }
    tell("incomplete command" + run_together_note(words_.size()));
    add_candidates(answer_.next_words.after(parser_, context_.hidden, false));
}

void AnswerMaker::answer_ambiguous(const ReadingGraph &graph, size_t word) {
    answer_.verdict = TSH_AMBIGUOUS;
    answer_.range = {words_[word].begin, words_[word].end};
    std::string text = "ambiguous word " + quoted(words_[word].text) + ": ";
    const bool is_complete = !parser_.endings().empty();
    for (const Path::Step step : graph.spellings_of(word)) {
        const Path path = graph.path_through(step);
        add_reading(path, whole(graph, path, is_complete), answer_.store);
        const State &state = parser_.state(step.state);
        const Kind kind = parser_.edge(step.edge).kind;
        const bool is_keyword = kind == Kind::kFull || kind == Kind::kAbbreviated;
        add_candidate({state.node, is_keyword || kind == Kind::kJoined || kind == Kind::kSlash
                                       ? -1
                                       : static_cast<int32_t>(last_parameter(state.position))});
        if (text.back() != ' ')
            text += ", ";
        text += answer_.candidates.back().text;
    }
    tell(text);
    find_common();
}

void AnswerMaker::answer_refused() {
    const size_t word = parser_.words_read();
    const LineWord &refused = words_[word];
    const RefusedValue value = parser_.refused_value();
    answer_.verdict = TSH_REFUSED;
    answer_.range = {refused.begin, refused.end};
    if (value.exists) {
        const size_t begin = value.takes_rest ? refused.begin_with_quote() : refused.begin;
        const size_t length =
            value.keyword_length +
            parser_.value_text(word, value.keyword_length, value.takes_rest).size();
        // The splitter may have added a space to the text.
        answer_.range = {begin, std::min(begin + length, words_.line().size())};
    }
    const std::vector<NextWord> &next = answer_.next_words.after(parser_, context_.hidden, false);
    add_candidates(next);
    answer_.reason = value.exists ? TSH_REASON_VALUE : reason_of_refusal(word, next);
    const bool is_line = value.exists && value.takes_rest; // quotes are part of it
    tell(refusal_text(word, value) + run_together_note(is_line ? word : word + 1));
}

// ---- Why a word was refused ----

tsh_reason_t AnswerMaker::reason_of_refusal(size_t word, const std::vector<NextWord> &next) {
    const bool is_surplus = next.empty();
    if ((options_ & TSH_SAVED_LINE) == 0 && !context_.is_single_mode && lies_in_submode(word))
        return TSH_REASON_SUBMODE;
    if ((options_ & TSH_REPORT_HIDDEN) != 0 && is_hidden(word))
        return TSH_REASON_HIDDEN;
    return is_surplus ? TSH_REASON_SURPLUS : TSH_REASON_UNKNOWN;
}

// Whether a submode at which the line could have ended before the word has the word.
bool AnswerMaker::lies_in_submode(size_t word) {
    tsh_context_t inside{&grammar_};
    inside.hidden = context_.hidden;
    inside.submodes.emplace_back();
    for (const Index index : parser_.last_states()) {
        const State &state = parser_.state(index);
        const NodeFacts &facts = grammar_.facts(state.node);
        if (facts.is_submode && state.position != Position::kEntered &&
            state.position != Position::kBefore && values_read(state.position) == facts.param_count)
            inside.submodes.back().nodes.push_back(state.node);
    }
    if (inside.submodes.back().nodes.empty())
        return false;
    const LineWord &refused = words_[word];
    LineWords rest;
    rest.split(words_.line().substr(refused.begin_with_quote()));
    parser_.parse(inside, rest, std::min<size_t>(rest.size(), 1), options_ & TSH_ANY_VALUE);
    return parser_.words_read() > 0;
}

bool AnswerMaker::is_hidden(size_t word) {
    if (context_.hidden.empty())
        return false;
    tsh_context_t all{&grammar_};
    all.submodes = context_.submodes;
    parser_.parse(all, words_, word + 1, options_);
    return parser_.words_read() > word;
}

std::string AnswerMaker::refusal_text(size_t word, const RefusedValue &value) const {
    if (value.exists) {
        const std::string_view text =
            parser_.value_text(word, value.keyword_length, value.takes_rest);
        std::array<char, TSH_REASON_SIZE> reason{};
        tsh_value_check(grammar_.types(), &grammar_.record(value.node).params[value.parameter],
                        text.data(), text.size(), nullptr, reason.data());
        const bool is_joined = value.keyword_length > 0;
        const auto parameter = is_joined ? -1 : static_cast<int32_t>(value.parameter);
        const std::string_view typed = is_joined && !value.takes_rest ? words_[word].text : text;
        return "invalid " + spelled({value.node, parameter}) + " " + quoted(typed) + ": " +
               reason.data();
    }
    const std::string typed = quoted(words_[word].text);
    switch (answer_.reason) {
    case TSH_REASON_SURPLUS:
        return "unexpected " + typed;
    case TSH_REASON_SUBMODE:
        return "unexpected " + typed + ": put '/' before what lies in the submode";
    case TSH_REASON_HIDDEN:
        return "unavailable word " + typed;
    default:
        return "unknown word " + typed;
    }
}

// The words before one that a space behind a closing quote made one.
std::string AnswerMaker::run_together_note(size_t word) const {
    for (size_t i = 0; i < word; ++i)
        if (words_[i].is_run_together)
            return "; " + quoted(words_[i].text) +
                   " is one word: put two spaces after a closing quote";
    return word > 0 && words_[word - 1].is_open ? "; the quote is not closed" : "";
}

// ---- Readings ----

AnswerMaker::Part AnswerMaker::whole(const ReadingGraph &graph, const Path &path,
                                     bool is_complete) const {
    const NodeNumber node = parser_.state(path.steps.back().state).node;
    return {0,    path.steps.size(),
            0,    path.nodes.size(),
            node, is_complete ? graph.ends()[path.end].node : kNone};
}

void AnswerMaker::add_reading(const Path &path, const Part &part, ReadingStore &store) const {
    tsh_reading_t reading{};
    reading.node = &grammar_.record(part.node);
    if (part.command != kNone) {
        reading.command = &grammar_.record(part.command);
        reading.is_submode = grammar_.facts(part.command).is_submode ? 1 : 0;
    }
    if (!is_brief()) {
        const std::vector<tsh_word_t> words = words_of(path, part, store);
        reading.word_count = static_cast<uint32_t>(words.size());
        reading.words = store.arena.keep(words);
        std::vector<const tree_node_t *> nodes;
        for (size_t i = part.first_node; i < part.last_node; ++i)
            nodes.push_back(&grammar_.record(path.nodes[i]));
        reading.path_count = static_cast<uint32_t>(nodes.size());
        reading.path = store.arena.keep(nodes);
    }
    store.readings.push_back(reading);
}

std::vector<tsh_word_t> AnswerMaker::words_of(const Path &path, const Part &part,
                                              ReadingStore &store) const {
    std::vector<tsh_word_t> words;
    uint32_t level = 0;
    for (size_t word = part.first_word; word < part.last_word; ++word) {
        const State &state = parser_.state(path.steps[word].state);
        const Edge &edge = parser_.edge(path.steps[word].edge);
        const size_t first = words.size();
        switch (edge.kind) {
        case Kind::kSlash:
            ++level;
            break;
        case Kind::kFull:
        case Kind::kAbbreviated:
            words.push_back(keyword_at(word, state.node, 0));
            break;
        case Kind::kJoined:
            words.push_back(keyword_at(word, state.node, edge.keyword_length));
            words.push_back(value_at(word, state, edge, store));
            break;
        case Kind::kRest:
            if (!edge.from.is_closure() && parser_.state(edge.from.index()).node == state.node &&
                parser_.state(edge.from.index()).position == state.position)
                break; // the value that a word before it began
            [[fallthrough]];
        case Kind::kValue:
            words.push_back(value_at(word, state, edge, store));
            break;
        }
        for (size_t i = first; i < words.size(); ++i)
            words[i].level = level;
    }
    return words;
}

// Of a joined word, as many bytes as the keyword has.
tsh_word_t AnswerMaker::keyword_at(size_t word, NodeNumber node, uint32_t length) const {
    const LineWord &typed = words_[word];
    tsh_word_t keyword{};
    keyword.range = {typed.begin_with_quote(), length > 0 ? typed.begin + length : typed.end};
    keyword.node = &grammar_.record(node);
    keyword.parameter = -1;
    keyword.text = keyword.node->token;
    return keyword;
}

tsh_word_t AnswerMaker::value_at(size_t word, const State &state, const Edge &edge,
                                 ReadingStore &store) const {
    const LineWord &typed = words_[word];
    const bool is_rest = is_within_rest(state.position);
    const std::string_view text = parser_.value_text(word, edge.keyword_length, is_rest);
    tsh_word_t value{};
    value.range.begin =
        edge.keyword_length > 0 ? typed.begin + edge.keyword_length : typed.begin_with_quote();
    value.range.end = is_rest ? words_.end() : typed.end;
    value.node = &grammar_.record(state.node);
    value.parameter = static_cast<int32_t>(last_parameter(state.position));
    value.text = store.arena.keep(text);
    if ((options_ & TSH_ANY_VALUE) == 0)
        tsh_value_check(grammar_.types(), &value.node->params[value.parameter], text.data(),
                        text.size(), &value.value, nullptr);
    return value;
}

void AnswerMaker::enter_submodes(const ReadingGraph &graph) {
    Submode last;
    size_t first_end = 0;
    for (size_t i = graph.ends().size(); i-- > 0;)
        if (grammar_.facts(graph.ends()[i].node).is_submode) {
            last.nodes.push_back(graph.ends()[i].node);
            first_end = i;
        }
    if (last.nodes.empty() || context_.is_single_mode)
        return;
    const Path path = graph.path_to(first_end);
    size_t first_word = 0;
    size_t first_node = 0;
    const auto enter = [&](Submode &&submode, size_t last_word, size_t last_node,
                           NodeNumber command) {
        const NodeNumber node =
            last_word > first_word ? parser_.state(path.steps[last_word - 1].state).node : command;
        const auto entry = std::make_shared<ReadingStore>();
        add_reading(path, {first_word, last_word, first_node, last_node, node, command}, *entry);
        submode.entry = entry;
        answer_.entered.push_back(std::move(submode));
    };
    for (size_t word = 0; word < path.steps.size(); ++word) {
        if (parser_.edge(path.steps[word].edge).kind != Kind::kSlash)
            continue;
        const NodeNumber command = parser_.state(path.steps[word].state).node;
        const auto place = std::ranges::find(path.nodes, command);
        const auto last_node = static_cast<size_t>(place - path.nodes.begin()) + 1;
        enter({graph.entered_by(word), nullptr}, word, last_node, command);
        first_word = word + 1;
        first_node = last_node;
    }
    enter(std::move(last), path.steps.size(), path.nodes.size(), graph.ends()[first_end].node);
}

// ---- Candidates ----

void AnswerMaker::complete(std::string_view line) {
    answer_.clear();
    words_.split(line);
    if (words_.fault().reason != TSH_REASON_NONE) {
        answer_unsplit(words_.fault());
        return;
    }
    const bool has_begun = words_.size() > 0 && words_.end() == line.size();
    const size_t count = words_.size() - (has_begun ? 1 : 0);
    options_ &= ~TSH_BRIEF;
    if (count > 0)
        answer(count);
    else
        parser_.parse(context_, words_, 0, options_);
    if (answer_.verdict == TSH_REFUSED)
        return;
    answer_.entered.clear(); // only whole lines are entered
    answer_.candidates.clear();
    const std::vector<NextWord> &next = answer_.next_words.after(parser_, context_.hidden, true);
    answer_.range = {line.size(), line.size()};
    if (has_begun) {
        const LineWord &begun = words_[count];
        answer_.range.begin = begun.begin_with_quote();
        add_completions(next, begun);
    } else {
        for (const NextWord word : next)
            add_candidate(word);
    }
    find_common();
}

void AnswerMaker::add_completions(const std::vector<NextWord> &words, const LineWord &begun) {
    for (const NextWord word : words) {
        if (word.parameter >= 0) {
            add_candidate(word);
            continue;
        }
        const std::string_view keyword = grammar_.record(word.node).token;
        if (begun.is_quoted)
            continue;
        if (begins_with(keyword, begun.text))
            add_candidate(word);
        else if (grammar_.facts(word.node).param_count > 0 && begins_with(begun.text, keyword))
            add_candidate({word.node, 0}); // joined to the keyword
    }
}

void AnswerMaker::add_candidates(const std::vector<NextWord> &words) {
    for (const NextWord word : words)
        add_candidate(word);
    find_common();
}

void AnswerMaker::add_candidate(NextWord word) {
    const tree_node_t &node = grammar_.record(word.node);
    Arena &arena = answer_.store.arena;
    tsh_candidate_t candidate{};
    candidate.node = &node;
    candidate.parameter = word.parameter;
    candidate.is_optional = node.optional != 0 ? 1 : 0;
    candidate.insert = word.parameter < 0 ? node.token : "";
    candidate.text = arena.keep(spelled(word));
    candidate.bounds = "";
    if (grammar_.facts(word.node).param_count > 0) {
        int64_t low = 0;
        int64_t high = 0;
        const parameter_info_t &parameter = node.params[std::max(word.parameter, 0)];
        switch (tsh_parameter_bounds(grammar_.types(), &parameter, &low, &high)) {
        case TSH_BOUNDS_NUMBERS:
            candidate.bounds = arena.keep(std::to_string(low) + " to " + std::to_string(high));
            break;
        case TSH_BOUNDS_LENGTH:
            candidate.bounds = arena.keep("up to " + std::to_string(high) + " bytes");
            break;
        default:
            break;
        }
    }
    answer_.candidates.push_back(candidate);
}

// A keyword with its parameters; of a node that has been read in part, the parameter that comes
// next.
std::string AnswerMaker::spelled(NextWord word) const {
    const tree_node_t &node = grammar_.record(word.node);
    Word text;
    if (word.parameter <= 0 && (word.parameter < 0 || node.token[0] == '\0'))
        text = spell(node, grammar_.types());
    else
        add_param(text, node, node.params[word.parameter], grammar_.types());
    return std::string{text.text()};
}

void AnswerMaker::find_common() {
    const std::vector<tsh_candidate_t> &candidates = answer_.candidates;
    if (candidates.empty())
        return;
    std::string_view common = candidates.front().insert;
    for (const tsh_candidate_t &candidate : candidates) {
        const std::string_view insert = candidate.insert;
        while (!begins_with(insert, common))
            common.remove_suffix(1);
    }
    answer_.common = answer_.store.arena.keep(common);
}

} // namespace tsh
