// Answers as C programs see them.
#include "resolve/answer_internal.h"

#include "resolve/answer_maker_internal.h"

#include <algorithm>
#include <new>
#include <string_view>

namespace {

template <typename Make>
tsh_verdict_t answered(const tsh_context_t &context, uint32_t options, tsh_answer_t &answer,
                       Make make) {
    try {
        make(tsh::AnswerMaker{context, options, answer});
    } catch (const std::bad_alloc &) {
        answer.clear();
        answer.verdict = TSH_NO_MEMORY;
    }
    return answer.verdict;
}

} // namespace

tsh_answer_t *tsh_answer_new(const tsh_grammar_t *grammar) {
    try {
        return new tsh_answer_t{*grammar};
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void tsh_answer_free(tsh_answer_t *answer) {
    delete answer;
}

tsh_verdict_t tsh_resolve(const tsh_context_t *context, const char *text, size_t length,
                          uint32_t options, tsh_answer_t *answer) {
    return answered(*context, options, *answer, [&](tsh::AnswerMaker maker) {
        maker.resolve({text, length});
    });
}

tsh_verdict_t tsh_complete(const tsh_context_t *context, const char *text, size_t length,
                           size_t offset, uint32_t options, tsh_answer_t *answer) {
    return answered(*context, options, *answer, [&](tsh::AnswerMaker maker) {
        maker.complete({text, std::min(length, offset)});
    });
}

tsh_range_t tsh_answer_range(const tsh_answer_t *answer) {
    return answer->range;
}

tsh_reason_t tsh_answer_reason(const tsh_answer_t *answer) {
    return answer->reason;
}

const char *tsh_answer_text(const tsh_answer_t *answer) {
    return answer->text;
}

uint32_t tsh_answer_reading_count(const tsh_answer_t *answer) {
    return static_cast<uint32_t>(answer->store.readings.size());
}

const tsh_reading_t *tsh_answer_reading(const tsh_answer_t *answer, uint32_t n) {
    return n < answer->store.readings.size() ? &answer->store.readings[n] : nullptr;
}

uint32_t tsh_answer_candidate_count(const tsh_answer_t *answer) {
    return static_cast<uint32_t>(answer->candidates.size());
}

const tsh_candidate_t *tsh_answer_candidate(const tsh_answer_t *answer, uint32_t n) {
    return n < answer->candidates.size() ? &answer->candidates[n] : nullptr;
}

const char *tsh_answer_common(const tsh_answer_t *answer) {
    return answer->common;
}

uint32_t tsh_answer_levels_left(const tsh_answer_t *answer) {
    return answer->levels_left;
}
