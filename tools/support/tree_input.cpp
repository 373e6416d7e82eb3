// Reader for files of trees. Node arrays are converted to host order in offset.
#include "tools/support/tree_input.h"

#include "parse_tree/byte_order.h"
#include "parse_tree/tree_check.h"
#include "tools/support/file_bytes.h"
#include "tools/support/file_format.h"
#include "tools/support/program.h"
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
    Content(const std::string &path, const FormatOverride &format_override)
        : name(path == "-" ? "standard input" : path), contents(path, name),
          file_format(detect(format_override)) {
        if (file_format.container == Container::kSubtrees)
            read_useful_records();
        size = contents.skip_rest();
        if (!contents.incomplete_reason().empty())
            miss("%s", contents.incomplete_reason().c_str());
        if (file_format.container == Container::kMain)
            read_main_tree();
        else
            read_subtrees();
    }

    std::string name;
    FileBytes contents;
    size_t size = 0; // of the contents, of which only a part may be in memory
    FileFormat file_format;
    std::vector<TreeRecord> records;
    bool complete = true;

private:
    [[nodiscard]] FileFormat detect(const FormatOverride &format_override) {
        const auto found = detect_format(contents.read(kMaxTreeSize), format_override);
        if (found)
            return *found;
        const size_t all = contents.skip_rest();
        fail("%s: neither a main par file nor a subtree file%s", name.c_str(),
             all > 0 && all % TREE_NODE_SIZE == 0 ? "; --kind=main reads it as a main par file"
                                                  : "");
    }

    // Reads the records up to the first one that ends the file or cannot be read.
    void read_useful_records() {
        size_t end = 0;
        for (;;) {
            const auto bytes = contents.read(end + sizeof(subtree_header_t));
            if (bytes.size() < end + sizeof(subtree_header_t))
                return;
            const DecodedHeader decoded{bytes.subspan(end), file_format.order};
            const subtree_header_t &header = decoded.header;
            if (!decoded.is_readable() || header.tree_bytes == 0)
                return;
            end += sizeof header + header.path_len + header.tree_bytes;
            if (contents.read(end).size() < end)
                return;
        }
    }

    // Reports a missing part of the file.
    [[gnu::format(printf, 2, 3)]] void miss(const char *format, ...) {
        char what[256]; // longer than any message of this class
        va_list values;
        va_start(values, format);
        vsnprintf(what, sizeof what, format, values);
        va_end(values);
        report("%s: %s", name.c_str(), what);
        complete = false;
    }

    void read_main_tree() {
        if (size % TREE_NODE_SIZE != 0)
            miss("file truncated inside node %zu; node ignored", size / TREE_NODE_SIZE);
        if (size / TREE_NODE_SIZE > TREE_MAX_NODES)
            miss("only the first %d of %zu nodes can be addressed; the others are ignored",
                 TREE_MAX_NODES, size / TREE_NODE_SIZE);
        const size_t count = std::min<size_t>(size / TREE_NODE_SIZE, TREE_MAX_NODES);
        if (count > 0)
            add({nodes_at(0, count), 0, 0, {}});
    }

    void read_subtrees() {
        size_t offset = 0;
        while (offset < contents.bytes().size() && read_subtree(offset)) {
        }
    }

    // Reads the record at the offset and advances it. Returns false if there is none.
    bool read_subtree(size_t &offset) {
        const size_t number = records.size() + 1;
        const auto rest = contents.bytes().subspan(offset);
        if (rest.size() < sizeof(subtree_header_t)) {
            miss("record %zu: file truncated inside the header", number);
            return false;
        }
        const DecodedHeader decoded{rest, file_format.order};
        const subtree_header_t &header = decoded.header;
        if (!decoded.is_readable()) {
            miss(
                "record %zu: corrupt header (attach path: %u bytes, nodes: %u bytes); this and all "
                "following records are ignored",
                number, header.path_len, header.tree_bytes);
            return false;
        }
        const size_t nodes = sizeof header + header.path_len;
        if (rest.size() - sizeof header < header.path_len ||
            rest.size() - nodes < header.tree_bytes) {
            miss("record %zu: file truncated inside the record; record ignored", number);
            return false;
        }
        if (header.tree_bytes == 0) {
            miss("record %zu has no nodes and ends the file; the following %zu bytes are ignored",
                 number, size - offset - nodes);
            return false;
        }
        const auto *path = reinterpret_cast<const char *>(rest.data() + sizeof header);
        const size_t path_length = strnlen(path, header.path_len);
        if (path_length + 1 != header.path_len)
            miss("record %zu: attach path is not a NUL-terminated string of %u bytes", number,
                 header.path_len);
        if (header.reserved[0] != 0 || header.reserved[1] != 0)
            miss("record %zu: reserved header words are not zero; ignored", number);
        TreeRecord record{{}, header.version, header.path_kind, {path, path_length}};
        record.nodes = nodes_at(offset + nodes, header.tree_bytes / TREE_NODE_SIZE);
        add(std::move(record));
        offset += nodes + header.tree_bytes;
        return true;
    }

    // Adds a record with a handle. Creating the handle is the only check of a valid tree.
    void add(TreeRecord record) {
        tsh_error_t error;
        record.tree.reset(
            tsh_tree_over(record.nodes.data(), static_cast<uint32_t>(record.nodes.size()), &error));
        if (error.code == TSH_ERROR_NO_MEMORY)
            throw std::bad_alloc{};
        records.push_back(std::move(record));
    }

    // Returns nodes in host order. In a subtree file they can start at any offset; they are moved
    // down to an aligned address, over bytes that were already read.
    std::span<const tree_node_t> nodes_at(size_t offset, size_t count) {
        const size_t unaligned = offset % alignof(tree_node_t);
        if (unaligned == 0 && is_host_order(file_format.order))
            return {reinterpret_cast<const tree_node_t *>(contents.bytes().data() + offset), count};
        unsigned char *start = contents.changeable().data() + offset - unaligned;
        memmove(start, start + unaligned, count * TREE_NODE_SIZE);
        auto *nodes = reinterpret_cast<tree_node_t *>(start);
        if (!is_host_order(file_format.order))
            tsh_swap_array_order(nodes, static_cast<uint32_t>(count));
        return {nodes, count};
    }
};

