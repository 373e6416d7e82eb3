// Comparison of the linker with a plain model: passes over a list, walks over every path, a cycle
// search before each link. Random subtrees with few names combine all rules.
#include "parse_tree/tree_library.h"
#include "tests/support/grammar.h"
#include "tests/support/harness.h"
#include "treelink/attach.h"
#include "treelink/link_report.h"
#include "treelink/sibling_order.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <list>
#include <malloc.h>
#include <map>
#include <random>

namespace {

using Nodes = std::vector<tree_node_t>;

struct Subtree {
    std::string file;
    Nodes nodes;
    std::vector<std::string> paths;
    int status = SUBTREE_PENDING;
    size_t place = 0;
};
using List = std::list<Subtree>;

constexpr const char *kUnresolved = "***Treelink Warning***: Unresolved path ";
constexpr uint32_t kTypes[] = {1, 4, 0x40200001}; // only the first can conflict

class Model {
public:
    // In every fourth model, many subtrees are to be attached to each other.
    explicit Model(unsigned seed) : random_(seed), tangled_(seed % 4 == 0) {
        for (int i = tangled_ ? 30 : pick(2, 9); i > 0; --i)
            read_.push_back(random_subtree(std::to_string(i)));
        for (Nodes &tree : prebuilt)
            tree = random_subtree("").nodes;
    }

    // The first subtree is the root file's.
    void hand_to_linker() const {
        treelink_init();
        subtree_entry_t **head = &tsh_root_tree_table;
        for (const Subtree &subtree : read_) {
            const auto count = static_cast<uint32_t>(subtree.nodes.size());
            auto *nodes = static_cast<tree_node_t *>(calloc(count, TREE_NODE_SIZE));
            std::ranges::copy(subtree.nodes, nodes);
            std::string names;
            for (const std::string &name : subtree.paths)
                names += name + ",";
            subtree_path_t path;
            populate_subtree_path(&path, 0, names.c_str());
            add_unresolved_subtree(head, subtree.file.c_str(), nodes, count, &path, treelink_table);
            head = &unresolved_subtree_table;
        }
    }

    // Prints the messages of the linker, and returns the linked array.
    Nodes link() {
        for (Subtree &subtree : read_)
            enter_names(subtree);
        for (const size_t tree : {size_t{0}, size_t{1}})
            index(tree, prebuilt[tree][0], "");
        list_.splice(list_.end(), read_, std::next(read_.begin()), read_.end());
        list_.reverse(); // the subtree read last comes first
        while (pass())
            ;
        std::erase_if(list_, [](const Subtree &one) { return one.status != SUBTREE_RESOLVABLE; });
        copy(read_.front());
        for (Subtree &subtree : list_)
            copy(subtree);
        for (const Subtree &subtree : list_)
            for (const std::string &name : subtree.paths)
                attach(subtree, name);
        return array_;
    }

    Nodes prebuilt[2];
    std::string messages;

private:
    template <typename... Texts> bool say(const Texts &...texts) {
        return (messages.append(texts), ...), true;
    }
    int pick(int low, int high) { return std::uniform_int_distribution{low, high}(random_); }

    char pick_letter(int nothing) { return "\0abcdefghijklmnopqrst"[pick(nothing, 20)]; }

    // Every node is a child of some earlier nodes, or of none.
    Subtree random_subtree(const std::string &file) {
        Subtree subtree{file, Nodes(static_cast<size_t>(pick(1, 4))), {}};
        for (size_t i = 0; i < subtree.nodes.size(); ++i) {
            tree_node_t &node = subtree.nodes[i];
            node.name[0] = pick_letter(0);
            if (pick(0, 2) > 0)
                node.token[0] = tangled_ ? pick_letter(1) : "\0abcde"[pick(0, 5)];
            node.flags = TREE_FLAG_TERMINAL | 1U;
            node.param_count = static_cast<uint16_t>(pick(0, 1));
            node.params[0].type_mask = kTypes[pick(0, 2)];
            for (size_t above = 0; above < i; ++above)
                if (tree_node_t &parent = subtree.nodes[above]; pick(0, 2) == 0)
                    parent.children[parent.child_count++] = static_cast<uint16_t>(i);
        }
        for (int i = tangled_ ? 3 : pick(0, 3); i > 0; --i)
            subtree.paths.emplace_back(1, pick_letter(1));
        return subtree;
    }

    template <typename Value>
    void enter(std::map<std::string, Value> &names, const tree_node_t &node,
               const std::string &file, Value value) {
        if (node.name[0] != '\0' && !names.try_emplace(node.name, value).second)
            say("*** Treelink Warning ***: Duplicate nodename ", node.name, " in ", file, "\n");
    }
    void enter_names(Subtree &subtree) {
        for (const tree_node_t &node : subtree.nodes)
            enter(owners_, node, subtree.file, &subtree);
    }

    void index(size_t tree, const tree_node_t &node, const std::string &parent) {
        if (node.name[0] == '\0')
            return;
        known_[tree][node.name] = {node, parent};
        for (int i = 0; i < node.child_count; ++i)
            index(tree, prebuilt[tree][node.children[i]], node.name);
    }

