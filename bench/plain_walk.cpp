// The yardstick of the listing: the same lines by the plain method, one reallocated text per word
// and one printf per line. It reads a sound main par file and names the types of make_tree's trees.
#include "parse_tree/tree_node.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>

namespace {

const tree_node_t *nodes;
uint32_t lines;
int submodes;

char *with_space(const char *text) {
    char *copy = static_cast<char *>(malloc(strlen(text) + 2));
    return strcat(strcpy(copy, text), " ");
}

char *append(char *line, const std::string &text) {
    line = static_cast<char *>(realloc(line, strlen(line) + text.size() + 1));
    return strcat(line, text.c_str());
}

std::string type_names(uint32_t mask) {
    switch (mask) {
    case 0x00000001:
        return "<STRING>";
    case 0x40000002:
        return "<IPv4 Address>";
    case 0x40100003:
        return "<INTEGERINTEGER RANGE>";
    case 0x40200001:
        return "<INTERFACE>";
    default:
        return "<LUN>";
    }
}

void walk(const tree_node_t &node, const char *prefix) {
    char *base = with_space(prefix);
    for (int i = 0; i < node.child_count; ++i) {
        const tree_node_t &child = nodes[node.children[i]];
        char *line = with_space(base);
        const std::string mark = child.optional != 0 ? "[o]" : "";
        if (child.token[0] != '\0')
            line = append(line, child.token + mark);
        if (child.param_count != 0)
            line = append(line, type_names(child.params[0].type_mask) + mark);
        if ((child.flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0)
            printf("\n[%6u].%*s%s", ++lines, 2 * submodes, "", line);
        if ((child.flags & TREE_FLAG_SUBMODE) != 0) {
            ++submodes;
            walk(child, "");
            --submodes;
        } else {
            walk(child, line);
        }
        free(line);
    }
    free(base);
}

} // namespace

int main(int /*argc*/, char **argv) {
    const int file = open(argv[1], O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0)
        return 1;
    nodes = static_cast<const tree_node_t *>(
        mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ, MAP_SHARED, file, 0));
    walk(nodes[0], "");
    puts("\n");
    return 0;
}
