// State sets lie side by side in pools, and are found by their places.
#include "resolve/state_sets_internal.h"

#include <algorithm>
#include <utility>

namespace tsh {

namespace {

constexpr size_t kFirstSlots = 256;

// Entries that are kept for a small tree.
constexpr size_t kLeastKept = size_t{1} << 16U;

// Spellings of a word that are followed.
constexpr size_t kMostSpellings = 128;

// Kinds of a word that are tried in vain, in all.
constexpr size_t kMostAbandoned = 16;

} // namespace

StateSets::StateSets(const tsh_grammar_t &grammar)
    : grammar_(grammar), most_added_(kLeastKept + grammar.node_count() + grammar.link_count()) {}

size_t StateSets::kept() const {
    return places_.size() + closures_.size() + keywords_.size() + values_.size() + endings_.size();
}

void StateSets::forget_all() {
    sets_.clear();
    places_.clear();
    closures_.clear();
    keywords_.clear();
    values_.clear();
    endings_.clear();
    slots_.assign(kFirstSlots, kNone);
    of_node_.assign(grammar_.node_count(), kNone);
    domains_.clear();
    domain_numbers_.clear();
    domain_of_.clear();
    marks_.assign(grammar_.node_count(), {});
    mark_ = 0;
}

// ---- Reading ----

StateSets::Result StateSets::read(const tsh_context_t &context, const LineWords &words,
                                  uint32_t options) {
    if (grammar_.begins_with_a_root())
        return Result::kUndecided;
    if (!are_whole_ || context.admission != admission_ || kept() > 2 * most_added_)
        forget_all();
    most_kept_ = kept() + most_added_;
    is_too_large_ = false;
    are_whole_ = false; // if memory runs out
    admission_ = context.admission;
    hidden_ = &context.hidden;
    const Result result = read_outward(context, {words, options, may_use_slash(context, options)});
    are_whole_ = true;
    return result;
}

// Reads the line in the innermost submode, and if that refuses its first word, around it.
StateSets::Result StateSets::read_outward(const tsh_context_t &context, const Line &line) {
    const size_t depth = context.submodes.size();
    for (levels_left_ = 0; levels_left_ <= depth; ++levels_left_) {
        next_places_.clear();
        if (levels_left_ < depth)
            for (const NodeNumber node : context.submodes[depth - 1 - levels_left_].nodes)
                next_places_.push_back({node, Position::kEntered});
        else
            for (const tsh_grammar_t::Tree &tree : grammar_.trees())
                next_places_.push_back({tree.first, Position::kEntered});
        const std::optional<Result> result = read_from(set_of(next_places_), line);
        if (result || (line.options & TSH_OUTWARD) == 0)
            return result.value_or(Result::kUndecided);
    }
    return Result::kUndecided;
}

// Nothing if the first word is refused.
std::optional<StateSets::Result> StateSets::read_from(SetNumber set, const Line &line) {
    steps_.assign(1, {kNone, Kind::kFull, {}, set});
    typed_word_ = SIZE_MAX;
    abandoned_ = 0;
    enters_submode_ = false;
    first_is_refused_ = true;
    const std::optional<Result> result = follow(0, 0, line);
    return result || first_is_refused_ ? result : Result::kUndecided;
}

// Reads the rest of the line behind steps of equal readings, the last ones. Nothing if none of
// their kind finishes the line.
std::optional<StateSets::Result> StateSets::follow(Index first, size_t index, const Line &line) {
    if (index == line.words.size())
        return judge_ends(first);
    const auto end = static_cast<Index>(steps_.size());
    const bool is_slash = line.has_slash && line.words[index].text == "/";
    for (const Kind kind : kinds_for(line.options).kinds) {
        if (kind == Kind::kSlash && !is_slash)
            continue;
        for (Index before = first; before < end; ++before)
            if (!read_word(kind, before, index, line))
                return Result::kUndecided;
        const size_t spellings = steps_.size() - end;
        if (spellings == 0)
            continue;
        first_is_refused_ = false;
        if (spellings > kMostSpellings || is_too_large_)
            return Result::kUndecided;
        if (const std::optional<Result> result = follow(end, index + 1, line))
            return result;
        if (++abandoned_ > kMostAbandoned)
            return Result::kUndecided;
        steps_.resize(end);
    }
    return std::nullopt;
}

// Adds the steps of a kind behind another one. @return false if it takes a search to know them.
bool StateSets::read_word(Kind kind, Index before, size_t index, const Line &line) {
    const SetNumber set = steps_[before].next;
    if (const Set &at = sets_[set];
        at.places.count > 0 && is_within_rest(places_[at.places.first].position)) {
        if (kind == Kind::kRest)
            steps_.push_back({before, kind, {}, set}); // the value goes on
        return true;
    }
    switch (kind) {
    case Kind::kSlash:
        return add_slash(before, line);
    case Kind::kFull:
    case Kind::kAbbreviated:
        return add_keywords(kind, before, index, line);
    case Kind::kJoined:
        return !sets_[set].has_joinable || typed(index, line).joined().empty();
    default:
        if (sets_[set].values.count > 0)
            add_values(kind, before, index, line);
        return true;
    }
}

const TypedKeywords &StateSets::typed(size_t index, const Line &line) {
    if (std::exchange(typed_word_, index) != index)
        typed_.look_up(grammar_, line.words[index]);
    return typed_;
}

bool StateSets::add_slash(Index before, const Line &line) {
    if ((line.options & TSH_BRIEF) == 0)
        return false;
    find_submodes(sets_[steps_[before].next]);
    if (next_places_.empty())
        return true;
    enters_submode_ = true;
    steps_.push_back({before, Kind::kSlash, {}, set_of(next_places_)});
    return true;
}

bool StateSets::add_keywords(Kind kind, Index before, size_t index, const Line &line) {
    const TypedKeywords &typed = this->typed(index, line);
    const bool has_full = typed.full() != kNoWord;
    WordRange range = typed.range();
    if (kind == Kind::kFull)
        range.end = range.begin + (has_full ? 1 : 0);
    else if (has_full)
        ++range.begin;
    if (range.empty())
        return true;
    const Slice<Keyword> keywords = keywords_in(sets_[steps_[before].next], range);
    if (keywords.count == 0)
        return true;
    const bool is_last = index + 1 == line.words.size();
    if (!is_one_word(keywords))
        return is_last && !may_end_behind(keywords);
    steps_.push_back({before, kind, keywords, is_last ? kNone : after(keywords)});
    return true;
}

// Adds a step for each spelling of a value.
void StateSets::add_values(Kind kind, Index before, size_t index, const Line &line) {
    const bool takes_rest = kind == Kind::kRest;
    find_values(steps_[before].next,
                takes_rest ? line.words.rest_from(index) : line.words[index].value(), takes_rest,
                line.options);
    for (auto first = accepted_.begin(); first != accepted_.end();) {
        const auto last = std::stable_partition(
            first, accepted_.end(),
            [mask = first->type_mask](const auto &value) { return value.type_mask == mask; });
        next_places_.clear();
        for (; first != last; ++first)
            next_places_.push_back(first->place);
        steps_.push_back({before, kind, {}, set_of(next_places_)});
    }
}

// The values of a set that accept a text, each domain checked once.
void StateSets::find_values(SetNumber set, std::string_view text, bool takes_rest,
                            uint32_t options) {
    accepted_.clear();
    is_accepted_.assign(domains_.size(), std::nullopt);
    for (const Value &value : all(values_, sets_[set].values)) {
        if (value.takes_rest != takes_rest)
            continue;
        std::optional<bool> &is_accepted = is_accepted_[value.domain];
        if (!is_accepted)
            is_accepted = (options & TSH_ANY_VALUE) != 0 || accepts(domains_[value.domain], text);
        if (*is_accepted)
            accepted_.push_back({domains_[value.domain].type_mask,
                                 {value.node, takes_rest ? within_rest(value.parameter)
                                                         : after_value(value.parameter)}});
    }
}

bool StateSets::accepts(const Domain &domain, std::string_view text) const {
    parameter_info_t parameter{};
    parameter.type_mask = domain.type_mask;
    parameter.int_min = domain.lowest;
    parameter.int_max = domain.highest;
    return tsh_value_check(grammar_.types(), &parameter, text.data(), text.size(), nullptr,
                           nullptr) == TSH_CHECK_ACCEPTED;
}

// The submodes that a "/" may enter in a set.
void StateSets::find_submodes(const Set &set) {
    next_mark();
    next_places_.clear();
    const auto add = [this](NodeNumber node) {
        if (grammar_.facts(node).is_submode && std::exchange(marks_[node].word, mark_) != mark_)
            next_places_.push_back({node, Position::kEntered});
    };
    for (const Place &place : all(places_, set.places))
        if (place.position != Position::kEntered &&
            values_read(place.position) == grammar_.facts(place.node).param_count)
            add(place.node);
    for (const Passed &closure : all(closures_, set.closures)) {
        const Links passables = grammar_.passables(grammar_.facts(closure.node));
        for (size_t i = 0; i < passables.size(); ++i)
            if (!hidden_->holds(passables[i]))
                add(passables[i]);
    }
}

// ---- Ends ----

// Of the last steps. Nothing if the line cannot end behind them.
std::optional<StateSets::Result> StateSets::judge_ends(Index first) {
    last_step_ = kNone;
    ambiguous_word_ = SIZE_MAX;
    for (Index step = first; step < steps_.size(); ++step) {
        if (!can_end(steps_[step]))
            continue;
        if (last_step_ == kNone)
            last_step_ = step;
        else
            ambiguous_word_ = std::min(ambiguous_word_, first_difference(last_step_, step));
    }
    if (last_step_ == kNone)
        return std::nullopt;
    if (ambiguous_word_ != SIZE_MAX)
        return Result::kAmbiguous;
    if (last_step_ + 1 < steps_.size())
        can_end(steps_[last_step_]);
    return enters_submode_ && needs_ways() ? Result::kUndecided : Result::kAccepted;
}

// Whether an answer needs more of the readings than their ends.
bool StateSets::needs_ways() const {
    return !is_simple_ || std::ranges::any_of(ends_, [&](NodeNumber node) {
        return grammar_.facts(node).is_submode;
    });
}

// Finds the ends behind a word.
bool StateSets::can_end(Step &step) {
    is_simple_ = true;
    if (step.next == kNone) {
        if (ends_at(step.keywords))
            return true;
        step.next = after(step.keywords);
    }
    return ends_in(step.next);
}

// The first word at which the ways to two steps of one word part.
size_t StateSets::first_difference(Index step, Index other) const {
    size_t behind = 0;
    for (; step != other; ++behind) {
        step = steps_[step].before;
        other = steps_[other].before;
    }
    size_t word = 0;
    for (; steps_[step].before != kNone; ++word)
        step = steps_[step].before;
    return word;
}

StateSets::Slice<StateSets::Keyword> StateSets::keywords_in(const Set &set, WordRange range) const {
    const std::span<const Keyword> keywords = all(keywords_, set.keywords);
    const auto first = std::ranges::lower_bound(keywords, range.begin, {}, &Keyword::word);
    auto last = first;
    while (last != keywords.end() && last->word < range.end)
        ++last;
    return {set.keywords.first + static_cast<uint32_t>(first - keywords.begin()),
            static_cast<uint32_t>(last - first)};
}

bool StateSets::is_one_word(Slice<Keyword> keywords) const {
    return keywords_[keywords.first].word == keywords_[keywords.first + keywords.count - 1].word;
}

// Whether a line may end behind keywords, even if words are left out.
bool StateSets::may_end_behind(Slice<Keyword> keywords) const {
    return std::ranges::any_of(all(keywords_, keywords), [this](const Keyword &keyword) {
        const NodeFacts &facts = grammar_.facts(keyword.node);
        return facts.param_count == 0 && (facts.has_line || facts.passable_count > 0);
    });
}

// Whether a line may end behind keywords without words left out, and only at their own nodes.
bool StateSets::ends_at(Slice<Keyword> keywords) {
    ends_.clear();
    for (const Keyword &keyword : all(keywords_, keywords)) {
        const NodeFacts &facts = grammar_.facts(keyword.node);
        if (facts.param_count > 0)
            continue;
        if (facts.has_line)
            ends_.push_back(keyword.node);
        const Links passables = grammar_.passables(facts);
        for (size_t i = 0; !facts.is_submode && i < passables.size(); ++i)
            if (!grammar_.facts(passables[i]).has_word())
                return false;
    }
    return !ends_.empty();
}

bool StateSets::ends_in(SetNumber set) {
    ends_.clear();
    const std::span<const Last> endings = all(endings_, sets_[set].endings);
    for (const Last &ending : endings) {
        is_simple_ = is_simple_ && !ending.from.is_closure();
        if (std::ranges::find(ends_, ending.node) == ends_.end())
            ends_.push_back(ending.node);
    }
    return !ends_.empty();
}

// ---- Handing over ----

// What leads from a state of one set to a state of the next.
Source StateSets::source_of(const Step &step, Place place) const {
    if (step.kind == Kind::kFull || step.kind == Kind::kAbbreviated) {
        const auto keywords = all(keywords_, step.keywords);
        return Source::closure(std::ranges::find(keywords, place.node, &Keyword::node)->from);
    }
    const Set &from = sets_[steps_[step.before].next];
    for (const Value &value : all(values_, from.values))
        if (value.node == place.node && value.parameter == last_parameter(place.position))
            return value.from;
    const auto places = all(places_, from.places); // the value goes on
    return Source::state(static_cast<Index>(std::ranges::find(places, place) - places.begin()));
}

Chain StateSets::chain_to(NodeNumber end) const {
    Chain chain;
    chain.end = end;
    std::optional<Source> source;
    if (const SetNumber set = steps_[last_step_].next; set != kNone) {
        const auto endings = all(endings_, sets_[set].endings);
        const Last &last = *std::ranges::find(endings, end, &Last::node);
        source = last.from;
        chain.leaves_out = last.leaves_out;
    }
    for (Index at = last_step_; at != kNone; at = steps_[at].before) {
        const Step &step = steps_[at];
        ChainLayer &layer = chain.layers.emplace_back();
        layer.place = {end, Position::kKeyword};
        layer.kind = step.kind;
        if (source) {
            const Set &set = sets_[step.next];
            for (; source->is_closure();
                 source = closures_[set.closures.first + source->index()].from)
                layer.closures.insert(layer.closures.begin(),
                                      closures_[set.closures.first + source->index()].node);
            layer.place = places_[set.places.first + source->index()];
        }
        if (step.before != kNone)
            source = source_of(step, layer.place);
    }
    std::ranges::reverse(chain.layers);
    return chain;
}

void StateSets::hand_to(LineParser &parser, const LineWords &words) const {
    std::vector<Chain> chains;
    for (const NodeNumber end : ends_)
        chains.push_back(chain_to(end));
    parser.adopt(chains, words, levels_left_);
}

// ---- Sets behind words ----

StateSets::SetNumber StateSets::after(Slice<Keyword> keywords) {
    if (const SetNumber known = keywords_[keywords.first].next; known != kNone)
        return known;
    SetNumber next = kNone;
    if (keywords.count == 1) {
        const NodeNumber node = keywords_[keywords.first].node;
        const Place place{node, Position::kKeyword};
        next = of_node_[node];
        if (next == kNone)
            next = of_node_[node] = make({&place, 1});
    } else {
        next_places_.clear();
        for (const Keyword &keyword : all(keywords_, keywords))
            next_places_.push_back({keyword.node, Position::kKeyword});
        next = set_of(next_places_);
    }
    keywords_[keywords.first].next = next;
    return next;
}

// ---- Making sets ----

size_t StateSets::slot_of(std::span<const Place> places) const {
    uint64_t hash = 0;
    for (const Place &place : places) {
        hash = (hash ^ (uint64_t{place.node} << 8U | static_cast<uint64_t>(place.position))) *
               0x9E3779B97F4A7C15;
        hash ^= hash >> 29U;
    }
    size_t slot = static_cast<size_t>(hash) & (slots_.size() - 1);
    while (slots_[slot] != kNone &&
           !std::ranges::equal(all(places_, sets_[slots_[slot]].places), places))
        slot = (slot + 1) & (slots_.size() - 1);
    return slot;
}

StateSets::SetNumber StateSets::set_of(std::vector<Place> &places) {
    const size_t slot = slot_of(places);
    if (slots_[slot] != kNone)
        return slots_[slot];
    const std::vector<Place> copy{places};
    const SetNumber set = make(copy);
    slots_[slot_of(copy)] = set;
    if (2 * sets_.size() < slots_.size())
        return set;
    const std::vector<SetNumber> old =
        std::exchange(slots_, std::vector<SetNumber>(2 * slots_.size(), kNone));
    for (const SetNumber known : old)
        if (known != kNone)
            slots_[slot_of(all(places_, sets_[known].places))] = known;
    return set;
}

void StateSets::next_mark() {
    if (++mark_ != 0)
        return;
    std::ranges::fill(marks_, Mark{}); // all numbers have been used
    mark_ = 1;
}

StateSets::SetNumber StateSets::make(std::span<const Place> places) {
    next_mark();
    kept_in_.clear();
    left_out_.clear();
    Set set;
    set.places = {static_cast<uint32_t>(places_.size()), static_cast<uint32_t>(places.size())};
    set.closures.first = static_cast<uint32_t>(closures_.size());
    set.keywords.first = static_cast<uint32_t>(keywords_.size());
    set.values.first = static_cast<uint32_t>(values_.size());
    set.endings.first = static_cast<uint32_t>(endings_.size());
    for (Index i = 0; i < places.size(); ++i) {
        places_.push_back(places[i]);
        leave(Source::state(i), places[i]);
    }
    size_t next = 0;
    for (size_t next_left_out = 0;;) {
        if (next < kept_in_.size())
            leave_closure(kept_in_[next++], set.closures.first);
        else if (next_left_out < left_out_.size())
            leave_closure(left_out_[next_left_out++], set.closures.first);
        else
            break;
    }
    set.closures.count = static_cast<uint32_t>(closures_.size()) - set.closures.first;
    set.keywords.count = static_cast<uint32_t>(keywords_.size()) - set.keywords.first;
    set.values.count = static_cast<uint32_t>(values_.size()) - set.values.first;
    const auto first_keyword = keywords_.begin() + set.keywords.first;
    if (!std::is_sorted(first_keyword, keywords_.end(),
                        [](const Keyword &a, const Keyword &b) { return a.word < b.word; }))
        std::stable_sort(first_keyword, keywords_.end(),
                         [](const Keyword &a, const Keyword &b) { return a.word < b.word; });
    for (auto keyword = first_keyword; keyword != keywords_.end(); ++keyword)
        set.has_joinable = set.has_joinable || grammar_.is_joinable(keyword->word);
    // Words are left out at the end of a line only where it cannot end otherwise.
    const auto first_ending = endings_.begin() + set.endings.first;
    if (std::any_of(first_ending, endings_.end(),
                    [](const Last &last) { return !last.leaves_out; }))
        endings_.erase(std::remove_if(first_ending, endings_.end(),
                                      [](const Last &last) { return last.leaves_out; }),
                       endings_.end());
    set.endings.count = static_cast<uint32_t>(endings_.size()) - set.endings.first;
    sets_.push_back(set);
    is_too_large_ = kept() > most_kept_;
    return static_cast<SetNumber>(sets_.size() - 1);
}

void StateSets::leave(Source from, const Place &place) {
    const NodeFacts &facts = grammar_.facts(place.node);
    if (place.position != Position::kEntered) {
        const uint32_t read = values_read(place.position);
        if (read < facts.param_count) {
            add_value(place.node, read, from);
            return;
        }
        if (facts.has_line)
            endings_.push_back({place.node, from, false});
        if (facts.is_submode)
            return;
    }
    add_closure(place.node, from, false);
}

void StateSets::add_closure(NodeNumber node, Source from, bool leaves_out) {
    if (marks_[node].closure == mark_)
        return;
    marks_[node].closure = mark_;
    (leaves_out ? left_out_ : kept_in_).push_back(static_cast<Index>(closures_.size()));
    closures_.push_back({node, from, leaves_out});
}

void StateSets::add_value(NodeNumber node, uint32_t parameter, Source from) {
    const bool takes_rest = (grammar_.facts(node).takes_rest >> parameter & 1U) != 0;
    values_.push_back(
        {node, static_cast<uint8_t>(parameter), takes_rest, from, domain_of(node, parameter)});
}

uint32_t StateSets::domain_of(NodeNumber node, uint32_t parameter) {
    domain_of_.resize(size_t{TREE_MAX_PARAMS} * grammar_.node_count(), kNone);
    uint32_t &domain = domain_of_[size_t{TREE_MAX_PARAMS} * node + parameter];
    if (domain == kNone) {
        const parameter_info_t &record = grammar_.record(node).params[parameter];
        const Domain values{record.type_mask, record.int_min, record.int_max};
        const auto [known, is_new] =
            domain_numbers_.try_emplace(values, static_cast<uint32_t>(domains_.size()));
        if (is_new)
            domains_.push_back(values);
        domain = known->second;
    }
    return domain;
}

// Closures are numbered within their set.
void StateSets::leave_closure(Index index, uint32_t first_closure) {
    const Passed closure = closures_[index];
    const NodeFacts &facts = grammar_.facts(closure.node);
    const Source from = Source::closure(index - first_closure);
    const auto is_new = [this](NodeNumber node) {
        return !hidden_->holds(node) && std::exchange(marks_[node].word, mark_) != mark_;
    };
    const Links keywords = grammar_.keywords(facts);
    for (size_t i = 0; i < keywords.size(); ++i)
        if (is_new(keywords[i]))
            keywords_.push_back(
                {grammar_.facts(keywords[i]).word, keywords[i], index - first_closure, kNone});
    const Links values = grammar_.values(facts);
    for (size_t i = 0; i < values.size(); ++i)
        if (is_new(values[i]))
            add_value(values[i], 0, from);
    const Links passables = grammar_.passables(facts);
    for (size_t i = 0; i < passables.size(); ++i) {
        const NodeNumber node = passables[i];
        if (hidden_->holds(node))
            continue;
        const NodeFacts &passed = grammar_.facts(node);
        const bool leaves_out = closure.leaves_out || passed.has_word();
        if (passed.has_line)
            endings_.push_back({node, from, leaves_out});
        if (!passed.hides_descendants)
            add_closure(node, from, leaves_out);
    }
}

} // namespace tsh
