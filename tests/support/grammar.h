// A small vocabulary to write grammars in C++ and hand them to the tree writer:
//     keyword("show").child(keyword("version").terminal())
// A Word is a handle: giving the same Word to two parents shares the node between them.
#pragma once

#include "parse_tree/tree_writer.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace grammar {

class Word {
public:
    Word(const std::string &token, const std::string &name);

    Word &named(const std::string &name); // a keyword is named like its token unless told
    Word &child(const Word &word);
    Word &marked_child(const Word &word);
    Word &terminal();
    Word &submode();
    Word &flags(uint32_t bits); // added to those already set
    Word &optional(uint32_t value = 1);
    Word &parameter(uint32_t type_mask); // the first call gives params[0], the second params[1]
    Word &help(const std::string &text);
    Word &submode_help(const std::string &text);
    Word &func_id(const std::string &text);
    Word &mode_id(const std::string &text);

    // Everything else a node holds can be set here; valid while a handle to the word lives.
    [[nodiscard]] parser_node_t &node() const;

    // Marks the word and everything below it as not yet placed, as the writer wants it.
    [[nodiscard]] parser_node_t *unplaced() const;

private:
    struct Body;
    std::shared_ptr<Body> body_;
};

Word keyword(const std::string &token);
Word parameter(uint32_t type_mask); // named "parameter" unless told
Word structural(const std::string &name);

// A root with the given words below it, and last a "tsh_redirect_root", which every main tree
// must have, with one child of no effect.
Word main_root(const std::vector<Word> &words);

// The grammar as an array tree in host order, as the tree writer lays it out; throws
// std::runtime_error for a word that has more words below it than a record holds.
std::vector<tree_node_t> lay_out(const Word &root);

// Stores records as a main par file; throws std::runtime_error when that fails.
void write_main_tree(const std::string &path, std::vector<tree_node_t> nodes);

// One subtree of a subtree file: the nodes and where they are to be attached.
struct Subtree {
    Word root;
    std::string attach_path;
};

// Stores subtrees back to back as a gzip-compressed subtree file; throws like write_main_tree.
void write_subtree_file(const std::string &path, const std::vector<Subtree> &subtrees);

} // namespace grammar