    bool borrow(const std::string &name, List::iterator behind) {
        const auto &tree = known_[0].contains(name) ? known_[0] : known_[1];
        const auto found = tree.find(name);
        if (found == tree.end() || found->second.second.empty())
            return false;
        const auto &[node, parent] = found->second;
        Subtree &copy = *list_.insert(std::next(behind), {"main_tree.par", {node}, {parent}});
        copy.nodes[0].flags = 1;
        copy.nodes[0].child_count = 0;
        std::ranges::fill(copy.nodes[0].children, uint16_t{0});
        enter_names(copy);
        if (!owners_.contains(parent))
            borrow(parent, behind);
        return true;
    }

    // Returns whether a subtree was marked unresolvable.
    bool pass() {
        bool marked = false;
        for (auto subtree = list_.begin(); subtree != list_.end(); ++subtree) {
            if (subtree->status == SUBTREE_UNRESOLVABLE)
                continue;
            const bool lost = std::ranges::any_of(
                subtree->paths, [&](const std::string &name) { return fails(name, subtree); });
            subtree->status = lost ? SUBTREE_UNRESOLVABLE : SUBTREE_RESOLVABLE;
            marked |= lost;
        }
        return marked;
    }

    bool fails(const std::string &name, List::iterator subtree) {
        if (!owners_.contains(name) && !borrow(name, subtree))
            return say(kUnresolved, name, " in file ", subtree->file, " \n");
        return owners_[name]->status == SUBTREE_UNRESOLVABLE;
    }

    void copy(Subtree &subtree) {
        subtree.place = array_.size();
        for (tree_node_t node : subtree.nodes) {
            for (int i = 0; i < node.child_count; ++i)
                node.children[i] = static_cast<uint16_t>(node.children[i] + subtree.place);
            enter(places_, node, subtree.file, array_.size());
            array_.push_back(node);
            file_of_.push_back(subtree.file);
        }
    }

    bool leads_to(size_t from, size_t to) {
        const tree_node_t &node = array_[from];
        return from == to || std::any_of(node.children, node.children + node.child_count,
                                         [&](uint16_t child) { return leads_to(child, to); });
    }

    static bool clash(const tree_node_t &one, const tree_node_t &other) {
        const auto typed = [](const tree_node_t &node) {
            return node.param_count == 1 && node.params[0].type_mask == 1;
        };
        return one.token[0] == other.token[0] &&
               (one.token[0] != '\0' || (typed(one) && typed(other)));
    }

    void attach(const Subtree &subtree, const std::string &name) {
        const auto found = places_.find(name);
        if (found == places_.end() && say(kUnresolved, name, " in file ", subtree.file, " \n"))
            return;
        tree_node_t &parent = array_[found->second];
        const tree_node_t &child = array_[subtree.place];
        uint16_t *end = parent.children + parent.child_count;
        const auto conflicts = [&](uint16_t sibling) {
            return clash(array_[sibling], child) &&
                   say("*** Tree Linking Error *** Conflicting nodes ", array_[sibling].name,
                       " and ", child.name, " attaching below the same parent\n");
        };
        if (std::any_of(parent.children, end, conflicts) ||
            std::find(parent.children, end, subtree.place) != end ||
            (leads_to(subtree.place, found->second) &&
             say("*** Tree Linking Error *** Node ", child.name, " not attached below ",
                 parent.name, ": link would create a cycle (", subtree.file, " and ",
                 file_of_.at(found->second), ")\n")))
            return;
        uint16_t *place = std::find_if(parent.children, end, [&](uint16_t sibling) {
            return treelink_lexicograph_cmp(&array_[sibling], &child) > 0;
        });
        std::copy_backward(place, end, end + 1);
        *place = static_cast<uint16_t>(subtree.place);
        ++parent.child_count;
    }

    std::mt19937 random_;
    bool tangled_;
    List read_;
    List list_;
    std::map<std::string, Subtree *> owners_;
    std::map<std::string, std::pair<tree_node_t, std::string>> known_[2]; // nodes and parents
    std::map<std::string, size_t> places_;
    Nodes array_;
    std::vector<std::string> file_of_; // by node of the array
};

TEST(LinkModel, AgreesOnRandomGrammars) {
    const harness::ScratchDir scratch;
    std::string folder = scratch.path("");
    prebuilt_main_tree_path = folder.data();
    size_t in_use = 0;
    for (unsigned seed = 0; seed < 1000; ++seed) {
        Model model{seed};
        grammar::write_main_tree(scratch.path("main_tree.pars"), model.prebuilt[0]);
        grammar::write_main_tree(scratch.path("main_tree2.pars"), model.prebuilt[1]);
        tree_node_t *linked = nullptr;
        testing::internal::CaptureStderr();
        model.hand_to_linker();
        const int32_t count = get_parse_tree(&linked);
        const std::string messages = testing::internal::GetCapturedStderr();
        const Nodes expected = model.link();
        ASSERT_EQ(messages, model.messages) << "seed " << seed;
        ASSERT_EQ(tsh_link_warnings, std::ranges::count(messages, '\n')) << "seed " << seed;
        ASSERT_EQ(static_cast<size_t>(count), expected.size()) << "seed " << seed;
        ASSERT_EQ(memcmp(linked, expected.data(), expected.size() * TREE_NODE_SIZE), 0) << seed;
        free(linked);
        in_use = seed < 500 ? mallinfo2().uordblks : in_use;
    }
    EXPECT_LT(mallinfo2().uordblks, in_use + 4000);
    EXPECT_LT(std::ranges::count(harness::read_file("/proc/self/maps"), '\n'), 500);
}

} // namespace
