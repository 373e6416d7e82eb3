// State sets lie side by side in pools, and are found by their places.
#include "resolve/state_sets_internal.h"

#include <algorithm>
#include <utility>

namespace tsh {

namespace {

constexpr size_t kFirstSlots = 256;

// Entries that are kept for a small tree.
constexpr size_t kLeastKept = size_t{1} << 16U;

} // namespace

StateSets::StateSets(const tsh_grammar_t &grammar)
    : grammar_(grammar),
      most_kept_(kLeastKept + 2 * (size_t{grammar.node_count()} + grammar.link_count())) {}

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
    marks_.assign(grammar_.node_count(), {});
    mark_ = 0;
}

// ---- Reading ----

bool StateSets::accepts(const tsh_context_t &context, const LineWords &words, uint32_t options) {
    if (grammar_.begins_with_a_root())
        return false;
    if (!are_whole_ || context.admission != admission_ || kept() > most_kept_)
        forget_all();
    are_whole_ = false; // if memory runs out
    admission_ = context.admission;
    hidden_ = &context.hidden;
    const bool is_accepted = read_outward(context, words, options);
    are_whole_ = true;
    return is_accepted;
}

// Reads the line in the innermost submode, and if that refuses its first word, around it.
bool StateSets::read_outward(const tsh_context_t &context, const LineWords &words,
                             uint32_t options) {
    const bool has_slash = may_use_slash(context, options);
    const size_t depth = context.submodes.size();
    for (levels_left_ = 0; levels_left_ <= depth; ++levels_left_) {
        next_places_.clear();
        if (levels_left_ < depth)
            for (const NodeNumber node : context.submodes[depth - 1 - levels_left_].nodes)
                next_places_.push_back({node, Position::kEntered});
        else
            for (const tsh_grammar_t::Tree &tree : grammar_.trees())
                next_places_.push_back({tree.first, Position::kEntered});
        const Result result = read(set_of(next_places_), words, options, has_slash);
        if (result != Result::kRefusedAtOnce || (options & TSH_OUTWARD) == 0)
            return result == Result::kAccepted;
    }
    return false;
}

StateSets::Result StateSets::read(SetNumber set, const LineWords &words, uint32_t options,
                                  bool may_use_slash) {
    const bool is_saved = (options & TSH_SAVED_LINE) != 0;
    steps_.clear();
    is_simple_ = true;
    for (size_t index = 0; index < words.size(); ++index) {
        const Set &at = sets_[set];
        Step step{set, Kind::kRest, {}};
        if (at.places.count > 0 && is_within_rest(places_[at.places.first].position)) {
            steps_.push_back(step); // the value goes on
            continue;
        }
        if (may_use_slash && words[index].text == "/")
            return Result::kUndecided;
        typed_.look_up(grammar_, words[index]);
        const WordRange range = typed_.range();
        if (typed_.full() != kNoWord) {
            step.kind = Kind::kFull;
            step.keywords = keywords_in(at, {range.begin, range.begin + 1});
        }
        Slice<Keyword> abbreviated;
        if (step.keywords.count == 0) {
            abbreviated = keywords_in(at, range);
            step.kind = Kind::kAbbreviated;
            if (!is_saved)
                step.keywords = abbreviated;
        }
        if (step.keywords.count == 0) {
            if (at.has_joinable && !typed_.joined().empty())
                return Result::kUndecided;
            const bool has_values = at.values.count > 0;
            const std::optional<SetNumber> next =
                has_values ? read_value(set, words, index, options, step) : kNone;
            if (!next)
                return Result::kUndecided;
            if (*next != kNone) {
                steps_.push_back(step);
                set = *next;
                continue;
            }
            step.kind = Kind::kAbbreviated;
            step.keywords = abbreviated;
        }
        if (step.keywords.count == 0)
            return index == 0 ? Result::kRefusedAtOnce : Result::kUndecided;
        if (!is_one_word(step.keywords))
            return Result::kUndecided;
        steps_.push_back(step);
        if (index + 1 == words.size() && ends_at(step.keywords)) {
            last_set_ = kNone;
            return Result::kAccepted;
        }
        set = after(step.keywords);
    }
    last_set_ = set;
    return ends_in(set) ? Result::kAccepted : Result::kUndecided;
}

