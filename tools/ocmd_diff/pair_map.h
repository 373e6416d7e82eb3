// A hash map from pairs of numbers.
#pragma once

#include "base/huge_pages.h"

#include <cstddef>
#include <cstdint>

namespace diff {

/// Open addressing; entries are not removed. The pair of two UINT32_MAX is no key.
template <typename Value> class PairMap {
public:
    PairMap() : slots_(kFirstSlots) {}

    [[nodiscard]] size_t size() const { return size_; }

    /// Returns the value of a pair, or null. Valid until the next insertion.
    Value *find(uint32_t one, uint32_t other) {
        Slot &slot = slot_of(key_of(one, other));
        return slot.key == kFree ? nullptr : &slot.value;
    }

    /// Sets the value of a pair, unless it has one.
    void insert(uint32_t one, uint32_t other, const Value &value) {
        if (2 * (size_ + 1) > slots_.size())
            grow();
        Slot &slot = slot_of(key_of(one, other));
        if (slot.key != kFree)
            return;
        slot = {key_of(one, other), value};
        ++size_;
    }

private:
    static constexpr uint64_t kFree = UINT64_MAX;
    static constexpr size_t kFirstSlots = 1024; // a power of two, as all sizes are
    struct Slot {
        uint64_t key = kFree;
        Value value{};
    };

    static uint64_t key_of(uint32_t one, uint32_t other) { return uint64_t{one} << 32U | other; }

    Slot &slot_of(uint64_t key) {
        const size_t mask = slots_.size() - 1;
        const uint64_t hash = key * 0x9E3779B97F4A7C15;
        size_t index = (hash ^ hash >> 32U) & mask;
        while (slots_[index].key != kFree && slots_[index].key != key)
            index = (index + 1) & mask;
        return slots_[index];
    }

    void grow() {
        base::HugeVector<Slot> old(2 * slots_.size());
        old.swap(slots_);
        for (const Slot &slot : old)
            if (slot.key != kFree)
                slot_of(slot.key) = slot;
    }

    base::HugeVector<Slot> slots_;
    size_t size_ = 0;
};

} // namespace diff
