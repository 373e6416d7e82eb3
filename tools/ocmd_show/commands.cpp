// The list of command lines, which the support makes.
#include "tools/ocmd_show/modes.h"
#include "tools/support/command_lines.h"

namespace show {

tool::Status show_commands(const tool::TreeFile &file, const Part & /*part*/,
                           tool::TextOutput &output) {
    for (const tool::TreeRecord &record : file.records())
        tool::list_lines(file, record, output);
    return tool::kDone;
}

} // namespace show
