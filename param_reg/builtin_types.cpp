// Table of the built-in parameter types.
#include "param_reg/builtin_types.h"

#include "param_reg/param_registry.h"
#include "param_reg/types_internal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

// A range list of 4104 bytes exceeds what the registry stores, so these two are kept without a
// size.
constexpr int32_t kListSize = 4104;

// Base, width and sign.
struct Digits {
    uint8_t base;
    uint8_t bits;
    uint8_t is_signed;
};
constexpr Digits kSigned32{10, 32, 1};
constexpr Digits kUnsigned32{10, 32, 0};
constexpr Digits kHex32{16, 32, 0};
constexpr Digits kSigned64{10, 64, 1};
constexpr Digits kUnsigned64{10, 64, 0};
constexpr Digits kHex64{16, 64, 0};

constexpr uint8_t kMayRepeat = 1;

constexpr tsh_type_t row(uint32_t mask, const char *name, int32_t size, tsh_form_t form,
                         tsh_bounds_t bounds, Digits digits, const char *article,
                         const char *plain_name, const char *example, uint8_t may_repeat = 0) {
    return {mask,   name,    size,       form,    digits.base, digits.bits, digits.is_signed,
            bounds, article, plain_name, example, may_repeat,  nullptr,     nullptr};
}

constexpr tsh_type_t number(uint32_t mask, const char *name, int32_t size, tsh_form_t form,
                            Digits digits, const char *article, const char *plain_name,
                            const char *example) {
    return row(mask, name, size, form, TSH_BOUNDS_NUMBERS, digits, article, plain_name, example);
}

constexpr tsh_type_t text(uint32_t mask, const char *name, int32_t size, tsh_form_t form,
                          const char *article, const char *plain_name, const char *example,
                          uint8_t may_repeat = 0) {
    return row(mask, name, size, form, TSH_BOUNDS_LENGTH, {}, article, plain_name, example,
               may_repeat);
}

// A type whose values have neither bounds nor a maximum length.
constexpr tsh_type_t other(uint32_t mask, const char *name, int32_t size, tsh_form_t form,
                           const char *article, const char *plain_name, const char *example,
                           uint8_t may_repeat = 0) {
    return row(mask, name, size, form, TSH_BOUNDS_NONE, {}, article, plain_name, example,
               may_repeat);
}

