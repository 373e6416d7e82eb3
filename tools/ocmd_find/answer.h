// What is told of a line: all about the command it is, or why it is none.
#pragma once

#include "tools/ocmd_find/line_finder.h"
#include "tools/support/text_output.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace find {

/// Writes all that is known of a line whose words were all taken, for each node it leads to, and
/// what may follow.
void print_answer(LineFinder &finder, const TypedLine &line, const Resolution &resolution,
                  tool::TextOutput &output);

/// Why a line is no command, and which bytes of it are to blame; none when its end is.
struct Refusal {
    std::string what;
    size_t place;
    size_t length;
    bool is_unknown = false; ///< They do not even begin with a word of the tree.
};

/// The line must not be complete.
Refusal refusal_of(const Forest &forest, const TypedLine &line, const Resolution &resolution);

/// ", did you mean 'x'?" for the keyword that comes closest to a word at any of these junctions, or
/// nothing.
std::string suggestion_for(std::string_view word, std::span<const JunctionPtr> junctions);

/// Writes the refusal to standard error, the line with a caret under what is to blame, and what
/// may stand there.
void tell_refusal(const Forest &forest, const TypedLine &line, const Resolution &resolution);

} // namespace find
