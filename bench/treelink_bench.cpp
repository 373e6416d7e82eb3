// Benchmark of the linker.
//
// Without an option: links 512 gzip files of 60,000 nodes, in memory and to a file. The baseline
// does only the unavoidable part: it inflates the same files, concatenates the nodes and writes
// them with the same fsync. Both request huge pages. Set TMPDIR to a directory in memory to exclude
// the disk.
// --growth: links chains of one-node subtrees from 4 files, each subtree attached to another: best
// links every parent before its children, worst after them, random in any order.
#include "base/huge_pages.h"
#include "bench/ratio_report.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_writer.h"
#include "treelink/link_driver.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>
#include <zlib.h>

namespace {

struct Free {
    void operator()(void *block) const { free(block); }
};
using Array = std::unique_ptr<tree_node_t[], Free>;

struct Subtree {
    std::vector<tree_node_t> nodes;
    std::string attach_path;
};

std::string numbered(std::string text, size_t number) {
    return text.append(std::to_string(number));
}

// A folder of subtree files, the first of them the root file.
class ParFiles {
public:
    ParFiles() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tshXXXXXX").string();
        folder_ = mkdtemp(pattern.data());
    }
    ~ParFiles() { std::filesystem::remove_all(folder_); }
    ParFiles(const ParFiles &) = delete;
    ParFiles &operator=(const ParFiles &) = delete;

    void add(std::vector<Subtree> subtrees) {
        const std::string name = numbered(folder_ + "/", names.size()).append(".par");
        gzFile file = gzopen(name.c_str(), "wb");
        for (Subtree &subtree : subtrees) {
            subtree_path_t path;
            populate_subtree_path(&path, 2, subtree.attach_path.c_str());
            write_array_tree_to_file(subtree.nodes.data(),
                                     static_cast<uint32_t>(subtree.nodes.size()), 1, &path, file, 1,
                                     1, 0);
            node_count += subtree.nodes.size();
        }
        gzclose(file);
        names.push_back(name);
        if (names.size() == 1)
            return;
        list->last_index = static_cast<int32_t>(names.size()) - 2;
        strcpy(list->entries[list->last_index].file_name, name.c_str());
    }

    [[nodiscard]] std::string output() const { return folder_ + "/main.pars"; }

    std::vector<std::string> names;
    size_t node_count = 0;
    std::unique_ptr<par_file_list_t> list = std::make_unique<par_file_list_t>();

private:
    std::string folder_;
};

tree_node_t node(const std::string &name) {
    tree_node_t node{};
    snprintf(node.name, sizeof node.name, "%s", name.c_str());
    snprintf(node.token, sizeof node.token, "%.31s", name.c_str());
    snprintf(node.help, sizeof node.help, "Show or set %s", name.c_str());
    snprintf(node.func_id, sizeof node.func_id, "fn_%s", name.c_str());
    node.token_id = static_cast<uint32_t>(std::hash<std::string>{}(name));
    return node;
}

// A subtree in which every node has up to eight children.
Subtree bushy_subtree(const std::string &prefix, size_t size, const std::string &attach_path) {
    constexpr size_t kChildren = 8;
    Subtree subtree{{}, attach_path};
    for (size_t i = 0; i < size; ++i) {
        subtree.nodes.push_back(node(numbered(prefix + "_", i)));
        if (i == 0)
            continue;
        tree_node_t &parent = subtree.nodes[(i - 1) / kChildren];
        parent.children[parent.child_count++] = static_cast<uint16_t>(i);
    }
    return subtree;
}

const ParFiles &grammar() {
    static const std::unique_ptr<ParFiles> files = [] {
        constexpr size_t kFiles = 512;
        constexpr size_t kNodes = 60000;
        auto made = std::make_unique<ParFiles>();
        for (size_t i = 0; i < kFiles; ++i) {
            const size_t size = kNodes / kFiles + (i < kNodes % kFiles ? 1 : 0);
            const std::string above = numbered(numbered("part", i / 4).append("_"), i % 100);
            made->add({bushy_subtree(numbered("part", i), size, i == 0 ? "" : above)});
        }
        return made;
    }();
    return *files;
}

void expect(bool good, const char *what) {
    if (good)
        return;
    fprintf(stderr, "%s\n", what);
    exit(EXIT_FAILURE);
}

