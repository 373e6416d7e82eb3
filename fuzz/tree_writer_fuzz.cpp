// Fuzzer of the tree writer: the input is a graph of compiler nodes: shared, deep, cyclic,
// duplicate, missing, too many, or with an index from an earlier write. The stored record, the
// messages of the writer and of the tree check, and the record read back are compared with plain
// recursions.
//
// Reaches: write_tree_to_file, write_tree_to_array, write_node_to_array, write_array_tree_to_file,
// tsh_tree_check, cycle_check, tsh_tree_fault_text, read_par_tree
#include "base/escape.h"
#include "fuzz/input.h"
#include "fuzz/memory_file.h"
#include "parse_tree/tree_check.h"
#include "parse_tree/tree_writer.h"
#include "treelink/subtree_read.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <vector>
#include <zlib.h>

namespace {

struct Graph {
    std::vector<parser_node_t> nodes;
    std::deque<parser_link_t> links;
    std::string name; // of all nodes, which are identified by their flags

    explicit Graph(Input input) : nodes(node_count(input())) {
        for (size_t i = 0; i < nodes.size(); ++i) {
            nodes[i].flags = static_cast<uint32_t>(i);
            nodes[i].array_index = -1;
        }
        for (int steps = input() % 32; steps > 0; --steps)
            grow(input);
        name = input.text();
        for (parser_node_t &node : nodes)
            node.name = name.data();
    }

private:
    // Few, so that paths meet, or enough for a tree that is too deep.
    static size_t node_count(uint8_t number) {
        return 1U + (number < 224 ? number % 16U : 16U * (number - 224U));
    }

    void grow(Input &input) {
        const int last = static_cast<int>(nodes.size()) - 1;
        const uint8_t what = input();
        parser_node_t *node =
            &nodes[what / 8 % 2 == 0 ? 0 : static_cast<size_t>(input.any_of(0, last))];
        auto child = static_cast<size_t>(input.any_of(0, last));
        for (int count = what / 16 % 8 == 0 ? 2 * input() : what / 16 % 4; count > 0; --count) {
            if (what % 8 == 0)
                node->array_index = count < 4 ? count : 300 * count; // exceeds 16 bits
            else if (what % 8 == 1 && node->children != nullptr)
                node->children->next = node->children;
            else
                link(*node, what % 8 == 2 ? nullptr : &nodes[child], what / 128);
            if (what % 8 < 3)
                return;
            if (what % 8 < 5) // a chain, else siblings
                node = &nodes[child];
            child = (child + 1) % nodes.size();
        }
    }

    void link(parser_node_t &parent, parser_node_t *child, int marked) {
        links.push_back({parent.children, child, static_cast<uint8_t>(marked)});
        parent.children = &links.back();
    }
};

struct Fault {
    std::string check;
    uint32_t node;
    int32_t position;

    bool operator==(const Fault &) const = default;
};

// Expected record and messages.
class Model {
public:
    explicit Model(const Graph &graph) {
        for (const parser_node_t &node : graph.nodes)
            if (node.array_index >= 0)
                places_[&node] = node.array_index;
        is_written = lay_out(&graph.nodes[0]);
        if (is_written)
            judge();
    }

    [[nodiscard]] bool are(const tree_node_t *nodes, int64_t count) const {
        return count == std::ssize(records) &&
               memcmp(nodes, records.data(), records.size() * sizeof *nodes) == 0;
    }

    bool is_written;
    std::vector<tree_node_t> records;
    std::vector<Fault> faults;
    std::string said;

private:
    // Returns false for a node with too many links.
    bool lay_out(const parser_node_t *node) {
        const size_t place = records.size();
        records.emplace_back();
        if (node == nullptr)
            return true;
        places_[node] = static_cast<int>(place);
        write_node_to_array(node, &records[place]);
        uint16_t count = 0;
        for (const parser_link_t *link = node->children; link != nullptr; link = link->next) {
            if (count == TREE_MAX_CHILDREN)
                return say("has more than 192 child links", place);
            uint8_t &marks = records[place].child_link_bits[count / 8];
            if (link->marked == 1)
                marks = static_cast<uint8_t>(marks | 1U << count % 8);
            records[place].child_count = ++count;
        }
        uint16_t position = 0;
        for (const parser_link_t *link = node->children; link != nullptr; link = link->next) {
            const auto known = places_.find(link->child);
            const bool is_new = known == places_.end();
            const int child = is_new ? static_cast<int>(records.size()) : known->second;
            if (is_new && !lay_out(link->child))
                return false;
            records[place].children[position++] = static_cast<uint16_t>(std::min(child, 65535));
        }
        return true;
    }

