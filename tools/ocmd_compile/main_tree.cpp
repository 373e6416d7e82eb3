// The linker gets the records of every document in memory, as it would read them from its subtree
// file, and so makes the tree that it makes of these files.
#include "tools/ocmd_compile/main_tree.h"

#include "parse_tree/tree_writer.h"
#include "tools/ocmd_compile/attachments.h"
#include "tools/ocmd_compile/lay_out.h"
#include "tools/ocmd_compile/library_output.h"
#include "tools/support/program.h"
#include "treelink/link_driver.h"
#include "treelink/link_report.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <glib.h>
#include <new>

namespace compiler {

namespace {

namespace fs = std::filesystem;

bool is_linker_running = false;

// Reports that memory ran out; the library exits silently.
void report_no_memory(int status, void * /*unused*/) {
    if (status == TREELINK_OUT_OF_MEMORY && is_linker_running)
        tool::report("out of memory");
}

// A time in which the linker runs.
class LinkerRun {
public:
    LinkerRun() {
        static const int registered = on_exit(report_no_memory, nullptr);
        is_linker_running = registered == 0;
    }
    ~LinkerRun() { is_linker_running = false; }
    LinkerRun(const LinkerRun &) = delete;
    LinkerRun &operator=(const LinkerRun &) = delete;

private:
    LibraryOutput output_;
};

// Input of the linker for a document.
class Subtree {
public:
    explicit Subtree(const Document &document)
        : document_(document),
          records_(static_cast<tree_node_t *>(malloc(count() * sizeof(tree_node_t)))) {
        if (records_ == nullptr)
            throw std::bad_alloc{};
        lay_out(document, 0, {records_.get(), count()});
        for (const std::string_view point : attach_points(document))
            (points_ += points_.empty() ? "" : ",") += point;
    }

    // Hands the records over, with no file name for messages: names have been checked. Throws
    // nothing.
    void add() {
        subtree_path_t path{document_.path_kind, {}};
        std::ranges::copy(points_, path.path);
        add_unresolved_subtree(points_.empty() ? &tsh_root_tree_table : &unresolved_subtree_table,
                               nullptr, records_.release(), static_cast<uint32_t>(count()), &path,
                               treelink_table);
    }

private:
    [[nodiscard]] size_t count() const { return document_.words.size(); }

    const Document &document_;
    base::Block<tree_node_t> records_;
    std::string points_;
};

const dl_hash_entry_t *find_prebuilt(const std::string &name) {
    for (GHashTable *table : {main_tree_dl_hash, main_tree2_dl_hash})
        if (const void *entry =
                table == nullptr ? nullptr : g_hash_table_lookup(table, name.c_str()))
            return static_cast<const dl_hash_entry_t *>(entry);
    return nullptr;
}

} // namespace

void use_prebuilt_trees(const char *directory) {
    prebuilt_main_tree_path = const_cast<char *>(directory);
}

std::vector<std::string> prebuilt_paths() {
    if (prebuilt_main_tree_path == nullptr)
        return {};
    const fs::path directory{prebuilt_main_tree_path};
    return {directory / PREBUILT_MAIN_TREE, directory / PREBUILT_MAIN_TREE2};
}

std::vector<std::string> prebuilt_files() {
    std::vector<std::string> files;
    for (std::string &file : prebuilt_paths()) {
        std::error_code error;
        if (fs::exists(file, error))
            files.push_back(std::move(file));
        else if (error)
            tool::fail("%s: cannot read: %s", file.c_str(), error.message().c_str());
    }
    return files;
}

void read_prebuilt_trees() {
    const auto count = static_cast<int32_t>(prebuilt_files().size());
    const LinkerRun running;
    if (main_tree_to_dl_hash() + main_tree2_to_dl_hash() > 2 - count)
        tool::fail("%s: a prebuilt tree cannot be used", prebuilt_main_tree_path);
}

// The linker borrows nothing without the first tree.
const dl_hash_entry_t *borrowed_below(std::string_view name, const NamedWords &defined) {
    if (main_tree_dl_hash == nullptr)
        return nullptr;
    const dl_hash_entry_t *entry = find_prebuilt(std::string{name});
    for (uint32_t steps = 0; entry != nullptr && entry->parent != nullptr; ++steps) {
        if (defined.contains(entry->parent->name))
            return entry;
        if (steps > TREE_MAX_NODES) // a parent has the name of one of its descendants
            return nullptr;
        entry = find_prebuilt(entry->parent->name);
    }
    return nullptr;
}

MainTree::MainTree(std::span<const Document> documents) : documents_(documents) {
    if (documents.size() == 1)
        return;
    std::vector<Subtree> subtrees;
    subtrees.reserve(documents.size());
    for (const Document &document : documents)
        subtrees.emplace_back(document);
    const LinkerRun running;
    treelink_init();
    fresh_tree_linking = 0;
    for (Subtree &subtree : subtrees)
        subtree.add();
    tree_node_t *nodes = nullptr;
    const int32_t count = get_parse_tree(&nodes);
    linked_.reset(nodes);
    if (count < 1 || tsh_link_losses > 0) { // reported by the library
        tool::report("the grammars cannot be linked completely");
        throw tool::Stop{tool::kNegative};
    }
    node_count_ = static_cast<uint32_t>(count);
}

bool MainTree::write(FILE *stream) const {
    const auto put = [&](tree_node_t *nodes, size_t count) {
        return write_array_tree_to_file(nodes, static_cast<uint32_t>(count), 0, nullptr, stream, 0,
                                        0, 1) == 0;
    };
    const LibraryOutput output;
    setvbuf(stream, nullptr, _IONBF, 0); // else each block leaves in three pieces
    if (linked_ != nullptr)
        return put(linked_.get(), node_count_);
    constexpr size_t kMostAtOnce = 512; // records: whole pages, which stay in the cache
    const Document &document = documents_.front();
    std::vector<tree_node_t> records(std::min(kMostAtOnce, document.words.size()));
    for (size_t first = 0; first < document.words.size(); first += records.size()) {
        records.resize(std::min(records.size(), document.words.size() - first));
        lay_out(document, first, records);
        if (!put(records.data(), records.size()))
            return false;
    }
    return true;
}

} // namespace compiler
