// Splitting of a typical command line and of one of a megabyte. The yardstick does what no splitter
// can do without: it copies the line, cuts the copy with strtok_r and copies each word.
#include "feature/tsh/src/tokenizer.h"
#include "feature/tsh/src/word_split.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string typical_line() {
    return "show interface fc1/12 transceiver details | include temperature";
}

// Few enough words that nobody may stop before the end.
std::string megabyte_line() {
    std::string line;
    for (int word = 0; word < 500; ++word)
        line += std::string(2096, 'w') + ' ';
    return line;
}

// All of it between quotes, which both splitters take as one word.
std::string quoted_megabyte() {
    return '"' + std::string(1 << 20, ' ') + "x\"";
}

void copy_and_cut(benchmark::State &state, const std::string &line) {
    std::vector<char *> words(512);
    for (auto _ : state) {
        char *copy = strdup(line.c_str());
        size_t count = 0;
        char *rest = nullptr;
        for (char *word = strtok_r(copy, " \t\n\r\f\v", &rest); word != nullptr;
             word = strtok_r(nullptr, " \t\n\r\f\v", &rest))
            words[count++] = strdup(word);
        benchmark::DoNotOptimize(words.data());
        for (size_t i = 0; i < count; ++i)
            free(words[i]);
        free(copy);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(line.size()));
}

template <typename Split>
void split_whole(benchmark::State &state, const std::string &line, Split split) {
    for (auto _ : state) {
        str_list_t *list = split(line.c_str());
        benchmark::DoNotOptimize(list);
        str_list_free(list);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(line.size()));
}

void run_strsplit(benchmark::State &state, const std::string &line) {
    split_whole(state, line, [](const char *text) { return strsplit(text, " "); });
}

void run_tokenize(benchmark::State &state, const std::string &line) {
    split_whole(state, line, [](const char *text) { return tokenize(text, "|"); });
}

BENCHMARK_CAPTURE(copy_and_cut, typical, typical_line());
BENCHMARK_CAPTURE(run_strsplit, typical, typical_line());
BENCHMARK_CAPTURE(run_tokenize, typical, typical_line());
BENCHMARK_CAPTURE(copy_and_cut, megabyte, megabyte_line());
BENCHMARK_CAPTURE(run_strsplit, megabyte, megabyte_line());
BENCHMARK_CAPTURE(run_tokenize, megabyte, megabyte_line());
BENCHMARK_CAPTURE(run_strsplit, quoted_megabyte, quoted_megabyte());
BENCHMARK_CAPTURE(run_tokenize, quoted_megabyte, quoted_megabyte());

} // namespace

BENCHMARK_MAIN();
