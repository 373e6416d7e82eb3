// Records captured as texts and written again and again.
#include "cmd_gen/dump_run_internal.h"

#include "atnode/walk.h"
#include "cmd_gen/dump.h"
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

    // Throws std::bad_alloc when memory runs out.
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
        const Place place{static_cast<uint32_t>(texts_.size()),
                          static_cast<uint32_t>(captured_size_)};
        texts_.append(captured_, captured_size_);
        return place;
    }

    std::vector<Place> places_;
    std::string texts_;
    char *captured_ = nullptr;
    size_t captured_size_ = 0;
    FILE *stream_ = nullptr;
};

// What a visit function, which gets only a node and a number, has to reach.
RecordTexts *record_texts;

int32_t print_record(const tree_node_t *node, int32_t level) {
    try {
        const std::string_view text = record_texts->of(node, level);
        fwrite_unlocked(text.data(), 1, text.size(), stdout);
    } catch (const std::bad_alloc &) {
        print_at_node(node, level); // slower, but needs no memory
    }
    if (ferror_unlocked(stdout) != 0)
        exit(status_of_output()); // a visit function cannot end the walk
    return 0;
}

} // namespace

void dump_main_tree() {
    RecordTexts texts;
    record_texts = &texts;
    atnode_traverse(atnode_root, 1, 3, -1, print_record, TREE_DUMP_SHORT);
}
