// Naming the types of a parameter, each through the registry.
#include "cmd_gen/param_piece_internal.h"

#include "param_reg/param_registry.h"
#include "param_reg/type_keys_internal.h"
#include "platform/robust_string.h"

tsh::ParamPiece::ParamPiece(const parameter_info_t &param) {
    __strcpy_to_buf(sizeof text_, text_, "<");
    TypeKeys keys{param.type_mask};
    while (const auto key = keys.next())
        if (const param_reg_info_t *type = param_reg_info_get(*key))
            __strcat_to_buf(sizeof text_, text_, type->name);
    __strcat_to_buf(sizeof text_, text_, ">");
}