    void judge() {
        for (uint32_t node = 0; node < records.size(); ++node) {
            const uint16_t *list = records[node].children;
            for (int32_t i = 0; i < records[node].child_count; ++i)
                if (list[i] >= records.size())
                    faults.push_back({"child-index", node, i});
            for (int32_t i = 0; i < records[node].child_count; ++i)
                if (std::find(list, list + i, list[i]) != list + i)
                    faults.push_back({"child-twice", node, i});
        }
        heights_.resize(records.size());
        walk(0);
        if (const Fault *fault = first("child-index"))
            say("has a child placed by an earlier write", fault->node);
        if (const Fault *fault = first("child-twice")) {
            const auto [check, node, i] = *fault;
            const uint16_t child = records[node].children[i];
            const tsh_tree_fault_t told{"", "duplicate child", node, i, child};
            char text[TSH_TREE_FAULT_TEXT_SIZE];
            tsh_tree_fault_text(records.data(), static_cast<uint32_t>(records.size()), &told, text,
                                sizeof text);
            said += "Error: " + std::string(text) + "\n";
        }
        if (first("cycle") != nullptr || heights_[0] > TREE_MAX_LEVELS)
            said += "Error:Cycle in parse tree or maximum depth exceeded\n";
    }

    const Fault *first(const char *check) {
        const auto found = std::ranges::find(faults, check, &Fault::check);
        return found == faults.end() ? nullptr : &*found;
    }

    void walk(uint32_t node) {
        constexpr int kAbove = -1;
        heights_[node] = kAbove;
        int below = 0;
        for (int32_t i = 0; i < records[node].child_count; ++i) {
            const uint16_t child = records[node].children[i];
            if (child >= records.size())
                continue;
            if (heights_[child] == kAbove)
                faults.push_back({"cycle", node, i});
            else if (heights_[child] == 0)
                walk(child);
            below = std::max(below, heights_[child]);
        }
        heights_[node] = below + 1;
    }

    bool say(const std::string &text, size_t place) {
        said += "Error: node \"" + base::escaped(records[place].name) + "\" " + text + "\n";
        return false;
    }

    std::map<const parser_node_t *, int> places_;
    std::vector<int> heights_; // of the subtree of a node; 0 if not yet known
};

template <typename Use> std::string said_by(Use use) {
    const CapturedOutput errors{STDERR_FILENO};
    use();
    return errors.take();
}

std::vector<Fault> faults_of(const std::vector<tree_node_t> &records) {
    std::vector<Fault> faults;
    const auto keep = [](const tsh_tree_fault_t *fault, void *kept) -> int32_t {
        auto &all = *static_cast<std::vector<Fault> *>(kept);
        return all.push_back({fault->check, fault->node, fault->position}), 0;
    };
    tsh_tree_check(records.data(), static_cast<uint32_t>(records.size()), keep, &faults);
    return faults;
}

void check_array(Graph graph, const Model &model) {
    static std::vector<tree_node_t> array(20000);
    int32_t place = 0;
    current_array_location = 0;
    const std::string said =
        said_by([&] { place = write_tree_to_array(array.data(), &graph.nodes[0]); });
    want(place == (model.is_written ? 0 : -1) && said.empty() == model.is_written, said.c_str());
    want(!model.is_written || model.are(array.data(), current_array_location), "array");
    std::fill_n(array.begin(), current_array_location, tree_node_t{});
}

void check_file(Graph graph, const Model &model) {
    constexpr subtree_path_t kPath{2, "a,b"};
    const std::string path = store(100, {});
    std::string said = said_by([&] {
        gzFile file = gzopen(path.c_str(), "wb1");
        write_tree_to_file(&graph.nodes[0], 7, &kPath, file);
        gzclose(file);
    });
    want(said == model.said, said.c_str());

    tree_node_t *nodes = nullptr;
    uint32_t count = 0;
    subtree_path_t attach_path{};
    int32_t result = 0;
    said = said_by([&] {
        gzFile file = gzopen(path.c_str(), "rb");
        result = read_par_tree("file", file, &nodes, &count, &attach_path, 1, 1);
        gzclose(file);
    });
    const bool is_valid = model.is_written && model.faults.empty();
    want(result == (is_valid ? 0 : -1) && said.empty() == (is_valid || !model.is_written),
         said.c_str());
    want(!is_valid || (model.are(nodes, count) && strcmp(attach_path.path, kPath.path) == 0),
         "read back");
    free(nodes);
}

} // namespace

// Writes a file for every fourth input only, because the writer needs 20 MB and the time to clear
// them.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input{data, size};
    const bool is_filed = input.any_of(0, 3) == 0;
    const Graph graph{input};
    const Model model{graph};
    want(!model.is_written || faults_of(model.records) == model.faults, "faults of the check");
    check_array(Graph{input}, model);
    if (is_filed)
        check_file(Graph{input}, model);
    return 0;
}
