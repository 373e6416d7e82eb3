// From the bytes of a file to trees in host order: node arrays stay where they are and are
// converted there.
#include "tools/support/tree_input.h"

#include "parse_tree/byte_order.h"
#include "parse_tree/tree_check.h"
#include "tools/support/file_bytes.h"
#include "tools/support/program.h"
#include "tools/support/tree_look.h"
#include "treelink/subtree_read.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

namespace tool {

namespace {

bool is_host_order(ByteOrder order) {
    return (order == ByteOrder::kLittle) == (std::endian::native == std::endian::little);
}

} // namespace

std::vector<std::string_view> attach_names(std::string_view attach_path) {
    std::vector<std::string_view> names;
    while (!attach_path.empty()) {
        const std::string_view name = attach_path.substr(0, attach_path.find(','));
        if (!name.empty())
            names.push_back(name);
        attach_path.remove_prefix(std::min(name.size() + 1, attach_path.size()));
    }
    return names;
}

struct TreeFile::Content {
    Content(const std::string &path, const Insist &insist)
        : name(path == "-" ? "standard input" : path), bytes(path, name), look(judge(insist)) {
        if (!bytes.cut_by().empty())
            miss("%s", bytes.cut_by().c_str());
        if (look.container == Container::kMain)
            read_main_tree();
        else
            read_subtrees();
    }

    std::string name;
    FileBytes bytes;
    Look look;
    std::vector<TreeRecord> records;
    bool complete = true;

private:
    [[nodiscard]] Look judge(const Insist &insist) const {
        const auto found = look_at(bytes.all(), insist);
        if (!found)
            fail("%s: neither a main par file nor a subtree file%s", name.c_str(),
                 bytes.all().size() > 0 && bytes.all().size() % TREE_NODE_SIZE == 0
                     ? "; --kind=main reads it as a main par file"
                     : "");
        return *found;
    }

    // Tells what of the file is missing.
    [[gnu::format(printf, 2, 3)]] void miss(const char *format, ...) {
        char what[256]; // all that is told here is shorter
        va_list values;
        va_start(values, format);
        vsnprintf(what, sizeof what, format, values);
        va_end(values);
        tell("%s: %s", name.c_str(), what);
        complete = false;
    }

    void read_main_tree() {
        const size_t size = bytes.all().size();
        if (size % TREE_NODE_SIZE != 0)
            miss("the file ends inside node %zu, which is left out", size / TREE_NODE_SIZE);
        if (size / TREE_NODE_SIZE > TREE_MAX_NODES)
            miss("only the first %d of %zu nodes can be reached; the others are left out",
                 TREE_MAX_NODES, size / TREE_NODE_SIZE);
        const size_t count = std::min<size_t>(size / TREE_NODE_SIZE, TREE_MAX_NODES);
        if (count > 0)
            add({nodes_at(0, count), 0, 0, {}});
    }

    void read_subtrees() {
        size_t place = 0;
        while (place < bytes.all().size() && read_subtree(place)) {
        }
    }

    // Reads the record that begins there and moves on to the next one. False when there is none.
    bool read_subtree(size_t &place) {
        const size_t number = records.size() + 1;
        const auto rest = bytes.all().subspan(place);
        if (rest.size() < sizeof(subtree_header_t)) {
            miss("record %zu: the file ends inside its header", number);
            return false;
        }
        const HeaderLook look_of_header{rest, look.order};
        const subtree_header_t &header = look_of_header.header;
        if (!look_of_header.is_readable()) {
            miss("record %zu: spoiled: %u bytes of attach path and %u of nodes; left out with all "
                 "that follows",
                 number, header.path_len, header.tree_bytes);
            return false;
        }
        const size_t nodes = sizeof header + header.path_len;
        if (rest.size() - sizeof header < header.path_len ||
            rest.size() - nodes < header.tree_bytes) {
            miss("record %zu: the file ends inside it; left out", number);
            return false;
        }
        if (header.tree_bytes == 0) {
            miss("record %zu: without nodes, which ends the file for its readers; left out with "
                 "the %zu bytes that follow",
                 number, rest.size() - nodes);
            return false;
        }
        const auto *path = reinterpret_cast<const char *>(rest.data() + sizeof header);
        const size_t path_length = strnlen(path, header.path_len);
        if (path_length + 1 != header.path_len)
            miss("record %zu: its attach path is not one terminated text of %u bytes", number,
                 header.path_len);
        if (header.reserved[0] != 0 || header.reserved[1] != 0)
            miss("record %zu: the reserved words of its header hold something, which is left out",
                 number);
        TreeRecord record{{}, header.version, header.path_kind, {path, path_length}};
        record.nodes = nodes_at(place + nodes, header.tree_bytes / TREE_NODE_SIZE);
        add(std::move(record));
        place += nodes + header.tree_bytes;
        return true;
    }

