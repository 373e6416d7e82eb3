// Simulation of the automaton, layer by layer.
#include "resolve/line_parser_internal.h"

#include <algorithm>
#include <array>

namespace tsh {

namespace {

bool has_slash(const LineWords &words, size_t count) {
    for (size_t i = 0; i < count; ++i)
        if (words[i].text == "/")
            return true;
    return false;
}

} // namespace

bool may_use_slash(const tsh_context_t &context, uint32_t options) {
    return (options & TSH_SAVED_LINE) == 0 && !context.is_single_mode;
}

void TypedKeywords::look_up(const tsh_grammar_t &grammar, const LineWord &word) {
    std::array<char, TREE_TOKEN_SIZE> folded; // longer words are no keywords
    const size_t length = std::min(word.text.size(), folded.size());
    for (size_t i = 0; i < length; ++i)
        folded[i] = in_lower_case(word.text[i]);
    const std::string_view text{folded.data(), length};
    range_ = grammar.words().that_begin_with(text, is_full_);
    joined_.clear();
    if (word.is_quoted || !grammar.has_joinable_words())
        return;
    for (size_t i = std::min(length, word.text.size() - 1); i > 0; --i)
        if (const WordNumber keyword = grammar.words().find(text.substr(0, i));
            keyword != kNoWord && grammar.is_joinable(keyword))
            joined_.push_back({keyword, static_cast<uint8_t>(i)});
}

LineParser::LineParser(const tsh_grammar_t &grammar)
    : grammar_(grammar), marks_(grammar.node_count()) {}

void LineParser::parse(const tsh_context_t &context, const LineWords &words, size_t count,
                       uint32_t options) {
    hidden_ = &context.hidden;
    options_ = options;
    may_enter_ = may_use_slash(context, options);
    clear(words);
    has_slash_ = may_enter_ && has_slash(words, count);
    start(context);
    for (size_t index = 0; index < count; ++index)
        if (!read_word(index))
            return;
    find_endings();
}

void LineParser::clear(const LineWords &words) {
    words_ = &words;
    states_.clear();
    edges_.clear();
    closures_.clear();
    links_.clear();
    first_states_.clear();
    endings_.clear();
    kept_in_.clear();
    left_out_.clear();
}

void LineParser::adopt(const std::vector<Chain> &chains, const LineWords &words, uint32_t rank) {
    clear(words);
    std::vector<Source> ends(chains.size(), Source::state(0));
    for (size_t layer = 0; layer < chains.front().layers.size(); ++layer) {
        first_states_.push_back(static_cast<Index>(states_.size()));
        order_.clear();
        for (size_t i = 0; i < chains.size(); ++i) {
            const ChainLayer &from = chains[i].layers[layer];
            const auto edge = layer == 0 ? kNone : static_cast<Index>(edges_.size());
            if (layer > 0)
                edges_.push_back({ends[i], kNone, from.kind, 0});
            order_.push_back(static_cast<Index>(states_.size()));
            ends[i] = Source::state(order_.back());
            states_.push_back({from.place.node, from.place.position, layer == 0 ? rank : 0, edge,
                               edge, kNone, 0});
            for (const NodeNumber node : from.closures) {
                const auto link = static_cast<Index>(links_.size());
                links_.push_back({ends[i], kNone});
                ends[i] = Source::closure(static_cast<Index>(closures_.size()));
                closures_.push_back({node, 0, link, link, false});
            }
        }
    }
    for (size_t i = 0; i < chains.size(); ++i)
        endings_.push_back({chains[i].end, ends[i], chains[i].leaves_out});
}

std::span<const State> LineParser::layer(size_t number) const {
    const size_t begin = first_states_[number];
    const size_t end =
        number + 1 < first_states_.size() ? first_states_[number + 1] : states_.size();
    return std::span{states_}.subspan(begin, end - begin);
}

// ---- Layers ----

void LineParser::begin_layer() {
    first_states_.push_back(static_cast<Index>(states_.size()));
    next_number();
}

void LineParser::next_number() {
    if (++number_ != 0)
        return;
    std::ranges::fill(marks_, NodeMark{}); // all numbers have been used
    number_ = 1;
}

void LineParser::start(const tsh_context_t &context) {
    begin_layer();
    uint32_t rank = 0;
    for (size_t level = context.submodes.size(); level > 0; --level, ++rank) {
        if (rank > 0 && (options_ & TSH_OUTWARD) == 0)
            break;
        for (const NodeNumber node : context.submodes[level - 1].nodes)
            add_first_state(node, Position::kEntered, rank);
    }
    if (rank == 0 || (options_ & TSH_OUTWARD) != 0)
        for (const tsh_grammar_t::Tree &tree : grammar_.trees())
            add_first_state(tree.first,
                            tree.begins_with_root ? Position::kBefore : Position::kEntered, rank);
    rank_layer();
}

void LineParser::add_first_state(NodeNumber node, Position position, uint32_t rank) {
    states_.push_back({node, position, rank, kNone, kNone, kNone, rank});
}

// Ranks follow from the keys, which have the same order.
void LineParser::rank_layer() {
    const Index first = first_states_.back();
    order_.resize(states_.size() - first);
    for (size_t i = 0; i < order_.size(); ++i)
        order_[i] = first + static_cast<Index>(i);
    std::ranges::stable_sort(order_, {}, [this](Index index) { return states_[index].key; });
    std::swap(is_one_spelling_, was_one_spelling_);
    is_one_spelling_.clear();
    for (size_t i = 0; i < order_.size(); ++i) {
        State &state = states_[order_[i]];
        const State *before = i > 0 ? &states_[order_[i - 1]] : nullptr;
        if (before == nullptr || state.key != before->key)
            is_one_spelling_.push_back(first == 0 ||
                                       was_one_spelling_[static_cast<size_t>(state.key >> 32U)]);
        else if (first > 0 && is_one_spelling_.back() && !are_spelled_alike(state, *before))
            is_one_spelling_.back() = false;
        state.rank = static_cast<uint32_t>(is_one_spelling_.size() - 1);
    }
}

// States of one key, so that their words are of one kind.
bool LineParser::are_spelled_alike(const State &state, const State &other) const {
    const NodeFacts &facts = grammar_.facts(state.node);
    const NodeFacts &others = grammar_.facts(other.node);
    const Kind kind = edges_[state.first_edge].kind;
    if (kind == Kind::kSlash)
        return true;
    if (kind <= Kind::kJoined && facts.word != others.word)
        return false;
    return kind < Kind::kJoined ||
           grammar_.record(state.node).params[last_parameter(state.position)].type_mask ==
               grammar_.record(other.node).params[last_parameter(other.position)].type_mask;
}

// Leaves the states of the last layer, those of one rank together, until a visit returns false.
template <typename Visit> void LineParser::for_each_rank(Visit visit) {
    for (size_t i = 0; i < order_.size();) {
        rank_ = states_[order_[i]].rank;
        keeps_equal_ = has_slash_ || !is_one_spelling_[rank_];
        for (; i < order_.size() && states_[order_[i]].rank == rank_; ++i)
            leave_state(order_[i]);
        leave_closures();
        if (!visit())
            return;
    }
}

bool LineParser::read_word(size_t index) {
    word_ = index;
    keywords_.look_up(grammar_, (*words_)[index]);
    is_slash_ = may_enter_ && (*words_)[index].text == "/";
    is_ending_ = false;
    refused_value_ = {};
    checked_values_.clear();
    begin_layer();
    for_each_rank([] { return true; });
    if (states_.size() == first_states_.back()) {
        first_states_.pop_back();
        return false;
    }
    rank_layer();
    return true;
}

void LineParser::find_endings() {
    is_ending_ = true;
    next_number();
    for_each_rank([this] { return endings_.empty(); });
}

// ---- Leaving a layer ----

void LineParser::leave_state(Index index) {
    const State state = states_[index];
    const NodeFacts &facts = grammar_.facts(state.node);
    const Source from = Source::state(index);
    if (state.position == Position::kBefore) {
        if (!is_ending_ && is_visible(state.node))
            meet(state.node, from);
        return;
    }
    if (is_within_rest(state.position) && !is_ending_) {
        add_edge(state.node, state.position, Kind::kRest, 0, from);
        return;
    }
    const uint32_t read = values_read(state.position);
    if (state.position != Position::kEntered) {
        if (read < facts.param_count) {
            if (!is_ending_)
                try_value(state.node, read, 0, from);
            return;
        }
        if (is_ending_ && facts.has_line)
            endings_.push_back({state.node, from, false});
        if (facts.is_submode) {
            if (!is_ending_ && is_slash_)
                add_edge(state.node, Position::kEntered, Kind::kSlash, 0, from);
            return;
        }
    }
    add_closure(state.node, from, false);
}

// In the order of the first way that leads to each, those behind words left out last.
void LineParser::leave_closures() {
    size_t next = 0;
    for (size_t next_left_out = 0;;) {
        if (next < kept_in_.size())
            leave_closure(kept_in_[next++]);
        else if (next_left_out < left_out_.size())
            leave_closure(left_out_[next_left_out++]);
        else
            break;
    }
    kept_in_.clear();
    left_out_.clear();
}

void LineParser::leave_closure(Index index) {
    const NodeFacts &facts = grammar_.facts(closures_[index].node);
    const Source from = Source::closure(index);
    if (!is_ending_) {
        const Links keywords = grammar_.keywords(facts);
        const auto first_from = [&](WordNumber word) {
            size_t begin = 0;
            for (size_t count = keywords.size(); count > 0;) {
                const size_t half = count / 2;
                if (grammar_.facts(keywords[begin + half]).word < word) {
                    begin += half + 1;
                    count -= half + 1;
                } else {
                    count = half;
                }
            }
            return begin;
        };
        if (!keywords_.range().empty())
            for (size_t i = first_from(keywords_.range().begin);
                 i < keywords.size() && keywords_.range().holds(grammar_.facts(keywords[i]).word);
                 ++i)
                if (is_visible(keywords[i]))
                    add_keyword(keywords[i], from);
        for (const TypedKeywords::Joined &joined : keywords_.joined())
            for (size_t i = first_from(joined.word);
                 i < keywords.size() && grammar_.facts(keywords[i]).word == joined.word; ++i)
                if (grammar_.facts(keywords[i]).param_count > 0 && is_visible(keywords[i]))
                    try_value(keywords[i], 0, joined.length, from);
        const Links values = grammar_.values(facts);
        for (size_t i = 0; i < values.size(); ++i)
            if (is_visible(values[i]))
                try_value(values[i], 0, 0, from);
    }
    const Links passables = grammar_.passables(facts);
    for (size_t i = 0; i < passables.size(); ++i)
        if (is_visible(passables[i]))
            pass(passables[i], index);
}

// A node whose word comes next, as its parents' children are met.
void LineParser::meet(NodeNumber node, Source from) {
    const NodeFacts &facts = grammar_.facts(node);
    if (keywords_.range().holds(facts.word))
        add_keyword(node, from);
    for (const TypedKeywords::Joined &joined : keywords_.joined())
        if (facts.word == joined.word && facts.param_count > 0)
            try_value(node, 0, joined.length, from);
    if (facts.word == kNoWord && facts.param_count > 0)
        try_value(node, 0, 0, from);
    if (facts.is_passable() && !facts.hides_descendants)
        add_closure(node, from, facts.has_word());
}

void LineParser::add_keyword(NodeNumber node, Source from) {
    const bool is_full = grammar_.facts(node).word == keywords_.full();
    add_edge(node, Position::kKeyword, is_full ? Kind::kFull : Kind::kAbbreviated, 0, from);
}

void LineParser::pass(NodeNumber node, Index closure) {
    const NodeFacts &facts = grammar_.facts(node);
    const bool leaves_out = closures_[closure].leaves_out || facts.has_word();
    const Source from = Source::closure(closure);
    if (is_ending_ && facts.has_line)
        endings_.push_back({node, from, leaves_out});
    if (!is_ending_ && is_slash_ && facts.is_submode)
        add_edge(node, Position::kEntered, Kind::kSlash, 0, from);
    if (!facts.hides_descendants)
        add_closure(node, from, leaves_out);
}

std::string_view LineParser::value_text(size_t word, uint32_t keyword_length,
                                        bool takes_rest) const {
    const std::string_view text = takes_rest ? words_->rest_from(word) : (*words_)[word].value();
    return text.substr(keyword_length);
}

void LineParser::try_value(NodeNumber node, uint32_t parameter, uint32_t keyword_length,
                           Source from) {
    const bool takes_rest = (grammar_.facts(node).takes_rest >> parameter & 1U) != 0;
    if ((options_ & TSH_ANY_VALUE) == 0) {
        const tsh_check_t check =
            check_value(grammar_.record(node).params[parameter], keyword_length, takes_rest);
        if (check != TSH_CHECK_ACCEPTED) {
            const bool is_out_of_bounds = check == TSH_CHECK_OUT_OF_BOUNDS;
            if (!refused_value_.exists || (is_out_of_bounds && !refused_value_.is_out_of_bounds))
                refused_value_ = {node,       parameter,        keyword_length,
                                  takes_rest, is_out_of_bounds, true};
            return;
        }
    }
    const Kind kind = keyword_length > 0 ? Kind::kJoined : takes_rest ? Kind::kRest : Kind::kValue;
    add_edge(node, takes_rest ? within_rest(parameter) : after_value(parameter), kind,
             keyword_length, from);
}

// Thousands of nodes may expect a value, but few different ones.
tsh_check_t LineParser::check_value(const parameter_info_t &parameter, uint32_t keyword_length,
                                    bool takes_rest) {
    constexpr size_t kMostKept = 8;
    const auto known = std::ranges::find_if(checked_values_, [&](const CheckedValue &checked) {
        return checked.type_mask == parameter.type_mask && checked.lowest == parameter.int_min &&
               checked.highest == parameter.int_max && checked.keyword_length == keyword_length;
    });
    if (known != checked_values_.end())
        return known->result;
    const std::string_view text = value_text(word_, keyword_length, takes_rest);
    const tsh_check_t result =
        tsh_value_check(grammar_.types(), &parameter, text.data(), text.size(), nullptr, nullptr);
    if (checked_values_.size() < kMostKept)
        checked_values_.push_back(
            {parameter.type_mask, parameter.int_min, parameter.int_max, keyword_length, result});
    return result;
}

// ---- The graph ----

uint64_t LineParser::key_of(Kind kind, uint32_t keyword_length) const {
    const uint32_t place = kinds_for(options_).places[static_cast<size_t>(kind)];
    const uint32_t shorter = TREE_TOKEN_SIZE - keyword_length; // the longest keyword first
    return uint64_t{rank_} << 32U | uint64_t{place} << 8U | shorter;
}

void LineParser::add_edge(NodeNumber node, Position position, Kind kind, uint32_t keyword_length,
                          Source from) {
    const uint64_t key = key_of(kind, keyword_length);
    NodeMark &mark = marks_[node];
    Index index = mark.state_number == number_ ? mark.state : kNone;
    while (index != kNone && states_[index].position != position)
        index = states_[index].next_of_node;
    if (index != kNone &&
        (states_[index].key < key || (states_[index].key == key && !keeps_equal_)))
        return;
    const auto edge = static_cast<Index>(edges_.size());
    edges_.push_back({from, kNone, kind, static_cast<uint8_t>(keyword_length)});
    if (index == kNone) {
        const Index other = mark.state_number == number_ ? mark.state : kNone;
        mark.state_number = number_;
        mark.state = static_cast<Index>(states_.size());
        states_.push_back({node, position, 0, edge, edge, other, key});
        return;
    }
    State &state = states_[index];
    if (key < state.key) { // what is known of it is worse
        state.key = key;
        state.first_edge = edge;
    } else {
        edges_[state.last_edge].next = edge;
    }
    state.last_edge = edge;
}

void LineParser::add_closure(NodeNumber node, Source from, bool leaves_out) {
    const auto link = static_cast<Index>(links_.size());
    NodeMark &mark = marks_[node];
    if (mark.closure_number == number_) {
        Closure &closure = closures_[mark.closure];
        if (closure.rank != rank_ || !keeps_equal_)
            return;
        links_.push_back({from, kNone});
        links_[closure.last_link].next = link;
        closure.last_link = link;
        return;
    }
    links_.push_back({from, kNone});
    mark.closure_number = number_;
    mark.closure = static_cast<Index>(closures_.size());
    closures_.push_back({node, rank_, link, link, leaves_out});
    (leaves_out ? left_out_ : kept_in_).push_back(mark.closure);
}

} // namespace tsh
