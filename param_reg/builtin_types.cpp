// The table of built-in types, which doc/files.md shows to readers in other languages. Within a
// class the type bits go upwards from bit 0 without gaps.
#include "param_reg/builtin_types.h"

#include "param_reg/param_registry.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

struct BuiltinType {
    uint32_t id;
    const char *name;
    int32_t size; // bytes of a value; 0 when it has no fixed size
};

// A range list of 4104 bytes is more than the registry keeps, so these two end up without a size.
constexpr int32_t kMultiRangeSize = 4104;

constexpr std::array kBuiltinTypes{
    BuiltinType{0x00000001, "STRING", 0},
    BuiltinType{0x00000002, "LINE", 0},
    BuiltinType{PARAM_TYPE_URI, "URI", 520},
    BuiltinType{0x00000008, "DNS Name", 0},
    BuiltinType{0x00000010, "user@host", 0},
    BuiltinType{0x40000001, "IP ADDR", 4},
    BuiltinType{0x40000002, "IPv4 Address", 24},
    BuiltinType{0x40000004, "IPv6 Address", 24},
    BuiltinType{0x40000008, "INET Address", 0},
    BuiltinType{0x40100001, "INTEGER", 4},
    BuiltinType{0x40100002, "INTEGER RANGE", 8},
    BuiltinType{0x40100004, "HEX", 4},
    BuiltinType{0x40100008, "INT MULTI RANGE", kMultiRangeSize},
    BuiltinType{0x40100010, "HEX RANGE", 8},
    BuiltinType{0x40100020, "Unsigned Int", 0},
    BuiltinType{0x40100040, "Uint Range", 0},
    BuiltinType{0x40100080, "Hex Multi Range", 0},
    BuiltinType{PARAM_TYPE_INTERFACE, "INTERFACE", 4},
    BuiltinType{0x40200002, "INTERFACE RANGE", 528},
    BuiltinType{0x40300001, "MAC ADDR", 6},
    BuiltinType{0x40300002, "WWN", 8},
    BuiltinType{0x40300004, "LUN", 8},
    BuiltinType{0x40400001, "ZANET INT", 4},
    BuiltinType{0x40400002, "ZANET INT RANGE", 8},
    BuiltinType{0x40400004, "ZANET MULTI RANGE", kMultiRangeSize},
    BuiltinType{0x40500001, "Guid", 0},
    BuiltinType{0x40600001, "FC ID", 4},
    BuiltinType{0x40700001, "Community", 0},
    BuiltinType{0x40800001, "INT64", 0},
    BuiltinType{0x40800002, "UINT64", 0},
    BuiltinType{0x40800004, "HEX64", 0},
    BuiltinType{0x40900001, "SID", 0},
    BuiltinType{0x40900002, "LID", 0},
    BuiltinType{0x40900004, "NID", 0},
    BuiltinType{0x40900008, "NET", 0},
    BuiltinType{0x40A00001, "Password", 0},
    BuiltinType{0x40B00001, "Pseudo Intf", 0},
};

bool enter(const BuiltinType &type) {
    return param_register(type.id, type.name, type.size, nullptr, nullptr, nullptr) >= 0;
}

} // namespace

int32_t init_params(void) {
    for (const BuiltinType &type : kBuiltinTypes) {
        if (enter(type))
            continue;
        printf("\nParam Name : %s, id %u : Registration failed...", type.name, type.id);
        exit(1);
    }
    return 0;
}

uint32_t tsh_builtin_types_register(void) {
    return static_cast<uint32_t>(
        std::ranges::count_if(kBuiltinTypes, [](const BuiltinType &type) { return !enter(type); }));
}
