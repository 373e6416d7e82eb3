// Memory allocation of the linker, and exit if out of memory.
#include "treelink/link_memory_internal.h"

#include "base/huge_pages.h"
#include "treelink/subtree_read.h"

void tsh::end_out_of_memory() {
    exit(TREELINK_OUT_OF_MEMORY);
}

void *tsh::allocate_bytes(size_t size) {
    void *block = malloc(std::max(size, size_t{1}));
    if (block == nullptr)
        end_out_of_memory();
    base::prefer_huge_pages(block, size);
    return block;
}
