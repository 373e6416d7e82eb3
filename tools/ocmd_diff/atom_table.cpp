// A hash table over texts that lie one behind the other.
#include "tools/ocmd_diff/atom_table.h"

#include "tools/support/text_output.h"

#include <functional>

namespace diff {

Atom AtomTable::number_of(std::string_view text) {
    const auto hash = static_cast<uint32_t>(std::hash<std::string_view>{}(text));
    const size_t mask = slots_.size() - 1;
    for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const Atom atom = slots_[slot];
        if (atom == kFree) {
            slots_[slot] = static_cast<Atom>(places_.size());
            return add(text, hash);
        }
        if (places_[atom].hash == hash && this->text(atom) == text)
            return atom;
    }
}

Atom AtomTable::add(std::string_view text, uint32_t hash) {
    const size_t start = places_.empty() ? 0 : places_.back().start + places_.back().length + 1;
    bytes_.resize(start + text.size() + 1 + tool::kCopyChunk);
    text.copy(bytes_.data() + start, text.size());
    bytes_[start + text.size()] = '\n';
    places_.push_back({start, static_cast<uint32_t>(text.size()), hash});
    if (2 * places_.size() > slots_.size())
        grow();
    return static_cast<Atom>(places_.size() - 1);
}

void AtomTable::grow() {
    slots_.assign(2 * slots_.size(), kFree);
    const size_t mask = slots_.size() - 1;
    for (size_t atom = 0; atom < places_.size(); ++atom) {
        size_t slot = places_[atom].hash & mask;
        while (slots_[slot] != kFree)
            slot = (slot + 1) & mask;
        slots_[slot] = static_cast<Atom>(atom);
    }
}

} // namespace diff
