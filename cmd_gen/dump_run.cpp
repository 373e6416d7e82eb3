// Records captured as texts and written again and again.
#include "cmd_gen/dump_run_internal.h"

#include "atnode/walk.h"
#include "cmd_gen/dump.h"
#include "cmd_gen/output_block_internal.h"
#include "cmd_gen/standard_output_internal.h"
#include "feature/tsh/src/trace.h"
#include "parse_tree/tree_load.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {

// The texts of records, by node index, as print_at_node writes them on its stream.
class RecordTexts {
public:
    RecordTexts() = default;
    ~RecordTexts() {
        if (stream_ != nullptr)
            fclose(stream_);
        free(captured_);
    }
    RecordTexts(const RecordTexts &) = delete;
    RecordTexts &operator=(const RecordTexts &) = delete;

    // The record, readable in whole chunks. Throws std::bad_alloc when memory runs out.
    std::string_view of(const tree_node_t *node, int32_t level) {
        if (places_.empty())
            places_.resize(TREE_MAX_NODES);
        Place &place = places_[static_cast<size_t>(node - g_atn)];
        if (place.size == 0)
            place = capture(node, level);
        return {texts_.data() + place.offset, place.size};
    }

private:
    struct Place {
        uint32_t offset;
        uint32_t size; // 0 until the record is made; no record is empty
    };

    Place capture(const tree_node_t *node, int32_t level) {
        if (stream_ == nullptr)
            stream_ = open_memstream(&captured_, &captured_size_);
        if (stream_ == nullptr)
            throw std::bad_alloc();
        rewind(stream_);
        FILE *log = tsh_logfp;
        tsh_logfp = stream_;
        print_at_node(node, level);
        tsh_logfp = log;
        if (fflush(stream_) != 0)
            throw std::bad_alloc();
        const Place place{static_cast<uint32_t>(used_), static_cast<uint32_t>(captured_size_)};
        texts_.resize(used_); // without the slack of the record before
        texts_.append(captured_, captured_size_).append(tsh::kCopyChunk, '\0');
        used_ += captured_size_;
        return place;
    }

    std::vector<Place> places_;
    std::string texts_;
    size_t used_ = 0;
    char *captured_ = nullptr;
    size_t captured_size_ = 0;
    FILE *stream_ = nullptr;
};

struct DumpRun {
    RecordTexts texts;
    tsh::OutputBlock output;

    void print(const tree_node_t *node, int32_t level) {
        try {
            const std::string_view text = texts.of(node, level);
            char *place = output.room_for(text.size() + tsh::kCopyChunk);
            output.take_until(tsh::copy_in_chunks(place, text));
        } catch (const std::bad_alloc &) {
            output.drain();
            print_at_node(node, level); // slower, but needs no memory
        }
    }
};

// What a visit function, which gets only a node and a number, has to reach.
DumpRun *run;

int32_t print_record(const tree_node_t *node, int32_t level) {
    run->print(node, level);
    if (run->output.failed() || ferror_unlocked(stdout) != 0)
        exit(status_of_output()); // a visit function cannot end the walk
    return 0;
}

} // namespace

void dump_main_tree() {
    DumpRun this_run;
    run = &this_run;
    atnode_traverse(atnode_root, 1, 3, -1, print_record, TREE_DUMP_SHORT);
}
