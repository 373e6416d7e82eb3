// Sequences of items, each known by a number.
#pragma once

#include "base/huge_pages.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace diff {

/// A hash table over sequences that lie one behind the other, each with the items `End` behind it.
template <typename Item, Item... End> class SequenceTable {
public:
    SequenceTable() : slots_(kFirstSlots, kFree) {}

    /// The number of a sequence; a new one gets the next number.
    uint32_t number_of(std::span<const Item> sequence) {
        const uint32_t hash = hash_of(sequence);
        const size_t mask = slots_.size() - 1;
        for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
            const uint32_t number = slots_[slot];
            if (number == kFree) {
                slots_[slot] = static_cast<uint32_t>(places_.size());
                return add(sequence, hash);
            }
            if (places_[number].hash == hash && std::ranges::equal((*this)[number], sequence))
                return number;
        }
    }

    /// Stays where it is until the next number_of. So many items more may be read behind it.
    static constexpr size_t kReadable = 32;
    [[nodiscard]] std::span<const Item> operator[](uint32_t number) const {
        return {items_.data() + places_[number].start, places_[number].length};
    }

    [[nodiscard]] size_t size() const { return places_.size(); }

private:
    static constexpr size_t kFirstSlots = 1024; // a power of two, as all sizes are
    static constexpr uint32_t kFree = UINT32_MAX;

    struct Place {
        size_t start;
        uint32_t length;
        uint32_t hash;
    };

    static uint32_t hash_of(std::span<const Item> sequence) {
        const std::string_view bytes{reinterpret_cast<const char *>(sequence.data()),
                                     sequence.size_bytes()};
        return static_cast<uint32_t>(std::hash<std::string_view>{}(bytes));
    }

    uint32_t add(std::span<const Item> sequence, uint32_t hash) {
        items_.resize(used_ + sequence.size() + sizeof...(End) + kReadable);
        places_.push_back({used_, static_cast<uint32_t>(sequence.size()), hash});
        Item *place = std::ranges::copy(sequence, items_.data() + used_).out;
        ((*place++ = End), ...);
        used_ = static_cast<size_t>(place - items_.data());
        if (2 * places_.size() > slots_.size())
            grow();
        return static_cast<uint32_t>(places_.size() - 1);
    }

    void grow() {
        slots_.assign(2 * slots_.size(), kFree);
        const size_t mask = slots_.size() - 1;
        for (size_t number = 0; number < places_.size(); ++number) {
            size_t slot = places_[number].hash & mask;
            while (slots_[slot] != kFree)
                slot = (slot + 1) & mask;
            slots_[slot] = static_cast<uint32_t>(number);
        }
    }

    base::HugeVector<Item> items_;
    size_t used_ = 0;
    base::HugeVector<Place> places_;
    std::vector<uint32_t> slots_; // open addressing by hash
};

} // namespace diff
