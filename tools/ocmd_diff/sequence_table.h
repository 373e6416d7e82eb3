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

/// A hash table over sequences in one array, each followed by the items `End`.
template <typename Item, Item... End> class SequenceTable {
public:
    SequenceTable() : slots_(kFirstSlots, kFree) {}

    /// Returns the number of a sequence; a new one gets the next number.
    uint32_t number_of(std::span<const Item> sequence) {
        const uint32_t hash = hash_of(sequence);
        const size_t mask = slots_.size() - 1;
        for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
            const uint32_t number = slots_[slot];
            if (number == kFree) {
                slots_[slot] = static_cast<uint32_t>(entries_.size());
                return add(sequence, hash);
            }
            if (entries_[number].hash == hash && std::ranges::equal((*this)[number], sequence))
                return number;
        }
    }

    /// Number of items that may be read after the end of a sequence.
    static constexpr size_t kReadable = 32;
    /// Returns a sequence, valid until the next number_of.
    [[nodiscard]] std::span<const Item> operator[](uint32_t number) const {
        return {items_.data() + entries_[number].start, entries_[number].length};
    }

    [[nodiscard]] size_t size() const { return entries_.size(); }

private:
    static constexpr size_t kFirstSlots = 1024; // a power of two, as all sizes are
    static constexpr uint32_t kFree = UINT32_MAX;

    struct Entry {
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
        entries_.push_back({used_, static_cast<uint32_t>(sequence.size()), hash});
        Item *end = std::ranges::copy(sequence, items_.data() + used_).out;
        ((*end++ = End), ...);
        used_ = static_cast<size_t>(end - items_.data());
        if (2 * entries_.size() > slots_.size())
            grow();
        return static_cast<uint32_t>(entries_.size() - 1);
    }

    void grow() {
        slots_.assign(2 * slots_.size(), kFree);
        const size_t mask = slots_.size() - 1;
        for (size_t number = 0; number < entries_.size(); ++number) {
            size_t slot = entries_[number].hash & mask;
            while (slots_[slot] != kFree)
                slot = (slot + 1) & mask;
            slots_[slot] = static_cast<uint32_t>(number);
        }
    }

    base::HugeVector<Item> items_;
    size_t used_ = 0;
    base::HugeVector<Entry> entries_;
    std::vector<uint32_t> slots_; // open addressing by hash
};

} // namespace diff
