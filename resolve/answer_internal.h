// The result of a call and the memory for it.
#pragma once

#include "resolve/candidates_internal.h"
#include "resolve/context_internal.h"
#include "resolve/line_parser_internal.h"
#include "resolve/line_words_internal.h"
#include "resolve/reading_store_internal.h"
#include "resolve/state_sets_internal.h"

#include <vector>

struct tsh_answer_t {
    explicit tsh_answer_t(const tsh_grammar_t &of)
        : grammar(of), parser(of), sets(of), next_words(of) {}

    void clear() {
        verdict = TSH_EMPTY;
        reason = TSH_REASON_NONE;
        range = {0, 0};
        text = common = "";
        levels_left = 0;
        context = nullptr;
        entered.clear();
        candidates.clear();
        store.clear();
    }

    const tsh_grammar_t &grammar;
    tsh::LineWords words;
    tsh::LineParser parser;
    tsh::StateSets sets;
    tsh::NextWords next_words;

    tsh_verdict_t verdict = TSH_EMPTY;
    tsh_reason_t reason = TSH_REASON_NONE;
    tsh_range_t range{0, 0};
    const char *text = "";
    const char *common = "";
    uint32_t levels_left = 0;
    std::vector<tsh_candidate_t> candidates;
    tsh::ReadingStore store;

    // Submodes that the line enters, the outermost first, and what they were found for.
    std::vector<tsh::Submode> entered;
    const tsh_context_t *context = nullptr;
    uint64_t context_version = 0;
};
