// The registry table and its lookups: linear scans of at most 64 entries.
#include "param_reg/param_registry.h"

#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/trace_internal.h"
#include "param_reg/type_keys_internal.h"
#include "platform/robust_string.h"

#include <algorithm>
#include <span>
#include <strings.h>

using tsh::trace;
using tsh::traces;

param_reg_table_t pinfo_reg_tbl;

namespace {

std::span<param_reg_info_t *const> registered() {
    return {pinfo_reg_tbl.entries, pinfo_reg_tbl.count};
}

bool is_taken(uint32_t id, const char *name) {
    return std::ranges::any_of(registered(), [=](const param_reg_info_t *type) {
        return type->id == id || strcasecmp(type->name, name) == 0;
    });
}

int32_t kept_size(int32_t size) {
    if (size >= 1 && size <= PARAM_REG_MAX_VALUE_SIZE)
        return size;
    if (traces(TSH_TRACE_STARTUP))
        trace("Setting size to 0 \n");
    return 0;
}

} // namespace

int32_t init_pinfo_reg_table(void) {
    pinfo_reg_tbl = {};
    return 0;
}

int32_t param_register(uint32_t id, const char *name, int32_t size, void *extra1,
                       param_match_t match_fn, void *extra2) {
    if (robust_strlen(name) == 0) {
        if (traces(TSH_TRACE_STARTUP))
            trace("Param name cannot be NULL..\n");
        return -1;
    }
    size = kept_size(size);
    if (is_taken(id, name)) {
        if (traces(TSH_TRACE_STARTUP))
            trace("Param id/name already registered...\n");
        return -1;
    }
    if (pinfo_reg_tbl.count >= PARAM_REG_CAPACITY)
        return -1;
    if (traces(TSH_TRACE_STARTUP))
        trace("Param Sanity check successfull, Registering...\n");

    auto *type = static_cast<param_reg_info_t *>(tsh_malloc(sizeof(param_reg_info_t)));
    if (type == nullptr) {
        if (traces(TSH_TRACE_STARTUP))
            trace("Mem alloc error...\n");
        return -2;
    }
    type->id = id;
    robust_strncpy(type->name, name, sizeof type->name);
    type->size = size;
    type->extra1 = extra1;
    type->match_fn = match_fn;
    type->extra2 = extra2;
    pinfo_reg_tbl.entries[pinfo_reg_tbl.count++] = type;
    return 0;
}

const param_reg_info_t *param_reg_info_get(uint32_t mask) {
    if (traces(TSH_TRACE_PARAMS))
        trace("Searching Pmask : %08x\n", mask);
    const auto types = registered();
    const auto found = std::ranges::find(types, mask, &param_reg_info_t::id);
    if (found == types.end()) {
        if (traces(TSH_TRACE_PARAMS))
            trace("Param reg table search failed...\n");
        return nullptr;
    }
    if (traces(TSH_TRACE_PARAMS))
        trace(", Matched...");
    return *found;
}

const char *param_reg_name_get(uint32_t mask) {
    const param_reg_info_t *type = param_reg_info_get(mask);
    return type == nullptr ? nullptr : type->name;
}

uint32_t param_reg_index_get(uint32_t mask) {
    const param_reg_info_t *type = param_reg_info_get(mask);
    return type == nullptr ? 0 : type->id;
}

const param_reg_info_t *param_reg_info_check_get_combn(const parameter_info_t *param) {
    tsh::trace_function("param_reg_info_check_get_combn");
    tsh::TypeKeys keys{param->type_mask};
    if (traces(TSH_TRACE_PARAMS))
        trace("Checking for all param types in the mask ...\n");
    while (const auto key = keys.next()) {
        const param_reg_info_t *type = param_reg_info_get(*key);
        if (type == nullptr) {
            if (traces(TSH_TRACE_PARAMS))
                trace("Param type in the combn not registered\n");
            return nullptr;
        }
        if (type->match_fn != nullptr && type->match_fn(param) != 0) {
            if (traces(TSH_TRACE_PARAMS))
                trace("Param type %08x  matched\n", *key);
            return type;
        }
    }
    if (traces(TSH_TRACE_PARAMS))
        trace("Param check failed for all types in mask...\n");
    return nullptr;
}
