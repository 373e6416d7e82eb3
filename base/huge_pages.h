// Large blocks of memory on huge pages.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace base {

/// Blocks from this size on are worth asking for: wherever they begin, one whole huge page of 2 MB
/// fits. To fill a fresh block of 1 or 2 MB takes the same time either way, one of 4 MB half as
/// long with huge pages (6.8 ms for 13.2), one of 16 MB a seventh.
constexpr size_t kHugeBlock = size_t{4} << 20U;

/// Asks for huge pages below a large block that is about to be filled: touching page after page
/// costs more than the filling. It is no more than advice, so nothing depends on it being taken.
inline void prefer_huge_pages(void *block, size_t size) {
    if (size < kHugeBlock)
        return;
    // Pages are advised whole; those that the block shares with others are left out.
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t shared = (page - reinterpret_cast<uintptr_t>(block) % page) % page;
    madvise(static_cast<char *>(block) + shared, (size - shared) / page * page, MADV_HUGEPAGE);
}

/// Bytes to take for a table that has outgrown its room: few at first, which do for most trees, and
/// then enough for a large tree at once, on huge pages.
constexpr size_t next_room(size_t needed) {
    constexpr size_t kFirstRoom = 65536;
    const size_t twice = needed + std::min(needed, SIZE_MAX - needed);
    return std::max(twice, needed > kFirstRoom ? kHugeBlock : kFirstRoom);
}

/// Allocator for large vectors: their blocks begin at a huge page and prefer such pages. Only pages
/// that are written to take memory.
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

} // namespace base