// In registration order, which is the order of the masks.
constexpr std::array kTypes{
    text(PARAM_TYPE_STRING, "STRING", 0, TSH_FORM_WORD, "a", "string", "name"),
    text(PARAM_TYPE_LINE, "LINE", 0, TSH_FORM_LINE, "a", "line of text", "some text"),
    text(PARAM_TYPE_URI, "URI", 520, TSH_FORM_URI, "a", "URI", "ftp://host/file", kMayRepeat),
    text(PARAM_TYPE_DNS_NAME, "DNS Name", 0, TSH_FORM_DNS_NAME, "a", "DNS name", "host.example"),
    text(PARAM_TYPE_USER_HOST, "user@host", 0, TSH_FORM_USER_HOST, "", "user@host", "user@host"),
    other(PARAM_TYPE_IP, "IP ADDR", 4, TSH_FORM_IP, "an", "IP address", "192.0.2.1"),
    other(PARAM_TYPE_IPV4, "IPv4 Address", 24, TSH_FORM_IPV4, "an", "IPv4 address", "192.0.2.1"),
    other(PARAM_TYPE_IPV6, "IPv6 Address", 24, TSH_FORM_IPV6, "an", "IPv6 address", "2001:db8::1"),
    other(PARAM_TYPE_INET, "INET Address", 0, TSH_FORM_IP, "an", "IPv4 or IPv6 address",
          "192.0.2.1"),
    number(PARAM_TYPE_INTEGER, "INTEGER", 4, TSH_FORM_NUMBER, kSigned32, "a", "number", "1"),
    number(PARAM_TYPE_INTEGER_RANGE, "INTEGER RANGE", 8, TSH_FORM_RANGE, kSigned32, "a",
           "range of numbers", "1-4"),
    number(PARAM_TYPE_HEX, "HEX", 4, TSH_FORM_NUMBER, kHex32, "a", "hexadecimal number", "0x1f"),
    number(PARAM_TYPE_INTEGER_LIST, "INT MULTI RANGE", kListSize, TSH_FORM_LIST, kSigned32, "a",
           "list of numbers and ranges", "1-4,9"),
    number(PARAM_TYPE_HEX_RANGE, "HEX RANGE", 8, TSH_FORM_RANGE, kHex32, "a",
           "range of hexadecimal numbers", "0x1-0x1f"),
    number(PARAM_TYPE_UNSIGNED, "Unsigned Int", 0, TSH_FORM_NUMBER, kUnsigned32, "an",
           "unsigned number", "1"),
    number(PARAM_TYPE_UNSIGNED_RANGE, "Uint Range", 0, TSH_FORM_RANGE, kUnsigned32, "a",
           "range of unsigned numbers", "1-4"),
    number(PARAM_TYPE_HEX_LIST, "Hex Multi Range", 0, TSH_FORM_LIST, kHex32, "a",
           "list of hexadecimal numbers and ranges", "0x1-0x4,0x1f"),
    other(PARAM_TYPE_INTERFACE, "INTERFACE", 4, TSH_FORM_WORD, "an", "interface", "1/1",
          kMayRepeat),
    other(PARAM_TYPE_INTERFACE_RANGE, "INTERFACE RANGE", 528, TSH_FORM_WORD, "a",
          "range of interfaces", "1/1-4"),
    other(PARAM_TYPE_MAC, "MAC ADDR", 6, TSH_FORM_MAC, "a", "MAC address", "02:00:5e:00:53:01"),
    other(PARAM_TYPE_WWN, "WWN", 8, TSH_FORM_WWN, "a", "WWN", "10:00:02:00:5e:00:53:01"),
    other(PARAM_TYPE_LUN, "LUN", 8, TSH_FORM_WORD, "a", "logical unit number", "1"),
    number(PARAM_TYPE_ZANET, "ZANET INT", 4, TSH_FORM_NUMBER, kSigned32, "a", "number", "1"),
    number(PARAM_TYPE_ZANET_RANGE, "ZANET INT RANGE", 8, TSH_FORM_RANGE, kSigned32, "a",
           "range of numbers", "1-4"),
    number(PARAM_TYPE_ZANET_LIST, "ZANET MULTI RANGE", kListSize, TSH_FORM_LIST, kSigned32, "a",
           "list of numbers and ranges", "1-4,9"),
    other(PARAM_TYPE_GUID, "Guid", 0, TSH_FORM_GUID, "a", "GUID",
          "00000000-0000-4000-8000-00005e005301"),
    other(PARAM_TYPE_FC_ID, "FC ID", 4, TSH_FORM_FC_ID, "an", "FC ID", "0x010203"),
    other(PARAM_TYPE_COMMUNITY, "Community", 0, TSH_FORM_COMMUNITY, "a", "community", "64496:1"),
    number(PARAM_TYPE_INT64, "INT64", 0, TSH_FORM_NUMBER, kSigned64, "a", "number", "1"),
    number(PARAM_TYPE_UINT64, "UINT64", 0, TSH_FORM_NUMBER, kUnsigned64, "an", "unsigned number",
           "1"),
    number(PARAM_TYPE_HEX64, "HEX64", 0, TSH_FORM_NUMBER, kHex64, "a", "hexadecimal number",
           "0x1f"),
    other(PARAM_TYPE_SID, "SID", 0, TSH_FORM_WORD, "a", "system ID", "1"),
    other(PARAM_TYPE_LID, "LID", 0, TSH_FORM_WORD, "a", "link ID", "1"),
    other(PARAM_TYPE_NID, "NID", 0, TSH_FORM_WORD, "a", "node ID", "1"),
    other(PARAM_TYPE_NET, "NET", 0, TSH_FORM_WORD, "a", "network", "1"),
    other(PARAM_TYPE_PASSWORD, "Password", 0, TSH_FORM_WORD, "a", "password", "secret"),
    other(PARAM_TYPE_PSEUDO_INTERFACE, "Pseudo Intf", 0, TSH_FORM_WORD, "a", "pseudo interface",
          "1"),
};

static_assert(std::ranges::adjacent_find(kTypes, std::ranges::greater_equal{}, &tsh_type_t::mask) ==
                  kTypes.end(),
              "types are found by binary search");

constexpr tsh_types_t kBuiltin{kTypes.data(), kTypes.size(), nullptr};

bool enter(const tsh_type_t &type) {
    return param_register(type.mask, type.name, type.size, nullptr, nullptr, nullptr) >= 0;
}

} // namespace

const tsh_types_t *tsh_types_builtin(void) {
    return &kBuiltin;
}

int32_t init_params(void) {
    for (const tsh_type_t &type : kTypes) {
        if (enter(type))
            continue;
        printf("\nParam Name : %s, id %u : Registration failed...", type.name, type.mask);
        exit(1);
    }
    return 0;
}

uint32_t tsh_builtin_types_register(void) {
    return static_cast<uint32_t>(
        std::ranges::count_if(kTypes, [](const tsh_type_t &type) { return !enter(type); }));
}
