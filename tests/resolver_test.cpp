// Lines resolved through the exported names.
#include "resolve/resolver.h"
#include "tests/resolver_model.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/grammar.h"
#include "tests/support/random_tree.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

template <auto release> struct Release {
    template <typename T> void operator()(T *owned) const { release(owned); }
};

// A grammar over nodes, a user and an answer.
class User {
public:
    explicit User(std::vector<tree_node_t> nodes) : nodes_(std::move(nodes)) {
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
    const tsh_grammar_t *grammar() { return grammar_.get(); }
    [[nodiscard]] const std::vector<tree_node_t> &nodes() const { return nodes_; }

private:
    std::vector<tree_node_t> nodes_;
    std::unique_ptr<tsh_tree_t, Release<tsh_tree_close>> tree_;
    std::unique_ptr<tsh_grammar_t, Release<tsh_grammar_close>> grammar_;
    std::unique_ptr<tsh_context_t, Release<tsh_context_free>> context_;
    std::unique_ptr<tsh_answer_t, Release<tsh_answer_free>> answer_;
};

// ---- Against the plain definition ----

model::Meaning meaning_of(User &user, tsh_verdict_t verdict, const std::string &line) {
    const tsh_answer_t *answer = user.answer();
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
            static_cast<int>(tsh_answer_reading(answer, n)->command - user.nodes().data()));
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
        User user{tree};
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
                user.resolve(line, saved | TSH_OUTWARD | (random() % 2 == 0 ? TSH_BRIEF : 0));
            const model::Meaning meaning = model::Resolver{tree, saved != 0}.resolve(levels, words);
            ASSERT_EQ(meaning_of(user, verdict, line), meaning)
                << "round " << round << ": " << line << " at depth " << levels.size() - 1;
            ++lines;
            accepted += verdict == TSH_ACCEPTED ? 1 : 0;
            const bool has_slash = line.find('/') != std::string::npos;
            if (verdict == TSH_ACCEPTED && !has_slash) {
                const uint32_t left = tsh_answer_levels_left(user.answer());
                if (tsh_context_enter(user.context(), user.answer()) == 0) {
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

// ---- A lamp shop ----

using grammar::keyword;
using grammar::parameter;
using grammar::structural;

constexpr uint32_t kString = 1;
constexpr uint32_t kLine = 2;
constexpr uint32_t kInteger = 0x40100001;

std::vector<tree_node_t> lamp_shop() {
    auto number = parameter(kInteger).named("number").terminal().submode().mode_id("lamp");
    number.node().params[0].int_min = 1;
    number.node().params[0].int_max = 12;
    number.child(keyword("bright").child(
        parameter(kInteger).named("percent").terminal().func_id("lamp_bright")));
    number.child(keyword("label").child(parameter(kLine).named("text").terminal()));
    number.child(keyword("dark").terminal().func_id("lamp_dark"));
    auto pace = keyword("pace").parameter(kInteger).terminal().func_id("pace");
    auto secret = keyword("secret").terminal().flags(TREE_FLAG_EXCLUDED).func_id("lamp_dark");
    auto hue = keyword("hue").optional().terminal().func_id("show_hue");
    auto show = keyword("show").child(hue).child(parameter(kString).terminal());
    return grammar::lay_out(
        grammar::main_root({keyword("lamp").child(number), pace, secret, show}));
}

class LampShop : public testing::Test, protected User {
protected:
    LampShop() : User(lamp_shop()) {}

    std::string text() { return tsh_answer_text(answer()); }
    const tsh_reading_t &reading(uint32_t n = 0) { return *tsh_answer_reading(answer(), n); }
    std::string candidates() {
        std::string all;
        for (uint32_t n = 0; n < tsh_answer_candidate_count(answer()); ++n)
            (all += all.empty() ? "" : " ") += tsh_answer_candidate(answer(), n)->text;
        return all;
    }
    std::string completed(const std::string &line, size_t offset = std::string::npos) {
        tsh_complete(context(), line.data(), line.size(), offset, 0, answer());
        return candidates();
    }
    bool enter(const std::string &line) {
        return resolve(line) == TSH_ACCEPTED && tsh_context_enter(context(), answer()) == 0;
    }
};

TEST_F(LampShop, ReadingsHaveTypedWordsAndSubmodesThoseOfTheirLine) {
    ASSERT_EQ(resolve("LA 7 / br 80"), TSH_ACCEPTED);
    ASSERT_EQ(reading().word_count, 4U);
    EXPECT_STREQ(reading().words[0].text, "lamp");
    EXPECT_EQ(reading().words[3].value.low, 80);
    EXPECT_EQ(reading().words[3].level, 1U);
    EXPECT_EQ(reading().words[3].range.begin, 10U);
    EXPECT_STREQ(reading().command->func_id, "lamp_bright");
    ASSERT_EQ(resolve("pace5"), TSH_ACCEPTED);
    EXPECT_EQ(reading().words[1].range.begin, 4U);
    EXPECT_EQ(resolve("pac5"), TSH_REFUSED);
}

TEST_F(LampShop, SubmodesAreEnteredAndLeft) {
    ASSERT_TRUE(enter("lamp 7"));
    EXPECT_EQ(tsh_context_enter(context(), answer()), -1); // an answer for the place before
    const tsh_reading_t *place = tsh_context_place(context(), 1);
    EXPECT_EQ(place->words[1].value.low, 7);
    EXPECT_EQ(resolve("dark"), TSH_ACCEPTED);
    EXPECT_EQ(resolve("pace 5"), TSH_REFUSED);
    EXPECT_EQ(resolve("pace 5", TSH_OUTWARD), TSH_ACCEPTED);
    EXPECT_EQ(tsh_answer_levels_left(answer()), 1U);
    EXPECT_EQ(tsh_context_place(context(), 2), nullptr);
    EXPECT_EQ(tsh_context_leave(context(), 9), 1U);
    EXPECT_EQ(resolve("dark"), TSH_REFUSED);
}

TEST_F(LampShop, LinesThatAreNoCommandsHaveAReason) {
    EXPECT_EQ(resolve("lamp 13"), TSH_REFUSED);
    EXPECT_EQ(text(), "invalid <INTEGER> '13': expected 1 to 12");
    EXPECT_EQ(resolve("lamp 3 dark"), TSH_REFUSED);
    EXPECT_EQ(tsh_answer_reason(answer()), TSH_REASON_SUBMODE);
    EXPECT_EQ(resolve("la\033x"), TSH_REFUSED);
    EXPECT_EQ(text(), "unknown word 'la\\x1bx'");
    EXPECT_EQ(resolve(std::string("show\0x", 6)), TSH_REFUSED);
    EXPECT_EQ(tsh_answer_reason(answer()), TSH_REASON_ZERO_BYTE);
    EXPECT_EQ(resolve("lamp |>x"), TSH_REFUSED);
    EXPECT_EQ(resolve("lamp a|>"), TSH_REFUSED);
    EXPECT_EQ(resolve("lamp \"a|>"), TSH_REFUSED); // split with spaces that it does not have
    EXPECT_EQ(tsh_answer_range(answer()).end, 9U);
    EXPECT_EQ(resolve("lamp"), TSH_INCOMPLETE);
    EXPECT_EQ(candidates(), "<INTEGER>");
    EXPECT_STREQ(tsh_answer_candidate(answer(), 0)->bounds, "1 to 12");
    EXPECT_EQ(resolve(" \t "), TSH_EMPTY);
    EXPECT_EQ(resolve("show lamps \""), TSH_ACCEPTED); // split as show lamps
    EXPECT_EQ(resolve(" \""), TSH_REFUSED);
    EXPECT_EQ(text(), "unknown word '\"'; the quote is not closed");
    EXPECT_EQ(tsh_answer_range(answer()).begin, 1U);
    EXPECT_EQ(candidates(), "lamp pace<INTEGER> secret show");
}

TEST_F(LampShop, LinesThatCannotBeSplitHaveNoCandidates) {
    EXPECT_EQ(completed(std::string("show\0", 5)), "");
    EXPECT_EQ(tsh_answer_reason(answer()), TSH_REASON_ZERO_BYTE);
    std::string words;
    for (int i = 0; i < 511; ++i)
        words += "x ";
    EXPECT_EQ(resolve(words), TSH_REFUSED);
    EXPECT_EQ(tsh_answer_reason(answer()), TSH_REASON_UNKNOWN);
    EXPECT_EQ(completed(words + "x"), "");
    EXPECT_EQ(tsh_answer_reason(answer()), TSH_REASON_TOO_MANY_WORDS);
    EXPECT_EQ(tsh_answer_range(answer()).begin, words.size());
}

TEST(Resolver, NeedsATree) {
    tsh_error_t error;
    EXPECT_EQ(tsh_grammar_of_trees(nullptr, 0, nullptr, &error), nullptr);
    EXPECT_STREQ(error.text, "no tree");
    EXPECT_EQ(tsh_grammar_open("/none", nullptr, &error), nullptr);
    EXPECT_EQ(error.system_error, ENOENT);
}

TEST_F(LampShop, AmbiguousWordsHaveAReadingForEachSpelling) {
    ASSERT_EQ(resolve("s"), TSH_AMBIGUOUS);
    EXPECT_EQ(text(), "ambiguous word 's': secret, show");
    ASSERT_EQ(tsh_answer_reading_count(answer()), 2U);
    EXPECT_STREQ(reading(0).command->func_id, "lamp_dark");
    EXPECT_STREQ(reading(1).command->func_id, "show_hue");
    EXPECT_STREQ(reading(1).node->token, "show");
}

TEST(Resolver, ReadsAWordOnceHoweverManyWaysLeadToIt) {
    const auto word = keyword("y").child(keyword("end").terminal());
    auto one = structural("one").child(word);
    auto other = structural("other").child(word);
    for (int level = 0; level < 40; ++level) {
        const auto above = structural("one").child(one).child(other);
        other = structural("other").child(one).child(other);
        one = above;
    }
    const auto x = keyword("x").child(one).child(other);
    User user{grammar::lay_out(grammar::main_root({x, keyword("x").child(word)}))};
    EXPECT_EQ(user.resolve("x y"), TSH_INCOMPLETE);
    EXPECT_EQ(tsh_answer_reading_count(user.answer()), 1U);
    EXPECT_EQ(user.resolve("x y z"), TSH_REFUSED);
}

TEST(Resolver, KeepsTheWordsThatEnteredEachSubmode) {
    const auto bulb = keyword("bulb").child(parameter(kInteger).terminal().submode());
    const auto socket =
        keyword("socket").child(parameter(kInteger).terminal().submode().child(bulb));
    const auto lamp = keyword("lamp").child(parameter(kInteger).terminal().submode().child(socket));
    User user{grammar::lay_out(grammar::main_root({lamp}))};
    ASSERT_EQ(user.resolve("lamp 3 / socket 4 / bulb 5"), TSH_ACCEPTED);
    ASSERT_EQ(tsh_context_enter(user.context(), user.answer()), 0);
    ASSERT_EQ(tsh_context_depth(user.context()), 3U);
    std::string entered;
    for (uint32_t level = 1; level <= 3; ++level) {
        const tsh_reading_t *place = tsh_context_place(user.context(), level);
        for (uint32_t n = 0; n < place->word_count; ++n)
            entered += std::string{place->words[n].text} + (n + 1 < place->word_count ? " " : "; ");
    }
    EXPECT_EQ(entered, "lamp 3; socket 4; bulb 5; ");
}

TEST(Resolver, ReadsASharedWordForEachWayToIt) {
    const auto on = keyword("on").terminal();
    User user{grammar::lay_out(grammar::main_root(
        {keyword("aisle").child(on), keyword("alcove").child(on), keyword("arch").child(on)}))};
    ASSERT_EQ(user.resolve("a on"), TSH_AMBIGUOUS);
    EXPECT_STREQ(tsh_answer_text(user.answer()), "ambiguous word 'a': aisle, alcove, arch");
    EXPECT_EQ(tsh_answer_reading_count(user.answer()), 3U);
}

TEST(Resolver, SeesWordsBelowNodesThatNeedNoWord) {
    const auto below = keyword("yellow").terminal();
    const auto beside = keyword("young").terminal();
    const auto structured = keyword("s").child(structural("inner").child(below)).child(beside);
    const auto optional = keyword("o").child(keyword("x").optional().child(below)).child(beside);
    User user{grammar::lay_out(grammar::main_root(
        {structured, optional, keyword("mild").child(below), keyword("mint").child(beside)}))};
    for (const char *line : {"s y", "o y", "mi y"})
        EXPECT_EQ(user.resolve(line), TSH_AMBIGUOUS) << line;
    EXPECT_EQ(user.resolve("mi ye"), TSH_ACCEPTED);
    EXPECT_EQ(user.resolve("o x y"), TSH_ACCEPTED);
}

TEST_F(LampShop, CompletionsFitTheBytesBeforeTheCursor) {
    EXPECT_EQ(completed(""), "lamp pace<INTEGER> secret show");
    EXPECT_EQ(completed("sxx 5", 1), "secret show");
    EXPECT_STREQ(tsh_answer_common(answer()), "s");
    EXPECT_EQ(completed("lamp 3 / b"), "bright");
    EXPECT_EQ(completed("pace5"), "<INTEGER>");
    EXPECT_EQ(completed("show \"h"), "<STRING>");
    EXPECT_EQ(completed("show "), "hue[o] <STRING>");
    EXPECT_EQ(completed("lamp 3 / label left of "), "<LINE>");
}

TEST_F(LampShop, ATrailingOptionalWordRunsItsFunctionWhenItIsLeftOut) {
    ASSERT_EQ(resolve("show"), TSH_ACCEPTED);
    EXPECT_STREQ(reading().node->token, "show");
    EXPECT_STREQ(reading().command->func_id, "show_hue");
}

TEST_F(LampShop, NodesThatDoNotExistForAUserAreNotFound) {
    const auto admit = [](const tree_node_t *node, void *hidden) -> int32_t {
        return std::string{node->token} == static_cast<const char *>(hidden) ? 0 : 1;
    };
    ASSERT_TRUE(enter("lamp 7"));
    char lamp[] = "lamp";
    EXPECT_EQ(tsh_context_admit(context(), admit, lamp, 0), 1);
    EXPECT_EQ(resolve("lamp 7", TSH_REPORT_HIDDEN), TSH_REFUSED);
    EXPECT_EQ(tsh_answer_reason(answer()), TSH_REASON_HIDDEN);
    EXPECT_EQ(completed(""), "pace<INTEGER> secret show");
    EXPECT_EQ(tsh_context_admit(context(), nullptr, nullptr, 1), 0);
    EXPECT_EQ(resolve("secret"), TSH_REFUSED);
    EXPECT_FALSE(enter("lamp 7"));
    EXPECT_EQ(tsh_context_admit(context(), nullptr, nullptr, 0), 0);
    EXPECT_EQ(resolve("secret"), TSH_ACCEPTED);
}

TEST_F(LampShop, FunctionsHaveNumbersAndNodesNames) {
    const tree_node_t *dark = tsh_grammar_named(grammar(), "dark");
    ASSERT_NE(dark, nullptr);
    const int32_t number = tsh_grammar_function_of(grammar(), dark);
    EXPECT_STREQ(tsh_grammar_function_id(grammar(), static_cast<uint32_t>(number)), "lamp_dark");
    EXPECT_EQ(tsh_grammar_function_of(grammar(), tsh_grammar_named(grammar(), "secret")), number);
    EXPECT_EQ(tsh_grammar_function_count(grammar()), 4U);
    EXPECT_EQ(tsh_grammar_function_id(grammar(), 4), nullptr);
    EXPECT_EQ(tsh_grammar_named(grammar(), "none"), nullptr);
    const tree_node_t *child = tsh_grammar_child(grammar(), tsh_grammar_root(grammar()), 1);
    EXPECT_STREQ(child->token, "pace");
    const tree_node_t copies[] = {*tsh_grammar_root(grammar()), *dark};
    EXPECT_EQ(tsh_grammar_child(grammar(), &copies[0], 0), nullptr);
    EXPECT_EQ(tsh_grammar_function_of(grammar(), &copies[1]), -1);
}

TEST_F(LampShop, MemoryThatRunsOutIsAVerdict) {
    if (!failing_malloc::available())
        GTEST_SKIP();
    int refused = 0;
    for (long fail_at = 1;; ++fail_at) {
        std::unique_ptr<tsh_answer_t, Release<tsh_answer_free>> fresh{tsh_answer_new(grammar())};
        failing_malloc::arm(fail_at);
        const tsh_verdict_t verdict = tsh_resolve(context(), "la 3 / br 8", 11, 0, fresh.get());
        const bool has_failed = failing_malloc::disarm().allocations >= fail_at;
        refused += verdict == TSH_NO_MEMORY ? 1 : 0;
        EXPECT_TRUE(verdict == TSH_ACCEPTED || (has_failed && verdict == TSH_NO_MEMORY))
            << fail_at; // sorting does without
        EXPECT_EQ(tsh_resolve(context(), "dark", 4, 0, fresh.get()), TSH_REFUSED);
        if (!has_failed)
            break;
    }
    EXPECT_GT(refused, 10);
}

// The build with the thread sanitizer has this test to look at.
TEST_F(LampShop, ThreadsShareAGrammar) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    std::atomic<int> accepted = 0;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this, i, &accepted] {
            std::unique_ptr<tsh_context_t, Release<tsh_context_free>> user{
                tsh_context_new(grammar())};
            std::unique_ptr<tsh_answer_t, Release<tsh_answer_free>> own{tsh_answer_new(grammar())};
            for (int round = 0; round < 200; ++round) {
                tsh_context_admit(user.get(), nullptr, nullptr, (i + round) % 2);
                for (const std::string line : {"lamp 3", "secret", "show hue", "lamp 3 / dark"})
                    if (tsh_resolve(user.get(), line.data(), line.size(), 0, own.get()) ==
                        TSH_ACCEPTED)
                        ++accepted;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(accepted, 4 * 100 * (4 + 2)); // in single mode neither a hidden word nor "/"
}

} // namespace
