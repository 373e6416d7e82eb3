#include "tools/ocmd_show/modes.h"
namespace show {
tool::Status show_yaml(const tool::TreeFile &, const Part &, tool::TextOutput &) {
    return tool::kTrouble;
}
} // namespace show
