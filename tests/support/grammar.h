// Vocabulary for grammars in C++, written by the tree writer:
//     keyword("show").child(keyword("version").terminal())
// A Word is a handle: two parents with the same Word share its node.
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

    Word &named(const std::string &name); // default name of a keyword: its token
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

    // All other fields of the node; valid as long as a handle of the word exists.
    [[nodiscard]] parser_node_t &node() const;

    // Resets the array index of the word and its descendants, as the writer requires.
    [[nodiscard]] parser_node_t *unplaced() const;

private:
    struct Body;
    std::shared_ptr<Body> body_;
};

Word keyword(const std::string &token);
Word parameter(uint32_t type_mask); // default name: "parameter"
Word structural(const std::string &name);

// Returns a root with the given words, and finally a "tsh_redirect_root" with one child without
// effect, which every main tree must have.
Word main_root(const std::vector<Word> &words);

// Returns the grammar as an array tree of the tree writer in host order; throws std::runtime_error
// for a word with too many children.
std::vector<tree_node_t> lay_out(const Word &root);

// Stores records as a main par file; throws std::runtime_error on error.
void write_main_tree(const std::string &path, std::vector<tree_node_t> nodes);

// One subtree of a subtree file: the nodes and the attach path.
struct Subtree {
    Word root;
    std::string attach_path;
};

// Stores subtrees in sequence as a gzip-compressed subtree file; throws like write_main_tree.
void write_subtree_file(const std::string &path, const std::vector<Subtree> &subtrees);

} // namespace grammar
