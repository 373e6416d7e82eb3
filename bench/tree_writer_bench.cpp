// Benchmark of the tree writer against zlib alone: the same bytes at the same level into the same
// kind of file.
#include "bench/ratio_report.h"
#include "tests/support/grammar.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <unistd.h>
#include <zlib.h>

namespace {

using grammar::keyword;
using grammar::Word;

constexpr subtree_path_t kPath{2, "show"};

// A subtree of about 19,000 nodes with the texts that a grammar has.
Word large_grammar() {
    std::mt19937 random{11};
    const auto word = [&](const std::string &kind) {
        const std::string token = kind + "-" + std::to_string(random() % 100000);
        Word made = keyword(token).named(token + "_" + std::to_string(random()));
        made.help("Sets the " + token + " of the cartridge").func_id("set_" + token);
        made.node().token_id = static_cast<uint32_t>(random());
        made.node().intf_mask = random();
        return made;
    };
    Word root = word("root");
    for (int i = 0; i < 120; ++i) {
        Word group = word("group");
        for (int j = 0; j < 50; ++j) {
            Word command = word("set").terminal();
            command.child(word("value").parameter(static_cast<uint32_t>(random())).terminal())
                .child(word("name"));
            group.child(command);
        }
        root.child(group);
    }
    return root;
}

gzFile open_output(const std::string &path) {
    gzFile file = gzopen(path.c_str(), "wb");
    if (file == nullptr) {
        perror(path.c_str());
        exit(1);
    }
    return file;
}

std::string inflated(const std::string &path) {
    std::string bytes(size_t{32} << 20U, '\0');
    gzFile file = gzopen(path.c_str(), "rb");
    bytes.resize(
        static_cast<size_t>(gzread(file, bytes.data(), static_cast<unsigned>(bytes.size()))));
    gzclose(file);
    return bytes;
}

} // namespace

int main(int argc, char **argv) {
    const std::string path = "/tmp/tree_writer_bench." + std::to_string(getpid());
    const Word root = large_grammar();
    const auto write_tree = [&](parser_node_t *unplaced) {
        gzFile file = open_output(path);
        write_tree_to_file(unplaced, 1, &kPath, file);
        gzclose(file);
    };
    write_tree(root.unplaced());
    const std::string record = inflated(path);

    benchmark::RegisterBenchmark("write_tree_to_file/ours", [&](benchmark::State &state) {
        for ([[maybe_unused]] auto round : state) {
            state.PauseTiming();
            parser_node_t *unplaced = root.unplaced();
            state.ResumeTiming();
            write_tree(unplaced);
        }
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(record.size()));
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("write_tree_to_file/baseline", [&](benchmark::State &state) {
        for ([[maybe_unused]] auto round : state) {
            gzFile file = open_output(path);
            gzwrite(file, record.data(), static_cast<unsigned>(record.size()));
            gzclose(file);
        }
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(record.size()));
    })->Unit(benchmark::kMillisecond);
    const int status = run_side_by_side(argc, argv, 1.2);
    unlink(path.c_str());
    return status;
}