Array inflate_and_copy(const ParFiles &files) {
    const size_t size = files.node_count * sizeof(tree_node_t);
    Array array{static_cast<tree_node_t *>(malloc(size))};
    base::prefer_huge_pages(array.get(), size);
    std::vector<tree_node_t> read;
    size_t copied = 0;
    for (const std::string &name : files.names) {
        gzFile file = gzopen(name.c_str(), "rb");
        subtree_header_t header;
        gzread(file, &header, sizeof header);
        subtree_path_t path;
        gzread(file, path.path, __builtin_bswap32(header.path_len));
        const uint32_t bytes = __builtin_bswap32(header.tree_bytes);
        read.resize(bytes / sizeof(tree_node_t));
        gzread(file, read.data(), bytes);
        gzclose(file);
        memcpy(array.get() + copied, read.data(), bytes);
        copied += read.size();
    }
    expect(copied == files.node_count, "the baseline copied too few nodes");
    return array;
}

void write_durably(const Array &array, size_t count, const std::string &output) {
    const std::string beside = output + ".new";
    const int descriptor = open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const auto bytes = static_cast<ssize_t>(count * sizeof(tree_node_t));
    const bool written = write(descriptor, array.get(), static_cast<size_t>(bytes)) == bytes;
    expect(written && fsync(descriptor) == 0, "the baseline failed to write");
    close(descriptor);
    rename(beside.c_str(), output.c_str());
}

void link_files(benchmark::State &state, const ParFiles &files) {
    for (auto _ : state) {
        tree_node_t *tree = nullptr;
        const int32_t count =
            get_linked_parse_tree(&tree, files.list.get(), files.names[0].c_str());
        expect(static_cast<size_t>(count) == files.node_count, "the link is short");
        free(tree);
    }
}

void link(benchmark::State &state) {
    link_files(state, grammar());
}

void inflate(benchmark::State &state) {
    const ParFiles &files = grammar();
    for (auto _ : state)
        inflate_and_copy(files);
}

void link_to_file(benchmark::State &state) {
    const ParFiles &files = grammar();
    for (auto _ : state)
        expect(update_main_parse_tree_file(files.list.get(), files.names[0].c_str(),
                                           files.output().c_str(), 0) == 0,
               "the link cannot write");
}

void inflate_to_file(benchmark::State &state) {
    const ParFiles &files = grammar();
    for (auto _ : state)
        write_durably(inflate_and_copy(files), files.node_count, files.output());
}

enum class Order { kBest, kWorst, kRandom };

// Subtrees are linked from the last read to the first, so the parent has to be read last.
void growth(benchmark::State &state, Order order) {
    constexpr size_t kFiles = 4;
    std::vector<size_t> numbers(static_cast<size_t>(state.range(0)));
    std::iota(numbers.begin(), numbers.end(), 1);
    if (order == Order::kBest)
        std::ranges::reverse(numbers);
    if (order == Order::kRandom)
        std::ranges::shuffle(numbers, std::mt19937{1});
    ParFiles files;
    files.add({{{node("n0")}, ""}});
    for (size_t i = 0; i < kFiles; ++i) {
        std::vector<Subtree> subtrees;
        for (size_t k = numbers.size() * i / kFiles; k < numbers.size() * (i + 1) / kFiles; ++k)
            subtrees.push_back({{node(numbered("n", numbers[k]))}, numbered("n", numbers[k] - 1)});
        files.add(std::move(subtrees));
    }
    link_files(state, files);
}

void growth_sizes(benchmark::internal::Benchmark *growing) {
    growing->ArgsProduct({{1000, 2000, 4000, 8000, 10000, 16000}})->Unit(benchmark::kMillisecond);
}

int measure_growth(int argc, char **argv) {
    const std::pair<const char *, Order> orders[] = {
        {"best", Order::kBest}, {"worst", Order::kWorst}, {"random", Order::kRandom}};
    for (const auto &[name, order] : orders)
        growth_sizes(benchmark::RegisterBenchmark(name, growth, order));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc > 1 && argv[1] == std::string_view{"--growth"})
        return measure_growth(argc - 1, argv + 1);
    const std::pair<const char *, void (*)(benchmark::State &)> pairs[] = {
        {"in memory/ours", link},
        {"in memory/baseline", inflate},
        {"to a file/ours", link_to_file},
        {"to a file/baseline", inflate_to_file}};
    for (const auto &[name, work] : pairs)
        benchmark::RegisterBenchmark(name, work)->Unit(benchmark::kMillisecond);
    return run_side_by_side(argc, argv, 1.2);
}
