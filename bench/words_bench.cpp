// Benchmark of splitting a typical command line and lines of one megabyte. The baseline does only
// the unavoidable part: it copies the line, cuts the copy with strtok_r and copies each word.
#include "bench/ratio_report.h"
#include "feature/tsh/src/tokenizer.h"
#include "feature/tsh/src/word_split.h"

#include <array>
#include <cstdlib>
#include <cstring>

namespace {

using Words = std::array<char *, STR_LIST_ENTRIES>;

void cut_copy(const char *line) {
    constexpr auto kWhiteSpace = " \t\n\r\f\v";
    Words words{};
    size_t count = 0;
    char *copy = strdup(line);
    char *rest = nullptr;
    for (char *word = strtok_r(copy, kWhiteSpace, &rest); word != nullptr;
         word = strtok_r(nullptr, kWhiteSpace, &rest))
        words[count++] = strdup(word);
    benchmark::DoNotOptimize(words.data());
    for (size_t i = 0; i < count; ++i)
        free(words[i]);
    free(copy);
}

void add_side(const std::string &name, const std::string &line, void (*split)(const char *)) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for ([[maybe_unused]] auto round : state)
            split(line.c_str());
    });
}

void add(const std::string &work, const std::string &line) {
    add_side("strsplit " + work + "/ours", line,
             [](const char *text) { str_list_free(strsplit(text, " ")); });
    add_side("strsplit " + work + "/baseline", line, cut_copy);
    add_side("tokenize " + work + "/ours", line,
             [](const char *text) { str_list_free(tokenize(text, "|")); });
    add_side("tokenize " + work + "/baseline", line, cut_copy);
}

} // namespace

int main(int argc, char **argv) {
    add("typical", "show cartridge b1/12 mirror-tilts readings | having temperature");
    // Fewer words than a list holds, so that nobody may stop before the end.
    std::string megabyte;
    for (int word = 0; word < 500; ++word)
        megabyte.append(2096, 'w').append(" ");
    add("megabyte", megabyte);
    return run_side_by_side(argc, argv, 2.5);
}
