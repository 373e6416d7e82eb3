// Large vectors on huge pages, which are quicker to come by than many small ones.
#pragma once

#include <cstddef>
#include <new>
#include <sys/mman.h>
#include <vector>

namespace tool {

/// Large blocks begin at a huge page and prefer such pages; where the system has none, nothing is
/// lost. Only pages that are written to take memory.
template <typename Item> class HugePages {
public:
    using value_type = Item;

    HugePages() = default;
    template <typename Other> explicit HugePages(const HugePages<Other> & /*other*/) {}

    Item *allocate(size_t count) {
        if (count * sizeof(Item) < kLarge)
            return static_cast<Item *>(::operator new(count * sizeof(Item)));
        const size_t size = (count * sizeof(Item) + kHugePage - 1) / kHugePage * kHugePage;
        void *block = ::operator new (size, std::align_val_t{kHugePage});
        madvise(block, size, MADV_HUGEPAGE); // a wish
        return static_cast<Item *>(block);
    }

    void deallocate(Item *block, size_t count) {
        if (count * sizeof(Item) < kLarge)
            ::operator delete(block);
        else
            ::operator delete (block, std::align_val_t{kHugePage});
    }

    friend bool operator==(const HugePages &, const HugePages &) { return true; }

private:
    static constexpr size_t kHugePage = size_t{1} << 21U;
    static constexpr size_t kLarge = kHugePage / 4; // bytes that are worth a page
};

template <typename Item> using HugeVector = std::vector<Item, HugePages<Item>>;

} // namespace tool