TreeFile::TreeFile(const std::string &path, const FormatOverride &format_override)
    : content_(std::make_unique<Content>(path, format_override)) {}

TreeFile::~TreeFile() = default;
TreeFile::TreeFile(TreeFile &&) noexcept = default;

const std::string &TreeFile::name() const {
    return content_->name;
}

Container TreeFile::container() const {
    return content_->file_format.container;
}

ByteOrder TreeFile::order() const {
    return content_->file_format.order;
}

bool TreeFile::compressed() const {
    return content_->contents.compressed();
}

std::span<const TreeRecord> TreeFile::records() const {
    return content_->records;
}

bool TreeFile::complete() const {
    return content_->complete;
}

namespace {

// Checks the records of a file and reports their errors.
class ErrorReporter {
public:
    ErrorReporter(const TreeFile &file, uint32_t most) : file_(file), limit_(most) {}

    // Checks every record. Returns the number of errors, reported or not.
    uint32_t check_all() {
        for (const TreeRecord &record : file_.records()) {
            record_ = &record;
            check_attach_path();
            if (record.tree != nullptr)
                continue;
            errno = 0;
            errors_ += tsh_tree_check(record.nodes.data(), node_count(), take, this);
            if (errno == ENOMEM) // reported like an error of the tree
                throw std::bad_alloc{};
        }
        return errors_;
    }

private:
    // Readers reject a record with more names than its capacity.
    void check_attach_path() {
        const size_t names = attach_names(record_->attach_path).size();
        if (names <= SUBTREE_ATTACH_PATHS)
            return;
        ++errors_;
        if (reported_ < limit_)
            report_text("attach path has " + std::to_string(names) +
                        " names (limit: " + std::to_string(SUBTREE_ATTACH_PATHS) + ")");
    }

    static int32_t take(const tsh_tree_fault_t *fault, void *context) {
        auto &reporter = *static_cast<ErrorReporter *>(context);
        if (reporter.reported_ < reporter.limit_)
            reporter.report_fault(*fault);
        return 0;
    }

    void report_fault(const tsh_tree_fault_t &fault) {
        char text[TSH_TREE_FAULT_TEXT_SIZE];
        tsh_tree_fault_text(record_->nodes.data(), node_count(), &fault, text, sizeof text);
        report_text(text);
    }

    void report_text(const std::string &text) {
        if (file_.container() == Container::kMain)
            report("%s: %s", file_.name().c_str(), text.c_str());
        else
            report("%s: record %zu: %s", file_.name().c_str(),
                   static_cast<size_t>(record_ - file_.records().data()) + 1, text.c_str());
        ++reported_;
    }

    [[nodiscard]] uint32_t node_count() const {
        return static_cast<uint32_t>(record_->nodes.size());
    }

    const TreeFile &file_;
    uint32_t limit_;
    const TreeRecord *record_ = nullptr;
    uint32_t reported_ = 0;
    uint32_t errors_ = 0;
};

} // namespace

uint32_t report_errors(const TreeFile &file) {
    const bool is_loadable = file.container() != Container::kMain || !file.compressed();
    if (!is_loadable) // the library maps main par files; only the tools decompress them
        report("%s: main par file is gzip-compressed and cannot be loaded", file.name().c_str());
    return ErrorReporter{file, UINT32_MAX}.check_all() + (is_loadable ? 0 : 1);
}

bool is_valid(const TreeFile &file) {
    constexpr uint32_t kMaxReported = 10;
    const uint32_t errors = ErrorReporter{file, kMaxReported}.check_all();
    if (errors > kMaxReported)
        report("%s: %u more errors; ocmd_show --check reports all of them", file.name().c_str(),
               errors - kMaxReported);
    return errors == 0;
}

TreeFile open_valid(const std::string &path) {
    TreeFile file{path};
    if (file.records().empty() && file.complete())
        fail("%s: empty file; expected a tree", file.name().c_str());
    if (!is_valid(file) || !file.complete())
        throw Stop{kNegative};
    return file;
}

} // namespace tool
