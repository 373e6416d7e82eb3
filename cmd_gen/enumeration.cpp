// Command enumeration: exported state, choice of the listing, and extension of lines.
#include "cmd_gen/enumeration.h"

#include "cmd_gen/command_line_internal.h"
#include "cmd_gen/listing_internal.h"
#include "cmd_gen/word_internal.h"
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/memory_internal.h"
#include "feature/tsh/src/trace_internal.h"
#include "parse_tree/tree_node_internal.h"

#include <cstdio>
#include <cstring>
#include <string_view>

uint32_t cmd_count;
int32_t cmd_gen_mode_single;
char spc_str[SPC_STR_SIZE];
int32_t submode_depth;

namespace {

void report_no_memory() {
    fputs("\nMem alloc failed...", stderr);
}

// Takes ownership of a line and appends a part of a word.
char *append(char *line, std::string_view piece) {
    const size_t length = strlen(line);
    char *grown = tsh::resize_text(line, uint64_t{length} + piece.size() + 1);
    if (grown == nullptr) {
        report_no_memory();
        tsh_free(line);
        return nullptr;
    }
    grown[length + piece.copy(grown + length, piece.size())] = '\0';
    return grown;
}

} // namespace

void tsh::show_indentation() {
    memset(spc_str, ' ', indentation());
    spc_str[indentation()] = '\0';
}

int32_t generate_cmds(const tree_node_t *node, const char *prefix) {
    const std::string_view start = prefix == nullptr ? "" : prefix;
    const bool had_error = ferror(stdout) != 0;
    auto result = tsh::ListResult::kDone;
    if (tsh::traces(UINT32_MAX))
        result = tsh::list_traced(node, start);
    else if (node != nullptr)
        result = tsh::list_gathered(*node, start);
    if (result == tsh::ListResult::kNoMemory) {
        report_no_memory();
        fputs("Mem alloc errorr..", stdout);
    }
    const bool has_output = fflush(stdout) == 0 && (had_error || ferror(stdout) == 0);
    return result == tsh::ListResult::kDone && has_output ? 0 : -1;
}

char *add_token_str(char *line, const tree_node_t *node) {
    tsh::Word piece;
    tsh::add_token(piece, *node);
    return append(line, piece.text());
}

char *add_param_str(char *line, const tree_node_t *node) {
    for (const parameter_info_t &param : tsh::params_of(*node)) {
        tsh::Word piece;
        tsh::add_param(piece, *node, param);
        line = append(line, piece.text());
        if (line == nullptr)
            return nullptr;
    }
    return line;
}
