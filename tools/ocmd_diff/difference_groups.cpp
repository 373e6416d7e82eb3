// Depth-first search over pairs; then counts of prefixes, parents before their children.
#include "tools/ocmd_diff/difference_groups.h"

#include "tools/support/program.h"

#include <algorithm>
#include <array>

namespace diff {

namespace {

// Links and places that can be kept, at some ten bytes each: a constant for small trees, and an
// amount for nodes and links.
constexpr size_t kFreeSize = 1U << 22U;
constexpr size_t kSizeFactor = 4;

constexpr size_t kMaxPlaces = 20;      // listed of a difference
constexpr size_t kMaxWords = 64;       // listed of a branch
constexpr size_t kMaxComparisons = 8;  // of branches with equally many lines
constexpr uint64_t kMinMovedLines = 2; // one line is equal to others by coincidence

constexpr State kLeaf = UINT32_MAX;           // all states where lines end
constexpr Values kUnknownValues = UINT32_MAX; // that depend on the following words

std::string counted(const tool::Count &count, const char *noun) {
    return count.text() + ' ' + noun + (count == 1 ? "" : "s");
}

} // namespace

void DifferenceGroups::list(const StatePair &start) {
    visit(start);
    count_prefixes();
    find_moved();
    for (const Difference &difference : differences_)
        if (difference.kind != Kind::kMatched)
            write(difference);
}

// ---- Visiting pairs ----

void DifferenceGroups::visit(const StatePair &start) {
    const PairNumber first = add_pair(start);
    if (!start.is_of_both()) {
        children_first_.push_back(first);
        take_start_of_one_tree(start);
        return;
    }
    enter(first, start);
    while (!stack_.empty()) {
        Frame &frame = stack_.back();
        if (frame.next == frame.transitions.size())
            leave();
        else
            take(PairTransition{frame.transitions[frame.next++]});
    }
}

DifferenceGroups::PairNumber DifferenceGroups::add_pair(const StatePair &pair) {
    const auto number = static_cast<PairNumber>(pairs_.size());
    pairs_.emplace_back();
    if (pair.is_of_both())
        pair_numbers_.insert(product_.representative(pair.before.state()),
                             product_.representative(pair.after.state()), number);
    return number;
}

void DifferenceGroups::enter(PairNumber number, const StatePair &pair) {
    std::vector<PairTransition> transitions;
    auto cursor = product_.transitions_of(pair);
    while (const auto transition = product_.next(cursor))
        transitions.push_back(*transition);
    std::vector<Difference> branches = branches_of(pair, transitions);
    find_renamed(branches);
    stack_.push_back({number, std::move(transitions), std::move(branches)});
}

// Most transitions of one tree are in the order of its edges, so each search begins after the last.
std::vector<DifferenceGroups::Difference>
DifferenceGroups::branches_of(const StatePair &pair,
                              const std::vector<PairTransition> &transitions) {
    std::vector<Difference> branches;
    size_t next_old = 0;
    size_t next_new = 0;
    for (const PairTransition &transition : transitions) {
        if (transition.to.is_of_both())
            continue;
        const bool is_old = transition.to.before.exists();
        const auto edges = dfa_.edges_of((is_old ? pair.before : pair.after).state());
        size_t &next = is_old ? next_old : next_new;
        while (edges[next].symbol != transition.symbol)
            next = (next + 1) % edges.size();
        branches.push_back(branch(is_old ? kOldMark : kNewMark, Edge{edges[next]}));
    }
    return branches;
}

DifferenceGroups::Difference DifferenceGroups::branch(char mark, const Edge &edge) {
    const Target to = dfa_.without_pending(edge.to);
    tool::Count lines = lines_.after(to);
    if (dfa_.is_final(to))
        lines += 1;
    const bool has_pending = dfa_.has_pending(edge.to);
    return {.kind = Kind::kBranch,
            .mark = mark,
            .symbol = edge.symbol,
            .to = to,
            .output = has_pending ? kUnknownValues : edge.output,
            .lines = lines};
}

void DifferenceGroups::leave() {
    children_first_.push_back(stack_.back().number);
    stack_.pop_back();
}

void DifferenceGroups::take(const PairTransition &transition) {
    if (!transition.to.is_of_both())
        return take_next_branch();
    const PairNumber number = stack_.back().number;
    const auto &[before, after] = transition.to;
    const bool ends_before = dfa_.is_final(before);
    const bool ends_after = dfa_.is_final(after);
    if (ends_before != ends_after)
        add({.kind = Kind::kLine,
             .mark = ends_before ? kOldMark : kNewMark,
             .symbol = transition.symbol},
            number);
    for (const Change &change : changes_.of(transition))
        add({.kind = Kind::kChanged,
             .mark = kChangedMark,
             .symbol = transition.symbol,
             .is_line = ends_before && ends_after,
             .change = change},
            number);
    if (!product_.differs(transition.to))
        return;
    const PairNumber *known = pair_numbers_.find(product_.representative(before.state()),
                                                 product_.representative(after.state()));
    const bool is_new = known == nullptr;
    const PairNumber child = is_new ? add_pair(transition.to) : *known;
    pairs_[child].parents.push_back({number, transition.symbol});
    grow();
    if (is_new)
        enter(child, transition.to);
}

void DifferenceGroups::take_next_branch() {
    Frame &frame = stack_.back();
    Difference &difference = frame.branches[frame.next_branch++];
    if (difference.kind != Kind::kMatched)
        add(std::move(difference), frame.number);
}

void DifferenceGroups::take_start_of_one_tree(const StatePair &start) {
    const bool is_old = start.before.exists();
    const auto edges = dfa_.edges_of((is_old ? start.before : start.after).state());
    const std::vector<Edge> all{edges.begin(), edges.end()};
    for (const Edge &edge : all)
        add(branch(is_old ? kOldMark : kNewMark, edge), 0);
}

void DifferenceGroups::count_prefixes() {
    pairs_.front().prefixes = 1;
    for (size_t i = children_first_.size(); i-- > 0;) {
        PairFacts &facts = pairs_[children_first_[i]];
        for (const Link &link : facts.parents)
            facts.prefixes += pairs_[link.from].prefixes;
    }
}

void DifferenceGroups::grow() {
    const size_t max = kFreeSize + kSizeFactor * dfa_.nfa().size();
    if (++size_ > max)
        tool::fail("more than %zu differences at different places; run without --group", max);
}

// ---- Grouping ----

bool DifferenceGroups::is_leaf(Target target) {
    return target.is_final_leaf() ||
           (dfa_.is_final(target) && dfa_.edges_of(target.state()).empty());
}

DifferenceGroups::Key DifferenceGroups::key_of(const Difference &difference) {
    State state = 0;
    if (difference.to.exists())
        state = is_leaf(difference.to) ? kLeaf : product_.representative(difference.to.state());
    std::string change;
    if (difference.change)
        change.append(difference.is_line ? "line " : "word ").append(difference.change->text());
    return {difference.kind, difference.mark,   difference.symbol, difference.new_symbol,
            state,           difference.output, std::move(change)};
}

void DifferenceGroups::add(Difference difference, PairNumber number) {
    const auto [entry, is_new] = index_.try_emplace(key_of(difference), differences_.size());
    if (is_new)
        differences_.push_back(std::move(difference));
    differences_[entry->second].places.push_back(number);
    grow();
}

bool DifferenceGroups::has_equal_lines(const Difference &old_branch, const Difference &new_branch) {
    return old_branch.lines == new_branch.lines &&
           ((is_leaf(old_branch.to) && is_leaf(new_branch.to) && dfa_.labels() == nullptr) ||
            !product_.differs({old_branch.to, new_branch.to}));
}

// A keyword can only be renamed to one with equally many lines.
void DifferenceGroups::find_renamed(std::vector<Difference> &branches) {
    std::map<tool::Count, std::array<std::vector<Difference *>, 2>> keywords;
    for (Difference &branch : branches)
        if (branch.output == kNoValues)
            keywords[branch.lines][branch.mark == kOldMark ? 0 : 1].push_back(&branch);
    for (const auto &[lines, sides] : keywords)
        if (std::max(sides[0].size(), sides[1].size()) <= kMaxComparisons)
            find_renamed(sides[0], sides[1]);
}

// A keyword is renamed if its lines are equal to those of exactly one new keyword, and no other old
// keyword has such lines.
void DifferenceGroups::find_renamed(const std::vector<Difference *> &olds,
                                    const std::vector<Difference *> &news) {
    for (Difference *const old_branch : olds) {
        const auto is_equal = [&](const Difference *new_branch) {
            return has_equal_lines(*old_branch, *new_branch);
        };
        if (std::ranges::count_if(news, is_equal) != 1)
            continue;
        Difference *const partner = *std::ranges::find_if(news, is_equal);
        if (std::ranges::count_if(olds, [&](const Difference *other) {
                return has_equal_lines(*other, *partner);
            }) != 1)
            continue;
        old_branch->kind = Kind::kRenamed;
        old_branch->mark = kChangedMark;
        old_branch->new_symbol = partner->symbol;
        partner->kind = Kind::kMatched;
    }
}

// A branch is moved if the new tree has a branch with the same word and lines in other places.
void DifferenceGroups::find_moved() {
    std::map<std::tuple<Symbol, Values, tool::Count>, std::vector<Difference *>> added;
    for (Difference &difference : differences_)
        if (difference.kind == Kind::kBranch && difference.mark == kNewMark)
            added[{difference.symbol, difference.output, difference.lines}].push_back(&difference);
    for (Difference &difference : differences_) {
        if (difference.kind != Kind::kBranch || difference.mark != kOldMark ||
            difference.lines < kMinMovedLines)
            continue;
        auto &candidates = added[{difference.symbol, difference.output, difference.lines}];
        size_t compared = 0;
        for (Difference *&candidate : candidates) {
            if (++compared > kMaxComparisons)
                break;
            if (!has_equal_lines(difference, *candidate))
                continue;
            difference.mark = kChangedMark;
            difference.new_places = std::move(candidate->places);
            candidate->kind = Kind::kMatched;
            std::erase(candidates, candidate);
            break;
        }
    }
}

// ---- Writing ----

// The words of a branch up to where its lines part, or a limit.
DifferenceGroups::Words DifferenceGroups::words_of(const Difference &difference) {
    Words words{symbol_text(difference.symbol), difference.kind == Kind::kLine};
    if (difference.kind == Kind::kRenamed)
        words.are_whole = is_leaf(difference.to);
    if (difference.kind != Kind::kBranch)
        return words;
    Target to = difference.to;
    for (size_t count = 1; count < kMaxWords && !dfa_.is_final(to); ++count) {
        const auto edges = dfa_.edges_of(to.state());
        if (edges.size() != 1)
            break;
        words.text.append(" ").append(symbol_text(edges.front().symbol));
        to = dfa_.without_pending(Target{edges.front().to});
    }
    words.are_whole = is_leaf(to);
    return words;
}

// A difference without the words before it.
std::string DifferenceGroups::text_of(const Difference &difference) {
    auto [text, is_whole] = words_of(difference);
    if (difference.kind == Kind::kChanged)
        return text + (difference.is_line ? ": " : " ...: ") + difference.change->text();
    if (difference.kind == Kind::kRenamed)
        text += " -> " + symbol_text(difference.new_symbol);
    if (!is_whole)
        text += " ...: " + counted(difference.lines, "line");
    return text;
}

void DifferenceGroups::write(const Difference &difference) {
    if (form_ == Form::kJson)
        return write_json(difference);
    const bool is_moved = !difference.new_places.empty();
    const tool::Count places = count(difference.places);
    const std::string text = text_of(difference);
    output_ << difference.mark << ' ';
    if (is_moved) {
        output_ << "... " << text << " moved\n";
        write_places("  - ", difference.places);
        write_places("  + ", difference.new_places);
    } else if (places == 1) {
        const std::string prefix = prefixes_of(difference.places).front();
        output_ << prefix << (prefix.empty() ? "" : " ") << text << '\n';
    } else {
        output_ << "... " << text << ", in " << counted(places, "place") << '\n';
        write_places("    ", difference.places);
    }
}

void DifferenceGroups::write_places(const char *margin, const std::vector<PairNumber> &places) {
    const std::vector<std::string> prefixes = prefixes_of(places);
    for (const std::string &prefix : prefixes)
        output_ << margin << (prefix.empty() ? "(first word)" : prefix) << '\n';
    tool::Count rest = count(places);
    if (!rest.is_beyond())
        rest -= prefixes.size();
    if (!rest.is_zero())
        output_ << margin << "... and " << rest.text() << " more\n";
}

void DifferenceGroups::write_json(const Difference &difference) {
    const bool is_moved = !difference.new_places.empty();
    const auto [words, is_whole] = words_of(difference);
    json_.begin_object().member("difference", difference.kind == Kind::kRenamed ? "renamed"
                                              : is_moved                        ? "moved"
                                                         : difference_name(difference.mark));
    json_.member("words", words);
    if (difference.kind == Kind::kRenamed)
        json_.member("new_words", symbol_text(difference.new_symbol));
    if (difference.kind == Kind::kChanged)
        write_change(*difference.change, difference.is_line, json_);
    else
        json_.member("lines", difference.kind == Kind::kLine ? "1" : difference.lines.text());
    write_places_as_json("place_count", "places", difference.places);
    if (is_moved)
        write_places_as_json("new_place_count", "new_places", difference.new_places);
    json_.end_object().end_line();
}

void DifferenceGroups::write_places_as_json(const char *count_name, const char *name,
                                            const std::vector<PairNumber> &places) {
    json_.member(count_name, count(places).text());
    json_.member(name).begin_list();
    for (const std::string &prefix : prefixes_of(places))
        json_.text(prefix);
    json_.end_list();
}

tool::Count DifferenceGroups::count(const std::vector<PairNumber> &places) const {
    tool::Count sum = 0;
    for (const PairNumber number : places)
        sum += pairs_[number].prefixes;
    return sum;
}

std::vector<std::string>
DifferenceGroups::prefixes_of(const std::vector<PairNumber> &places) const {
    std::vector<std::string> prefixes;
    for (const PairNumber number : places)
        if (prefixes.size() < kMaxPlaces)
            add_prefixes(number, prefixes);
    return prefixes;
}

// Follows the links from a pair backwards; every pair is reached from the first one.
void DifferenceGroups::add_prefixes(PairNumber number, std::vector<std::string> &prefixes) const {
    struct Step {
        PairNumber number;
        size_t next_parent;
    };
    std::vector<Step> steps{{number, 0}};
    std::vector<Symbol> symbols; // from the end
    while (!steps.empty() && prefixes.size() < kMaxPlaces) {
        auto &[at, next] = steps.back();
        if (at == 0) {
            std::string &prefix = prefixes.emplace_back();
            for (size_t i = symbols.size(); i-- > 0;)
                prefix.append(prefix.empty() ? "" : " ").append(symbol_text(symbols[i]));
        }
        if (next == pairs_[at].parents.size()) {
            steps.pop_back();
            if (!symbols.empty())
                symbols.pop_back();
            continue;
        }
        const Link &link = pairs_[at].parents[next++];
        symbols.push_back(link.symbol);
        steps.push_back({link.from, 0});
    }
}

} // namespace diff
