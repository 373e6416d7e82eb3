// What the splitters share: owners of texts and lists, and how a list is built.
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

/// The longest line that is split. Offsets in it, and the size of a copy with some bytes to spare,
/// fit 31 bits; a longer line is one that there is no memory for: malloc_failed().
constexpr size_t kLongestLine = INT32_MAX - 16;

/// A list without words, or null when there is no memory.
OwnedList new_list();

/// Adds a copy of a word to a list of fewer than STR_LIST_ENTRIES words.
/// @return false when there is no memory; the list is then unchanged.
bool append_word(str_list_t &list, std::string_view word, size_t offset);

} // namespace tsh
