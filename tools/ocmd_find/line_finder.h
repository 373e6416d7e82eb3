// Resolving whole lines, word by word from junction to junction.
#pragma once

#include "tools/ocmd_find/junction.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace find {

using JunctionPtr = std::shared_ptr<const Junction>;

/// Words of a line that were taken together: one, or the rest of the line.
struct Step {
    JunctionPtr from;
    std::vector<Match> matches; ///< Empty for the "/" that enters a submode.
    size_t word;
    bool takes_rest = false;
};

/// How far a line could be resolved.
struct Resolution {
    std::vector<Step> steps;
    JunctionPtr end;   ///< Where the line is after these.
    bool is_read;      ///< There is no word left.
    size_t word = 0;   ///< The word that was not taken,
    Reading reading{}; ///< and what became of it.

    /// Whether the line is a command.
    [[nodiscard]] bool is_complete() const { return is_read && !end->endings().empty(); }
};

class LineFinder {
public:
    explicit LineFinder(const Forest &forest) : forest_(forest) {}

    [[nodiscard]] const Forest &forest() const { return forest_; }

    /// Where lines begin.
    JunctionPtr start() { return junction_at({Place{}}); }

    /// What follows in the submodes that a line enters by its end there; null when it enters none.
    JunctionPtr submode_after(const Junction &end);

    /// Resolves a line from there on. With slashes, a word "/" enters the submode of the words
    /// before it.
    Resolution resolve(const JunctionPtr &start, const TypedLine &line, bool has_slashes);

private:
    // The latest place where the rest of the line could be taken as one value. It is when the words
    // of the line cannot be taken one by one.
    struct Fallback {
        size_t step_count;
        Step step;
    };
    struct PlacesHash {
        size_t operator()(const std::vector<Place> &places) const;
    };

    JunctionPtr junction_at(std::vector<Place> places);
    JunctionPtr junction_after(const std::vector<Match> &matches);
    bool enter_submode(Resolution &resolution, const TypedLine &line);
    void fall_back(Resolution &resolution, Fallback fallback);

    const Forest &forest_;
    std::unordered_map<std::vector<Place>, JunctionPtr, PlacesHash> junctions_;
    size_t kept_ = 0; // places, candidates and so on of these
};

} // namespace find