    // The check that the handle makes is the only one of a valid tree.
    void add(TreeRecord record) {
        tsh_error_t error;
        record.tree.reset(
            tsh_tree_over(record.nodes.data(), static_cast<uint32_t>(record.nodes.size()), &error));
        if (error.code == TSH_ERROR_NO_MEMORY)
            throw std::bad_alloc{};
        records.push_back(std::move(record));
    }

    // Nodes in host order. In a subtree file they begin anywhere and are moved down to where a
    // record may lie, over bytes that were read already.
    std::span<const tree_node_t> nodes_at(size_t place, size_t count) {
        const size_t unaligned = place % alignof(tree_node_t);
        if (unaligned == 0 && is_host_order(look.order))
            return {reinterpret_cast<const tree_node_t *>(bytes.all().data() + place), count};
        unsigned char *start = bytes.changeable().data() + place - unaligned;
        memmove(start, start + unaligned, count * TREE_NODE_SIZE);
        auto *nodes = reinterpret_cast<tree_node_t *>(start);
        if (!is_host_order(look.order))
            tsh_swap_array_order(nodes, static_cast<uint32_t>(count));
        return {nodes, count};
    }
};

TreeFile::TreeFile(const std::string &path, const Insist &insist)
    : content_(std::make_unique<Content>(path, insist)) {}

TreeFile::~TreeFile() = default;
TreeFile::TreeFile(TreeFile &&) noexcept = default;

const std::string &TreeFile::name() const {
    return content_->name;
}

Container TreeFile::container() const {
    return content_->look.container;
}

ByteOrder TreeFile::order() const {
    return content_->look.order;
}

bool TreeFile::compressed() const {
    return content_->bytes.compressed();
}

std::span<const TreeRecord> TreeFile::records() const {
    return content_->records;
}

bool TreeFile::complete() const {
    return content_->complete;
}

namespace {

// Faults on their way to standard error, each with its place.
class FaultTeller {
public:
    FaultTeller(const TreeFile &file, uint32_t most) : file_(file), most_(most) {}

    // Checks every record. Returns how many faults there are, told or not.
    uint32_t check_all() {
        for (const TreeRecord &record : file_.records()) {
            record_ = &record;
            check_attach_path();
            if (record.tree != nullptr)
                continue;
            errno = 0;
            faults_ += tsh_tree_check(record.nodes.data(), node_count(), take, this);
            if (errno == ENOMEM) // told like a fault of the tree
                throw std::bad_alloc{};
        }
        return faults_;
    }

private:
    // A reader refuses a record with more names than it has room for.
    void check_attach_path() {
        const size_t names = attach_names(record_->attach_path).size();
        if (names <= SUBTREE_ATTACH_PATHS)
            return;
        ++faults_;
        if (told_ < most_)
            tell_text("its attach path has " + std::to_string(names) + " names, the most are " +
                      std::to_string(SUBTREE_ATTACH_PATHS));
    }

    static int32_t take(const tsh_tree_fault_t *fault, void *context) {
        auto &teller = *static_cast<FaultTeller *>(context);
        if (teller.told_ < teller.most_)
            teller.tell_of(*fault);
        return 0;
    }

    void tell_of(const tsh_tree_fault_t &fault) {
        char text[TSH_TREE_FAULT_TEXT_SIZE];
        tsh_tree_fault_text(record_->nodes.data(), node_count(), &fault, text, sizeof text);
        tell_text(text);
    }

    void tell_text(const std::string &text) {
        if (file_.container() == Container::kMain)
            tell("%s: %s", file_.name().c_str(), text.c_str());
        else
            tell("%s: record %zu: %s", file_.name().c_str(),
                 static_cast<size_t>(record_ - file_.records().data()) + 1, text.c_str());
        ++told_;
    }

    [[nodiscard]] uint32_t node_count() const {
        return static_cast<uint32_t>(record_->nodes.size());
    }

    const TreeFile &file_;
    uint32_t most_;
    const TreeRecord *record_ = nullptr;
    uint32_t told_ = 0;
    uint32_t faults_ = 0;
};

} // namespace

uint32_t tell_faults(const TreeFile &file) {
    const bool is_loadable = file.container() != Container::kMain || !file.compressed();
    if (!is_loadable) // the library maps main par files; only the tools inflate them
        tell("%s: gzip-compressed main par file, which cannot be loaded", file.name().c_str());
    return FaultTeller{file, UINT32_MAX}.check_all() + (is_loadable ? 0 : 1);
}

bool is_sound(const TreeFile &file) {
    constexpr uint32_t kMostTold = 10;
    const uint32_t faults = FaultTeller{file, kMostTold}.check_all();
    if (faults > kMostTold)
        tell("%s: and %u faults more; ocmd_show --check tells them all", file.name().c_str(),
             faults - kMostTold);
    return faults == 0;
}

TreeFile open_sound(const std::string &path) {
    TreeFile file{path};
    if (file.records().empty() && file.complete())
        fail("%s: empty file; expected a tree", file.name().c_str());
    if (!is_sound(file) || !file.complete())
        throw Stop{kFaults};
    return file;
}

} // namespace tool
