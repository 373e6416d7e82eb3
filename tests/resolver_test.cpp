// Lines resolved through the exported names.
#include "resolve/resolver.h"
#include "tests/resolver_model.h"
#include "tests/support/grammar.h"
#include "tests/support/random_tree.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

template <auto release> struct Release {
    template <typename T> void operator()(T *owned) const { release(owned); }
};

// A grammar over nodes, a user and an answer.
class Session {
public:
    explicit Session(std::vector<tree_node_t> nodes) : nodes_(std::move(nodes)) {
        tsh_error_t error;
        tree_.reset(tsh_tree_over(nodes_.data(), static_cast<uint32_t>(nodes_.size()), &error));
        EXPECT_NE(tree_, nullptr) << error.text;
        grammar_.reset(tsh_grammar_new(tree_.get(), nullptr, &error));
        EXPECT_NE(grammar_, nullptr) << error.text;
        context_.reset(tsh_context_new(grammar_.get()));
        answer_.reset(tsh_answer_new(grammar_.get()));
    }

    tsh_verdict_t resolve(const std::string &line, uint32_t options = 0) {
        return tsh_resolve(context_.get(), line.data(), line.size(), options, answer_.get());
    }
    tsh_context_t *context() { return context_.get(); }
    tsh_answer_t *answer() { return answer_.get(); }
    const std::vector<tree_node_t> &nodes() const { return nodes_; }

private:
    std::vector<tree_node_t> nodes_;
    std::unique_ptr<tsh_tree_t, Release<tsh_tree_close>> tree_;
    std::unique_ptr<tsh_grammar_t, Release<tsh_grammar_close>> grammar_;
    std::unique_ptr<tsh_context_t, Release<tsh_context_free>> context_;
    std::unique_ptr<tsh_answer_t, Release<tsh_answer_free>> answer_;
};

// ---- Against the plain definition ----

model::Meaning meaning_of(Session &session, tsh_verdict_t verdict, const std::string &line) {
    const tsh_answer_t *answer = session.answer();
    const auto word = [&] {
        const std::string before = line.substr(0, tsh_answer_range(answer).begin);
        return std::to_string(std::count(before.begin(), before.end(), ' '));
    };
    switch (verdict) {
    case TSH_REFUSED:
        return {"refused " + word(), {}};
    case TSH_AMBIGUOUS:
        return {"ambiguous " + word(), {}};
    case TSH_INCOMPLETE:
        return {"incomplete", {}};
    case TSH_ACCEPTED:
        break;
    default:
        return {"verdict " + std::to_string(verdict), {}};
    }
    model::Meaning meaning{"accepted", {}};
    for (uint32_t n = 0; n < tsh_answer_reading_count(answer); ++n)
        meaning.nodes.insert(
            static_cast<int>(tsh_answer_reading(answer, n)->command - session.nodes().data()));
    return meaning;
}

// More rounds by RESOLVER_ROUNDS.
int rounds() {
    const char *wanted = getenv("RESOLVER_ROUNDS");
    return wanted == nullptr ? 300 : atoi(wanted);
}

TEST(Resolver, AgreesWithThePlainDefinition) {
    constexpr const char *kTokens[] = {"a", "ab", "abc", "b", "/", "a7", "D"};
    constexpr uint32_t kTypes[] = {1, 2, 0x40100001};
    constexpr const char *kTyped[] = {"a", "A", "ab", "abc", "b", "7", "a7", "ab7", "d", "/", "x"};
    std::mt19937 random(31);
    size_t accepted = 0;
    size_t lines = 0;
    for (int round = 0; round < rounds(); ++round) {
        std::vector<tree_node_t> tree = grammar::random_tree(random, kTokens, kTypes);
        for (tree_node_t &node : tree) {
            if (node.param_count > 0 && random() % 4 == 0) {
                node.param_count = 2;
                node.params[1].type_mask = kTypes[random() % std::size(kTypes)];
            }
            if (node.optional != 0 && random() % 3 == 0)
                node.optional = TREE_OPTIONAL_SUBMODE_ENTERED;
        }
        Session session{tree};
        std::vector<std::set<int>> levels{{0}};
        const uint32_t saved = round % 2 == 0 ? 0 : TSH_SAVED_LINE;
        for (int count = 0; count < 10; ++count) {
            model::Words words(1 + random() % 4);
            std::string line;
            for (std::string &word : words) {
                word = kTyped[random() % std::size(kTyped)];
                line += (line.empty() ? "" : " ") + word;
            }
            const tsh_verdict_t verdict =
                session.resolve(line, saved | TSH_OUTWARD | (random() % 2 == 0 ? TSH_BRIEF : 0));
            const model::Meaning meaning = model::Resolver{tree, saved != 0}.resolve(levels, words);
            ASSERT_EQ(meaning_of(session, verdict, line), meaning)
                << "round " << round << ": " << line << " at depth " << levels.size() - 1;
            ++lines;
            accepted += verdict == TSH_ACCEPTED ? 1 : 0;
            const bool has_slash = line.find('/') != std::string::npos;
            if (verdict == TSH_ACCEPTED && !has_slash) {
                const uint32_t left = tsh_answer_levels_left(session.answer());
                if (tsh_context_enter(session.context(), session.answer()) == 0) {
                    levels.erase(levels.begin(), levels.begin() + left);
                    std::set<int> entered;
                    for (const int node : meaning.nodes)
                        if ((tree[static_cast<size_t>(node)].flags & TREE_FLAG_SUBMODE) != 0)
                            entered.insert(node);
                    levels.insert(levels.begin(), entered);
                }
            }
        }
    }
    EXPECT_GT(accepted, lines / 20);
    RecordProperty("lines", static_cast<int>(lines));
}

} // namespace
