// Where tree_tools_fuzz starts from: small files by the library's own writer, alone and in pairs.
// tree_tools_seeds FOLDER
#include "tests/support/grammar.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>
#include <zlib.h>

namespace {

using grammar::keyword;
using grammar::parameter;
using grammar::structural;
using grammar::Word;

std::string read(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string inflated(const std::string &path) {
    std::string bytes(1 << 20, '\0');
    gzFile file = gzopen(path.c_str(), "rb");
    bytes.resize(static_cast<size_t>(gzread(file, bytes.data(), 1 << 20)));
    gzclose(file);
    return bytes;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2)
        return EXIT_FAILURE;
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    const std::string path = folder / "made";
    std::vector<std::string> files;

    Word shared = parameter(1).optional().submode();
    shared.child(keyword("b").terminal()).child(parameter(2).parameter(0x40100003).terminal());
    const Word root = structural("root")
                          .child(keyword("a").help("x & y").marked_child(shared))
                          .child(keyword("c").parameter(0x40300002).child(shared))
                          .child(structural("gap").child(keyword("d").terminal()));
    for (const Word &tree : {structural("root"), keyword("a").child(shared), root}) {
        grammar::write_main_tree(path, grammar::lay_out(tree));
        files.push_back(read(path));
        grammar::write_subtree_file(path, {{tree, "e"}, {keyword("f"), "g,h"}});
        files.push_back(inflated(path));
    }
    files.push_back(read(path)); // and still compressed
    std::filesystem::remove(path);

    for (size_t i = 0; i < files.size(); ++i) {
        const std::string &other = files[(i + 2) % files.size()];
        const size_t size = files[i].size();
        std::ofstream{folder / std::to_string(i), std::ios::binary}
            << static_cast<char>(size) << static_cast<char>(size >> 8) << files[i] << other;
    }
    return EXIT_SUCCESS;
}
