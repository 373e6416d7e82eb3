// Common parts of the splitters: owners of strings and lists, and building of lists.
#pragma once

#include "base/owners.h"
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/memory_internal.h"
#include "feature/tsh/src/str_list.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tsh {

using OwnedText = std::unique_ptr<char, base::Releaser<tsh_free>>;
using OwnedList = std::unique_ptr<str_list_t, base::Releaser<str_list_free>>;

/// Maximum length of a line. Offsets, and the size of a copy with some extra bytes, fit into 31
/// bits. A longer line is treated as out of memory: malloc_failed().
constexpr size_t kLongestLine = INT32_MAX - 16;

/// Returns a list without words, or null if out of memory.
OwnedList new_list();

/// Adds a copy of a word to a list of fewer than STR_LIST_ENTRIES words.
/// @return false if out of memory; the list is then unchanged.
bool append_word(str_list_t &list, std::string_view word, size_t offset);

} // namespace tsh
