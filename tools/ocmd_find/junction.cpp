// Junctions are made by a walk over what may be passed, which does not recurse, and read by search
// in their keywords.
#include "tools/ocmd_find/junction.h"

#include "tools/support/grammar_fields.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <cctype>
#include <unordered_map>
#include <utility>

namespace find {

namespace {

std::string in_lower_case(std::string_view text) {
    std::string folded{text};
    for (char &c : folded)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return folded;
}

} // namespace

// Fills a junction.
class JunctionMaker {
public:
    JunctionMaker(const Forest &forest, Junction &junction)
        : forest_(forest), junction_(junction) {}

    void make() {
        for (from_ = 0; from_ < junction_.places_.size(); ++from_)
            look_from(junction_.places_[from_]);
        keep_best_endings();
        for (const Candidate &candidate : junction_.candidates_)
            (candidate.keyword.empty() ? junction_.values_ : junction_.keywords_)
                .push_back(&candidate);
        std::ranges::stable_sort(
            junction_.keywords_, {},
            [](const Candidate *candidate) -> const std::string & { return candidate->keyword; });
    }

private:
    // Nodes that are being met, below one that is passed or the place itself.
    struct Level {
        std::vector<NodeNumber> nodes;
        size_t next = 0;
        uint32_t over = Way::kNone;
        bool leaves_out = false;
    };

    void look_from(const Place &place) {
        if (place.node == Place::kStart) {
            walk({forest_.first()});
            return;
        }
        const tree_node_t &node = forest_.node(place.node);
        if (!place.is_entered && place.values < node.param_count) {
            add_candidate({place.node, from_}, place.values, "");
            return;
        }
        if (!place.is_entered && tool::has_line(node))
            add_ending({place.node, from_});
        if (place.is_entered || !tool::is_submode(node))
            walk({forest_.below(place.node)});
    }

    void walk(Level first) {
        way_.push_back(std::move(first));
        while (!way_.empty()) {
            Level &level = way_.back();
            if (level.next == level.nodes.size())
                way_.pop_back();
            else
                meet({level.nodes[level.next++], from_, level.over, level.leaves_out});
        }
    }

    void meet(const Way &way) {
        const tree_node_t &node = forest_.node(way.node);
        const std::string_view keyword = tool::text_of(node.token);
        const bool has_word = !keyword.empty() || node.param_count > 0;
        if (has_word)
            add_candidate(way, 0, in_lower_case(keyword));
        if (!has_word || node.optional != 0)
            pass(way, node, has_word);
    }

    // A submode is entered from the line's end alone, unless it is optional in its own way.
    void pass(Way way, const tree_node_t &node, bool leaves_out) {
        way.leaves_out = way.leaves_out || leaves_out;
        if (way_.size() > TREE_MAX_LEVELS || !note_if_better(way))
            return;
        if (tool::has_line(node))
            add_ending(way);
        if (tool::is_submode(node) && node.optional != TREE_OPTIONAL_SUBMODE_ENTERED)
            return;
        junction_.passed_.push_back({way.node, way.over});
        const auto over = static_cast<uint32_t>(junction_.passed_.size() - 1);
        way_.push_back({forest_.below(way.node), 0, over, way.leaves_out});
    }

    // True for the first way over a node and for the first that leaves nothing out.
    bool note_if_better(const Way &way) {
        const auto [known, is_new] = passed_.try_emplace(way.node, way.leaves_out);
        if (!is_new && (way.leaves_out || !known->second))
            return false;
        known->second = way.leaves_out;
        return true;
    }

    // Of several ways to a word, one that leaves nothing out is kept.
    void add_candidate(const Way &way, uint16_t value, std::string keyword) {
        const uint64_t key = uint64_t{way.node} << 17U | uint64_t{value} << 1U |
                             static_cast<uint64_t>(keyword.empty());
        const auto [place, is_new] = met_.try_emplace(key, junction_.candidates_.size());
        if (!is_new) {
            Candidate &known = junction_.candidates_[place->second];
            if (known.way.leaves_out && !way.leaves_out)
                known.way = way;
            return;
        }
        Candidate candidate{way, std::move(keyword), value, {}};
        const tree_node_t &node = forest_.node(way.node);
        if (value < node.param_count)
            candidate.check.emplace(forest_.types(), node.params[value]);
        junction_.candidates_.push_back(std::move(candidate));
    }

