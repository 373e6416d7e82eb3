// Grammar vocabulary: owns the strings and links of the nodes for the tree writer.
#include "tests/support/grammar.h"

#include "parse_tree/tree_library.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <new>
#include <stdexcept>
#include <unordered_set>
#include <zlib.h>

namespace grammar {

struct Word::Body {
    parser_node_t node{};
    std::deque<std::string> texts; // a deque never moves them
    std::deque<parser_link_t> links;
    std::vector<Word> children;

    char *keep(const std::string &text) { return texts.emplace_back(text).data(); }

    void link(const Word &word, bool marked) {
        children.push_back(word);
        parser_link_t *previous = links.empty() ? nullptr : &links.back();
        parser_link_t &link =
            links.emplace_back(parser_link_t{nullptr, &word.body_->node, uint8_t{marked}});
        (previous == nullptr ? node.children : previous->next) = &link;
    }
};

Word::Word(const std::string &token, const std::string &name) : body_(std::make_shared<Body>()) {
    body_->node.array_index = -1;
    body_->node.token = body_->keep(token);
    named(name);
}

Word &Word::named(const std::string &name) {
    body_->node.name = body_->keep(name);
    return *this;
}

Word &Word::child(const Word &word) {
    body_->link(word, false);
    return *this;
}

Word &Word::marked_child(const Word &word) {
    body_->link(word, true);
    return *this;
}

Word &Word::terminal() {
    return flags(TREE_FLAG_TERMINAL);
}

Word &Word::submode() {
    return flags(TREE_FLAG_SUBMODE);
}

Word &Word::flags(uint32_t bits) {
    body_->node.flags |= bits;
    return *this;
}

Word &Word::optional(uint32_t value) {
    body_->node.optional = value;
    return *this;
}

Word &Word::parameter(uint32_t type_mask) {
    parser_node_t &node = body_->node;
    const bool second = node.has_param0 == 1;
    node.params[second ? 1 : 0].type_mask = type_mask;
    (second ? node.has_param1 : node.has_param0) = 1;
    return *this;
}

Word &Word::help(const std::string &text) {
    body_->node.help = body_->keep(text);
    return *this;
}

Word &Word::submode_help(const std::string &text) {
    body_->node.submode_help = body_->keep(text);
    return *this;
}

Word &Word::func_id(const std::string &text) {
    body_->node.func_id = body_->keep(text);
    return *this;
}

Word &Word::mode_id(const std::string &text) {
    body_->node.mode_id = body_->keep(text);
    return *this;
}

parser_node_t &Word::node() const {
    return body_->node;
}

parser_node_t *Word::unplaced() const {
    std::vector<Body *> pending{body_.get()};
    std::unordered_set<const Body *> seen{body_.get()};
    while (!pending.empty()) {
        Body *body = pending.back();
        pending.pop_back();
        body->node.array_index = -1;
        for (const Word &word : body->children)
            if (seen.insert(word.body_.get()).second)
                pending.push_back(word.body_.get());
    }
    return &body_->node;
}

Word keyword(const std::string &token) {
    return {token, token};
}

Word parameter(uint32_t type_mask) {
    return Word("", "parameter").parameter(type_mask);
}

Word structural(const std::string &name) {
    return {"", name};
}

Word main_root(const std::vector<Word> &words) {
    Word root = structural("root");
    for (const Word &word : words)
        root.child(word);
    return root.child(structural("tsh_redirect_root").child(structural("redirect")));
}

std::vector<tree_node_t> lay_out(const Word &root) {
    // calloc does not access the memory that a small tree does not use.
    constexpr size_t kWriterRoom = 20000;
    const std::unique_ptr<tree_node_t, void (*)(void *)> scratch{
        static_cast<tree_node_t *>(calloc(kWriterRoom, sizeof(tree_node_t))), free};
    if (scratch == nullptr)
        throw std::bad_alloc();
    current_array_location = 0;
    if (write_tree_to_array(scratch.get(), root.unplaced()) < 0)
        throw std::runtime_error("a word has too many words below it");
    return {scratch.get(), scratch.get() + current_array_location};
}

namespace {

[[noreturn]] void cannot_write(const std::string &path) {
    throw std::runtime_error("cannot write " + path);
}

} // namespace

void write_main_tree(const std::string &path, std::vector<tree_node_t> nodes) {
    FILE *file = fopen(path.c_str(), "we");
    if (file == nullptr)
        cannot_write(path);
    const subtree_path_t no_path{};
    const int32_t result = write_array_tree_to_file(
        nodes.data(), static_cast<uint32_t>(nodes.size()), 0, &no_path, file, 0, 0, 1);
    if (fclose(file) != 0 || result != 0)
        cannot_write(path);
}

void write_subtree_file(const std::string &path, const std::vector<Subtree> &subtrees) {
    gzFile file = gzopen(path.c_str(), "wb");
    if (file == nullptr)
        cannot_write(path);
    for (const Subtree &subtree : subtrees) {
        subtree_path_t attach_path;
        populate_subtree_path(&attach_path, 2, subtree.attach_path.c_str());
        write_tree_to_file(subtree.root.unplaced(), 1, &attach_path, file);
    }
    if (gzclose(file) != Z_OK)
        cannot_write(path);
}

} // namespace grammar
