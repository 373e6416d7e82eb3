// Parts of the page of --html.
#pragma once

#include "tools/ocmd_show/page_tree.h"
#include "tools/support/text_output.h"

#include <string_view>

namespace show {

/// The page, in which {{title}}, {{data}} and {{reference}} stand for its other parts.
extern const std::string_view kPageTemplate;

/// Writes the nodes as JSON in which no HTML is found. The title is visible.
void write_page_data(const PageTree &tree, std::string_view title, tool::TextOutput &output);

/// Writes the nodes as HTML that needs no script, each once.
void write_page_reference(const PageTree &tree, tool::TextOutput &output);

} // namespace show
