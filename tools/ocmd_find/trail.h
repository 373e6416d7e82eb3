// The way that a line has taken, node by node.
#pragma once

#include "tools/ocmd_find/line_finder.h"

#include <string>

namespace find {

/// How a line is spelled that leads to a node.
struct Trail {
    std::string command; ///< As ocmd_show --commands spells it, left-out words included.
    std::string line;    ///< As it was typed, keywords in full.
};

/// The trail of a line to an ending of the junction at its end, or to one of its places.
Trail trail_of(const Forest &forest, const TypedLine &line, const Resolution &resolution,
               const Way &ending);

/// The word of a candidate as the listing spells it; of a node that has been read in part, the
/// value that comes next.
std::string word_of(const Forest &forest, const Candidate &candidate);

} // namespace find
