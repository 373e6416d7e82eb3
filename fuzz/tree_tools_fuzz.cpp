// Any bytes as two files of trees, through everything that tools show of them. The first two bytes
// say how long the first file is, the second one is the rest.
#include "tools/ocmd_show/modes.h"
#include "tools/support/command_lines.h"
#include "tools/support/types.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// Makes a file in memory of the bytes, a new one under a name that stays the same.
std::string store(int descriptor, const uint8_t *data, size_t size) {
    const int created = memfd_create("input", 0);
    if (dup2(created, descriptor) < 0 || write(created, data, size) != static_cast<ssize_t>(size))
        abort();
    close(created);
    return "/proc/self/fd/" + std::to_string(descriptor);
}

// A file whose trees may be followed, if these bytes are one.
std::optional<tool::TreeFile> sound_file(const std::string &path) {
    try {
        return tool::open_sound(path);
    } catch (const tool::Stop &) {
        return std::nullopt;
    }
}

bool can_be_listed(const tool::TreeRecord &record) {
    constexpr uint64_t kFewLines = 10000;
    const tool::LinkTable links{record.nodes};
    const auto lines = tool::count_lines_below(links, tool::children_first(links)).front().text();
    return lines.size() < std::to_string(kFewLines).size();
}

void show_all(const tool::TreeFile &file) {
    tool::TextOutput output;
    const show::Part all;
    const show::Part part{.below = "a <STRING> / b", .levels = 2};
    show::show_summary(file, all, output);
    show::show_nodes(file, all, output);
    show::show_yaml(file, all, output);
    show::show_json(file, all, output);
    show::show_dot(file, all, output);
    show::show_dot(file, part, output);
    if (std::ranges::all_of(file.records(), can_be_listed))
        show::show_commands(file, all, output);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/) {
    tool::register_types();
    return dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO) < 0 ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2)
        return 0;
    const size_t first = std::min<size_t>(data[0] + 256U * data[1], size - 2);
    const auto one = sound_file(store(100, data + 2, first));
    const auto other = sound_file(store(101, data + 2 + first, size - 2 - first));
    if (one)
        show_all(*one);
    if (other)
        show_all(*other);
    return 0;
}
