// Fuzzer of the resolver: the input is a small tree and lines, which are resolved, completed and
// entered in a context, with any options and hidden nodes.
//
// Reaches: tsh_resolve, tsh_complete, tsh_context_enter, tsh_context_admit
#include "fuzz/small_tree.h"
#include "resolve/resolver.h"

#include <cstring>
#include <vector>

namespace {

int32_t admit(const tree_node_t *node, void *letter) {
    return node->name[1] == *static_cast<const char *>(letter) ? 0 : 1;
}

// Checks that everything an answer points to exists and is inside the line.
void detect_format(const tsh_answer_t *answer, size_t length) {
    const tsh_range_t range = tsh_answer_range(answer);
    want(range.begin <= range.end && range.end <= length, "a range lies in the line");
    size_t bytes = strlen(tsh_answer_text(answer)) + strlen(tsh_answer_common(answer));
    for (uint32_t n = 0; n < tsh_answer_reading_count(answer); ++n) {
        const tsh_reading_t *reading = tsh_answer_reading(answer, n);
        for (uint32_t i = 0; i < reading->word_count; ++i) {
            const tsh_word_t &word = reading->words[i];
            want(word.range.end <= length, "a word lies in the line");
            bytes += strlen(word.text) + strlen(word.node->name);
        }
        for (uint32_t i = 0; i < reading->path_count; ++i)
            bytes += strlen(reading->path[i]->name);
    }
    for (uint32_t n = 0; n < tsh_answer_candidate_count(answer); ++n) {
        const tsh_candidate_t *candidate = tsh_answer_candidate(answer, n);
        bytes += strlen(candidate->text) + strlen(candidate->insert) + strlen(candidate->bounds);
    }
    want(bytes < SIZE_MAX / 2);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input{data, size};
    const std::string bytes = small_main_tree(input);
    std::vector<tree_node_t> nodes(bytes.size() / sizeof(tree_node_t));
    memcpy(nodes.data(), bytes.data(), bytes.size());
    tsh_tree_t *tree = tsh_tree_over(nodes.data(), static_cast<uint32_t>(nodes.size()), nullptr);
    want(tree != nullptr, "a tree without cycles is valid");
    tsh_grammar_t *grammar = tsh_grammar_new(tree, nullptr, nullptr);
    tsh_context_t *context = tsh_context_new(grammar);
    tsh_answer_t *answer = tsh_answer_new(grammar);
    for (uint8_t options = input(); options != 0; options = input()) {
        const std::string_view line = input.file();
        char hidden = static_cast<char>(input());
        if (hidden < 'a')
            tsh_context_admit(context, hidden < '0' ? nullptr : admit, &hidden, hidden & 1);
        const tsh_verdict_t verdict =
            tsh_resolve(context, line.data(), line.size(), options & 31U, answer);
        detect_format(answer, line.size());
        if (verdict == TSH_ACCEPTED && (options & 64U) != 0)
            tsh_context_enter(context, answer);
        if ((options & 128U) != 0)
            tsh_context_leave(context, 1);
        tsh_complete(context, line.data(), line.size(), input(), options & 31U, answer);
        detect_format(answer, line.size());
    }
    tsh_answer_free(answer);
    tsh_context_free(context);
    tsh_grammar_close(grammar);
    tsh_tree_close(tree);
    return 0;
}
