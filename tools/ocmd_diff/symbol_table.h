// The alphabet of the automata: the parts of lines between two spaces, each with a number.
#pragma once

#include "base/chunk_copy.h"
#include "tools/ocmd_diff/sequence_table.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace diff {

/// A part of a line between two spaces, or between a space and the start or end of the line.
using Symbol = uint32_t;

class SymbolTable {
public:
    Symbol number_of(std::string_view text) { return texts_.number_of(text); }

    /// Returns the text of a symbol, which a newline follows; may be read in complete chunks.
    [[nodiscard]] std::string_view text(Symbol symbol) const {
        const auto text = texts_[symbol];
        return {text.data(), text.size()};
    }

    [[nodiscard]] size_t size() const { return texts_.size(); }

private:
    using Texts = SequenceTable<char, '\n'>;
    static_assert(Texts::kReadable >= base::kCopyChunk);
    Texts texts_;
};

/// A map from symbols to numbers that is cleared in constant time.
class SymbolMap {
public:
    void clear() {
        if (++round_ != 0)
            return;
        entries_.assign(entries_.size(), {});
        round_ = 1;
    }

    /// Maps the symbol to the value, unless it has one. @return null, or the present value.
    const uint32_t *insert(Symbol symbol, uint32_t value) {
        if (symbol >= entries_.size())
            entries_.resize(2 * (symbol + size_t{1}));
        Entry &entry = entries_[symbol];
        if (entry.round == round_)
            return &entry.value;
        entry = {round_, value};
        return nullptr;
    }

    /// Returns the value, or null.
    [[nodiscard]] const uint32_t *find(Symbol symbol) const {
        return symbol < entries_.size() && entries_[symbol].round == round_
                   ? &entries_[symbol].value
                   : nullptr;
    }

private:
    struct Entry {
        uint32_t round = 0;
        uint32_t value = 0;
    };
    std::vector<Entry> entries_;
    uint32_t round_ = 1;
};

} // namespace diff
