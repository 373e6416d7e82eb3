// What is told of a line: all about the command it is, or why it is none.
#pragma once

#include "tools/ocmd_find/line_finder.h"
#include "tools/support/text_output.h"

#include <cstddef>
#include <string>

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
};

/// The line must not be complete. Naming a word that resembles an unknown one takes some time.
Refusal refusal_of(const Forest &forest, const TypedLine &line, const Resolution &resolution,
                   bool names_nearest);

/// Writes the refusal to standard error, the line with a caret under what is to blame, and what
/// may stand there.
void tell_refusal(const Forest &forest, const TypedLine &line, const Resolution &resolution);

} // namespace find
