// Records made once and written again and again.
#include "cmd_gen/dump_run_internal.h"

#include "atnode/walk.h"
#include "cmd_gen/dump.h"
#include "cmd_gen/output_block_internal.h"
#include "cmd_gen/standard_output_internal.h"
#include "feature/tsh/src/huge_pages_internal.h"
#include "feature/tsh/src/trace.h"
#include "parse_tree/tree_load.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// What the dump needs of each node, gathered when the walk first meets it: its record, as
// print_at_node writes it, and its child list, side by side in a few bytes.
class Records {
public:
    struct Place {
        uint32_t offset;
        uint16_t size; // 0 until the record is made; no record is empty
        uint8_t child_count;
    };

    Records() = default;
    ~Records() {
        if (stream_ != nullptr)
            fclose(stream_);
        free(captured_);
    }
    Records(const Records &) = delete;
    Records &operator=(const Records &) = delete;

    // Throws std::bad_alloc when memory runs out.
    Place of(uint16_t index) {
        if (index >= places_.size())
            places_.resize(index + size_t{1});
        if (places_[index].size == 0)
            places_[index] = gather(g_atn[index]);
        return places_[index];
    }

    // The record, readable in whole chunks until the next one is made.
    [[nodiscard]] std::string_view text_of(Place place) const {
        return {&bytes_[place.offset], place.size};
    }

    [[nodiscard]] uint16_t child_of(Place place, unsigned position) const {
        uint16_t child;
        memcpy(&child, &bytes_[place.offset + place.size + position * sizeof child], sizeof child);
        return child;
    }

private:
    Place gather(const tree_node_t &node) {
        const std::string_view text = capture(node);
        const std::string_view links{reinterpret_cast<const char *>(node.children),
                                     node.child_count * sizeof node.children[0]};
        bytes_.resize(used_); // without the slack of the record before
        reserve(used_ + text.size() + links.size() + tsh::kCopyChunk);
        bytes_.append(text).append(links).append(tsh::kCopyChunk, '\0');
        const Place place{static_cast<uint32_t>(used_), static_cast<uint16_t>(text.size()),
                          static_cast<uint8_t>(node.child_count)};
        used_ += text.size() + links.size();
        return place;
    }

    void reserve(size_t needed) {
        if (needed <= bytes_.capacity())
            return;
        bytes_.reserve(tsh::next_room(needed));
        tsh::prefer_huge_pages(bytes_.data(), bytes_.capacity());
    }

    std::string_view capture(const tree_node_t &node) {
        if (stream_ == nullptr)
            stream_ = open_memstream(&captured_, &captured_size_);
        if (stream_ == nullptr)
            throw std::bad_alloc();
        rewind(stream_);
        FILE *log = std::exchange(tsh_logfp, stream_);
        print_at_node(&node, TREE_DUMP_SHORT);
        tsh_logfp = log;
        if (fflush(stream_) != 0)
            throw std::bad_alloc();
        return {captured_, captured_size_};
    }

    std::vector<Place> places_;
    std::string bytes_;
    size_t used_ = 0;
    char *captured_ = nullptr;
    size_t captured_size_ = 0;
    FILE *stream_ = nullptr;
};

[[noreturn]] void end_run() {
    exit(status_of_output());
}

// The slow way, which needs no memory.
int32_t print_plainly(const tree_node_t *node, int32_t level) {
    print_at_node(node, level);
    if (ferror(stdout) != 0)
        end_run(); // a visit function cannot end the walk
    return 0;
}

// Preorder, as deep as the tree, which the loader has checked.
class DumpRun {
public:
    void print_below(uint16_t index) {
        Records::Place place{};
        try {
            place = records_.of(index);
        } catch (const std::bad_alloc &) {
            output_.drain();
            return atnode_traverse(g_atn + index, 1, 3, -1, print_plainly, TREE_DUMP_SHORT);
        }
        print(records_.text_of(place));
        for (unsigned position = 0; position < place.child_count; ++position)
            print_below(records_.child_of(place, position));
    }

private:
    void print(std::string_view text) {
        output_.take_until(tsh::copy_in_chunks(output_.room(), text)); // a record is short
        if (output_.failed())
            end_run();
    }

    Records records_;
    tsh::OutputBlock output_;
};

} // namespace

void dump_main_tree() {
    DumpRun().print_below(0);
}