    void add_ending(const Way &way) { junction_.endings_.push_back(way); }

    // Where a node was passed twice, its better way is left.
    void keep_best_endings() {
        std::vector<Way> &endings = junction_.endings_;
        if (std::ranges::any_of(endings, [](const Way &way) { return !way.leaves_out; }))
            std::erase_if(endings, [](const Way &way) { return way.leaves_out; });
    }

    const Forest &forest_;
    Junction &junction_;
    uint32_t from_ = 0;
    std::vector<Level> way_;
    std::unordered_map<NodeNumber, bool> passed_; // whether the way over it leaves a word out
    // By node, value and whether its keyword has been read: which candidate.
    std::unordered_map<uint64_t, size_t> met_;
};

Junction::Junction(const Forest &forest, std::vector<Place> places) : places_(std::move(places)) {
    JunctionMaker{forest, *this}.make();
}

std::vector<NodeNumber> Junction::passed(const Way &way) const {
    std::vector<NodeNumber> nodes;
    for (uint32_t i = way.over; i != Way::kNone; i = passed_[i].before)
        nodes.push_back(passed_[i].node);
    return nodes;
}

Reading Junction::read(const TypedLine &line, size_t word) const {
    Reading reading;
    const TypedWord &typed = line.words()[word];
    const std::string folded = in_lower_case(typed.text);
    if (read_keyword(folded, reading))
        return reading;
    if (!typed.is_quoted)
        read_joined(line, word, folded, reading);
    if (reading.matches.empty() && reading.rest_matches.empty())
        for (const Candidate *candidate : values_)
            take_value(*candidate, line, word, 0, reading);
    return reading;
}

std::vector<const Candidate *>::const_iterator
Junction::first_from(std::string_view keyword) const {
    return std::ranges::lower_bound(
        keywords_, keyword, {},
        [](const Candidate *candidate) -> std::string_view { return candidate->keyword; });
}

// True when the word is the beginning of a keyword, or of several.
bool Junction::read_keyword(std::string_view folded, Reading &reading) const {
    const auto first = first_from(folded);
    for (auto one = first; one != keywords_.end() && (*one)->keyword.starts_with(folded); ++one) {
        if ((*first)->keyword == folded && (*one)->keyword != folded)
            break; // only the first is typed in full
        reading.matches.push_back({*one, {(*one)->way.node, 0, false}});
    }
    if (reading.matches.empty())
        return false;
    if (reading.matches.front().candidate->keyword != reading.matches.back().candidate->keyword)
        std::swap(reading.matches, reading.ambiguous);
    return true;
}

// A keyword with its value right behind it, as the listing spells the two.
void Junction::read_joined(const TypedLine &line, size_t word, std::string_view folded,
                           Reading &reading) const {
    for (size_t length = std::min<size_t>(folded.size(), TREE_TOKEN_SIZE) - 1;
         length > 0 && reading.matches.empty() && reading.rest_matches.empty(); --length) {
        const std::string_view keyword = folded.substr(0, length);
        for (auto one = first_from(keyword); one != keywords_.end() && (*one)->keyword == keyword;
             ++one)
            if ((*one)->check)
                take_value(**one, line, word, length, reading);
    }
}

// Takes the word, but for as many bytes of a keyword at its front, as the value of a candidate.
void Junction::take_value(const Candidate &candidate, const TypedLine &line, size_t word,
                          size_t keyword, Reading &reading) {
    const bool takes_rest = candidate.check->takes_rest();
    const std::string_view text = takes_rest ? line.rest_from(word) : line.words()[word].value();
    if (std::optional<std::string> fault = candidate.check->fault_of(text.substr(keyword))) {
        if (reading.value == nullptr) {
            reading.value = &candidate;
            reading.value_fault = std::move(*fault);
        }
        return;
    }
    const auto values = static_cast<uint16_t>(candidate.value + 1);
    (takes_rest ? reading.rest_matches : reading.matches)
        .push_back({&candidate, {candidate.way.node, values, false}});
}

} // namespace find
