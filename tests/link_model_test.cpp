// The linker against a plain model of what it promises: passes over a list, walks over every path,
// a search for a cycle before each link. Random subtrees over few names make every rule meet.
#include "examples/grammar.h"
#include "platform/tree_library.h"
#include "tests/support/harness.h"
#include "treelink/attach.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <list>
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

struct Prebuilt {
    tree_node_t node;
    std::string parent;
};

// What is to be linked, and how, by the plain rules.
class Model {
public:
    explicit Model(unsigned seed) : random_(seed) {
        root_ = random_subtree("root");
        for (int i = pick(1, 9); i > 0; --i)
            list_.push_front(random_subtree(std::to_string(i)));
        for (Nodes &tree : prebuilt)
            tree = random_subtree("prebuilt").nodes;
    }

    void hand_to_linker() const {
        treelink_init();
        file(&tsh_root_tree_table, root_);
        for (auto subtree = list_.rbegin(); subtree != list_.rend(); ++subtree)
            file(&unresolved_subtree_table, *subtree);
    }

    // Reports what the linker should report, and returns the linked array.
    Nodes link() {
        enter_names(root_);
        for (auto subtree = list_.rbegin(); subtree != list_.rend(); ++subtree)
            enter_names(*subtree);
        for (int i = 0; i < 2; ++i)
            index(i, prebuilt[i][0], nullptr);
        while (pass())
            ;
        owners_.clear();
        copy(root_);
        for (Subtree &subtree : list_)
            if (subtree.status == SUBTREE_RESOLVABLE)
                copy(subtree);
        for (const Subtree &subtree : list_)
            if (subtree.status == SUBTREE_RESOLVABLE)
                for (const std::string &name : subtree.paths)
                    attach(subtree, name);
        return array_;
    }

    Nodes prebuilt[2];

private:
    int pick(int low, int high) { return std::uniform_int_distribution{low, high}(random_); }
    std::string pick_name() {
        const int name = pick(0, 20);
        return name == 0 ? "" : std::string("n").append(std::to_string(name));
    }

    // Every node below one of those before it, below two of them, or below none.
    Subtree random_subtree(const std::string &file) {
        constexpr uint32_t kTypes[] = {1, 4, 0x40200001};
        Subtree subtree{file, Nodes(static_cast<size_t>(pick(1, 4))), {}};
        for (size_t i = 0; i < subtree.nodes.size(); ++i) {
            tree_node_t &node = subtree.nodes[i];
            pick_name().copy(node.name, sizeof node.name);
            std::string(1, "\0abcde"[pick(0, 5)]).copy(node.token, 1);
            node.flags = TREE_FLAG_TERMINAL | 1U;
            node.param_count = static_cast<uint16_t>(pick(0, 1));
            node.params[0].type_mask = kTypes[pick(0, 2)];
            for (size_t above = 0; above < i; ++above)
                if (pick(0, 2) == 0)
                    subtree.nodes[above].children[subtree.nodes[above].child_count++] =
                        static_cast<uint16_t>(i);
        }
        for (int i = pick(0, 3); i > 0; --i)
            if (const std::string name = pick_name(); !name.empty())
                subtree.paths.push_back(name);
        return subtree;
    }

    static void file(subtree_entry_t **head, const Subtree &subtree) {
        auto *nodes = static_cast<tree_node_t *>(calloc(subtree.nodes.size(), sizeof(tree_node_t)));
        std::ranges::copy(subtree.nodes, nodes);
        std::string text;
        for (const std::string &name : subtree.paths)
            text += name + ",";
        subtree_path_t path;
        populate_subtree_path(&path, 0, text.c_str());
        add_unresolved_subtree(head, subtree.file.c_str(), nodes,
                               static_cast<uint32_t>(subtree.nodes.size()), &path, treelink_table);
    }

    template <typename Names, typename Value>
    static void enter(Names &names, const tree_node_t &node, const std::string &file, Value value) {
        if (node.name[0] != '\0' && !names.try_emplace(node.name, value).second)
            fprintf(stderr, "*** Treelink Warning ***: Duplicate nodename %s in %s\n", node.name,
                    file.c_str());
    }
    void enter_names(Subtree &subtree) {
        for (const tree_node_t &node : subtree.nodes)
            enter(owners_, node, subtree.file, &subtree);
    }

    void index(int tree, const tree_node_t &node, const tree_node_t *parent) {
        if (node.name[0] == '\0')
            return;
        known_[tree][node.name] = {node, parent == nullptr ? "" : parent->name};
        for (int i = 0; i < node.child_count; ++i)
            index(tree, prebuilt[tree][node.children[i]], &node);
    }

    bool borrow(const std::string &name, std::list<Subtree>::iterator behind) {
        const auto &tree = known_[0].contains(name) ? known_[0] : known_[1];
        const auto found = tree.find(name);
        if (found == tree.end() || found->second.parent.empty())
            return false;
        Subtree copy{"main_tree.par", {found->second.node}, {found->second.parent}};
        copy.nodes[0].flags &= ~TREE_FLAG_TERMINAL;
        copy.nodes[0].child_count = 0;
        enter_names(*list_.insert(std::next(behind), copy));
        if (!owners_.contains(found->second.parent))
            borrow(found->second.parent, behind);
        return true;
    }