// The set behind a value: kNone if there is none, nothing if it takes a search to know.
std::optional<StateSets::SetNumber> StateSets::read_value(SetNumber set, const LineWords &words,
                                                          size_t index, uint32_t options,
                                                          Step &step) {
    for (const bool takes_rest : {false, true}) {
        next_places_.clear();
        uint32_t mask = 0;
        for (const Value &value : all(values_, sets_[set].values)) {
            if (value.takes_rest != takes_rest)
                continue;
            const parameter_info_t &parameter = grammar_.record(value.node).params[value.parameter];
            const std::string_view text =
                takes_rest ? words.rest_from(index) : words[index].value();
            if ((options & TSH_ANY_VALUE) == 0 &&
                tsh_value_check(grammar_.types(), &parameter, text.data(), text.size(), nullptr,
                                nullptr) != TSH_CHECK_ACCEPTED)
                continue;
            if (!next_places_.empty() && parameter.type_mask != mask)
                return std::nullopt;
            mask = parameter.type_mask;
            next_places_.push_back({value.node, takes_rest ? within_rest(value.parameter)
                                                           : after_value(value.parameter)});
        }
        if (next_places_.empty())
            continue;
        step.kind = takes_rest ? Kind::kRest : Kind::kValue;
        return set_of(next_places_);
    }
    return kNone;
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
    for (const Value &value : all(values_, sets_[step.from].values))
        if (value.node == place.node && value.parameter == last_parameter(place.position))
            return value.from;
    const auto places = all(places_, sets_[step.from].places); // the value goes on
    return Source::state(static_cast<Index>(std::ranges::find(places, place) - places.begin()));
}

Chain StateSets::chain_to(size_t end) const {
    Chain chain;
    chain.end = ends_[end];
    chain.layers.resize(steps_.size() + 1);
    SetNumber set = last_set_;
    std::optional<Source> source;
    if (set != kNone) {
        const auto endings = all(endings_, sets_[set].endings);
        const Last &last = *std::ranges::find(endings, ends_[end], &Last::node);
        source = last.from;
        chain.leaves_out = last.leaves_out;
    }
    for (size_t i = chain.layers.size(); i-- > 0;) {
        ChainLayer &layer = chain.layers[i];
        layer.place = {ends_[end], Position::kKeyword};
        if (source) {
            for (; source->is_closure();
                 source = closures_[sets_[set].closures.first + source->index()].from)
                layer.closures.insert(layer.closures.begin(),
                                      closures_[sets_[set].closures.first + source->index()].node);
            layer.place = places_[sets_[set].places.first + source->index()];
        }
        if (i > 0) {
            layer.kind = steps_[i - 1].kind;
            set = steps_[i - 1].from;
            source = source_of(steps_[i - 1], layer.place);
        }
    }
    return chain;
}

void StateSets::hand_to(LineParser &parser, const LineWords &words) const {
    std::vector<Chain> chains;
    for (size_t end = 0; end < ends_.size(); ++end)
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

StateSets::SetNumber StateSets::make(std::span<const Place> places) {
    if (++mark_ == 0) { // all numbers have been used
        std::ranges::fill(marks_, Mark{});
        mark_ = 1;
    }
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
    return static_cast<SetNumber>(sets_.size() - 1);
}

void StateSets::leave(Source from, const Place &place) {
    const NodeFacts &facts = grammar_.facts(place.node);
    if (place.position != Position::kEntered) {
        const uint32_t read = values_read(place.position);
        if (read < facts.param_count) {
            values_.push_back({place.node, static_cast<uint8_t>(read),
                               (facts.takes_rest >> read & 1U) != 0, from});
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
            values_.push_back(
                {values[i], 0, (grammar_.facts(values[i]).takes_rest & 1U) != 0, from});
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