    // True when a subtree was marked unresolvable.
    bool pass() {
        bool marked = false;
        for (auto subtree = list_.begin(); subtree != list_.end(); ++subtree)
            if (subtree->status != SUBTREE_UNRESOLVABLE) {
                subtree->status = judge(subtree);
                marked |= subtree->status == SUBTREE_UNRESOLVABLE;
            }
        return marked;
    }

    static void report_unresolved(const std::string &name, const Subtree &subtree) {
        fprintf(stderr, "***Treelink Warning***: Unresolved path %s in file %s \n", name.c_str(),
                subtree.file.c_str());
    }

    int judge(std::list<Subtree>::iterator subtree) {
        for (const std::string &name : subtree->paths) {
            if (!owners_.contains(name) && !borrow(name, subtree)) {
                report_unresolved(name, *subtree);
                return SUBTREE_UNRESOLVABLE;
            }
            if (owners_[name]->status == SUBTREE_UNRESOLVABLE)
                return SUBTREE_UNRESOLVABLE;
        }
        return SUBTREE_RESOLVABLE;
    }

    void copy(Subtree &subtree) {
        subtree.place = array_.size();
        for (tree_node_t node : subtree.nodes) {
            for (int i = 0; i < node.child_count; ++i)
                node.children[i] = static_cast<uint16_t>(node.children[i] + subtree.place);
            enter(places_, node, subtree.file, array_.size());
            array_.push_back(node);
        }
    }

    bool leads_to(size_t from, size_t to) {
        const tree_node_t &node = array_[from];
        const auto below = [&](uint16_t child) { return leads_to(child, to); };
        return from == to || std::any_of(node.children, node.children + node.child_count, below);
    }

    static bool clash(const tree_node_t &one, const tree_node_t &other) {
        if (one.token[0] != other.token[0])
            return false;
        const uint32_t type = one.params[0].type_mask;
        return one.token[0] != '\0' || (one.param_count == 1 && other.param_count == 1 &&
                                        type == 1 && other.params[0].type_mask == type);
    }

    void attach(const Subtree &subtree, const std::string &name) {
        if (!places_.contains(name))
            return report_unresolved(name, subtree);
        const size_t parent_place = places_[name];
        tree_node_t &parent = array_[parent_place];
        const tree_node_t &child = array_[subtree.place];
        uint16_t *end = parent.children + parent.child_count;
        if (std::find(parent.children, end, subtree.place) != end)
            return;
        for (const uint16_t *link = parent.children; link != end; ++link)
            if (clash(array_[*link], child)) {
                fprintf(stderr,
                        "*** Tree Linking Error *** Conflicting nodes %s and %s attaching below "
                        "the same parent\n",
                        array_[*link].name, child.name);
                return;
            }
        if (leads_to(subtree.place, parent_place)) {
            fprintf(stderr,
                    "*** Tree Linking Error *** Node %s not attached below %s: it would close a "
                    "cycle\n",
                    child.name, parent.name);
            return;
        }
        uint16_t *place = std::find_if(parent.children, end, [&](uint16_t sibling) {
            return treelink_lexicograph_cmp(&array_[sibling], &child) > 0;
        });
        std::copy_backward(place, end, end + 1);
        *place = static_cast<uint16_t>(subtree.place);
        ++parent.child_count;
    }

    std::mt19937 random_;
    Subtree root_;
    std::list<Subtree> list_; // the subtree read last first
    std::map<std::string, Subtree *> owners_;
    std::map<std::string, Prebuilt> known_[2];
    std::map<std::string, size_t> places_;
    Nodes array_;
};

TEST(LinkModel, AgreesOnRandomGrammars) {
    const harness::ScratchDir scratch;
    std::string folder = scratch.path("");
    for (unsigned seed = 0; seed < 1000; ++seed) {
        Model model{seed};
        grammar::write_main_tree(scratch.path("main_tree.pars"), model.prebuilt[0]);
        grammar::write_main_tree(scratch.path("main_tree2.pars"), model.prebuilt[1]);
        Nodes expected;
        testing::internal::CaptureStderr();
        expected = model.link();
        const std::string expected_messages = testing::internal::GetCapturedStderr();

        prebuilt_main_tree_path = folder.data();
        testing::internal::CaptureStderr();
        Model{seed}.hand_to_linker();
        tree_node_t *linked = nullptr;
        const int32_t count = get_parse_tree(&linked);
        ASSERT_EQ(testing::internal::GetCapturedStderr(), expected_messages) << "seed " << seed;
        ASSERT_EQ(static_cast<size_t>(count), expected.size()) << "seed " << seed;
        ASSERT_EQ(memcmp(linked, expected.data(), expected.size() * sizeof *linked), 0)
            << "seed " << seed;
        free(linked);
    }
}

} // namespace
