// The tables behind record_fields.h, for use at compile time. Nothing else lists fields or flags.
#pragma once

#include "parse_tree/record_fields.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tsh {

/// C type of the elements of a member.
enum class Element : uint8_t { kCharacter, kByte, kUnsigned, kSigned, kRecord };

template <typename Type> consteval Element element_of() {
    if constexpr (std::is_class_v<Type>)
        return Element::kRecord;
    else if constexpr (std::is_same_v<Type, char>)
        return Element::kCharacter;
    else if constexpr (sizeof(Type) == 1)
        return Element::kByte;
    else
        return std::is_signed_v<Type> ? Element::kSigned : Element::kUnsigned;
}

/// Name, position and type of a member.
struct Member {
    const char *name;
    uint16_t offset;
    uint16_t width;
    uint16_t count;
    Element element;
};

template <typename Type> consteval Member member(const char *name, size_t offset) {
    using Single = std::remove_all_extents_t<Type>;
    constexpr size_t kWidth = sizeof(Single);
    return {name, static_cast<uint16_t>(offset), kWidth, sizeof(Type) / kWidth,
            element_of<Single>()};
}

/// Key of a field in a grammar, and its rank among the keys.
struct Key {
    const char *text = nullptr;
    uint16_t order = 0;
};

/// A row of the tables, see tsh_field_t.
struct Field : Member {
    tsh_field_kind_t kind;
    Key key{};
    uint16_t list_order = 0;
    uint16_t traits = 0;
    uint16_t counter = 0;

    [[nodiscard]] consteval Field counted_by(size_t counter_offset) const {
        Field counted = *this;
        counted.counter = static_cast<uint16_t>(counter_offset);
        return counted;
    }
    [[nodiscard]] constexpr size_t size() const { return size_t{width} * count; }
    [[nodiscard]] constexpr size_t end() const { return offset + size(); }
    [[nodiscard]] constexpr bool has_integers() const {
        return element == Element::kUnsigned || element == Element::kSigned;
    }
};

// C++20 has no other way from a member to its name and offset.
#define NODE(field) member<decltype(tree_node_t::field)>(#field, offsetof(tree_node_t, field))
#define PARAM(field)                                                                               \
    member<decltype(parameter_info_t::field)>(#field, offsetof(parameter_info_t, field))

// Member, kind, key with its rank, rank in lists for readers, traits. Ranks leave gaps for more.
inline constexpr std::array kNodeFields{
    Field{NODE(name), TSH_FIELD_TEXT, {"name", 10}},
    Field{NODE(token), TSH_FIELD_TEXT},
    Field{NODE(help), TSH_FIELD_TEXT, {"help", 20}, 10},
    Field{NODE(submode_help), TSH_FIELD_TEXT, {"submode_help", 60}, 20},
    Field{NODE(aux_text), TSH_FIELD_TEXT, {"aux_text", 160}, 50},
    Field{NODE(func_id), TSH_FIELD_TEXT, {"function", 30}, 30},
    Field{NODE(mode_id), TSH_FIELD_TEXT, {"mode", 70}, 40},
    Field{NODE(aux_label), TSH_FIELD_TEXT, {"aux_label", 170}, 60},
    Field{NODE(optional), TSH_FIELD_NUMBER, {"optional", 80}, 80, TSH_FIELD_YES_NO},
    Field{NODE(cmi_msg_type), TSH_FIELD_NUMBER, {"message_type", 150}, 110},
    Field{NODE(flags), TSH_FIELD_FLAGS, {"flags", 100}, 70},
    Field{NODE(token_id), TSH_FIELD_NUMBER, {"token_id", 130}, 90},
    Field{NODE(command_id), TSH_FIELD_NUMBER, {"command_id", 140}, 100},
    Field{NODE(perms_mask), TSH_FIELD_SET, {"permissions", 110}, 150},
    Field{NODE(params), TSH_FIELD_PARAMETERS}.counted_by(offsetof(tree_node_t, param_count)),
    Field{NODE(aux_value1), TSH_FIELD_NUMBER, {"aux_value1", 180}, 120},
    Field{NODE(param_count), TSH_FIELD_COUNT},
    Field{NODE(aux_value2), TSH_FIELD_NUMBER, {"aux_value2", 190}, 130},
    Field{NODE(child_count), TSH_FIELD_COUNT},
    Field{NODE(children), TSH_FIELD_LINKS}.counted_by(offsetof(tree_node_t, child_count)),
    Field{NODE(child_link_bits), TSH_FIELD_SET, {}, 160}.counted_by(
        offsetof(tree_node_t, child_count)),
    Field{NODE(intf_mask), TSH_FIELD_SET, {"interfaces", 120}, 140, TSH_FIELD_INTERFACES},
    Field{NODE(reserved), TSH_FIELD_BYTES, {}, 0, TSH_FIELD_RESERVED},
};

inline constexpr std::array kParameterFields{
    Field{PARAM(type_mask), TSH_FIELD_TYPES},
    Field{PARAM(intf_mask), TSH_FIELD_SET, {"interfaces", 30}, 30, TSH_FIELD_INTERFACES},
    Field{PARAM(opaque1), TSH_FIELD_BYTES, {"opaque1", 40}, 40},
    Field{PARAM(int_min), TSH_FIELD_SIGNED, {"min", 10}, 10},
    Field{PARAM(int_max), TSH_FIELD_SIGNED, {"max", 20}, 20},
    Field{PARAM(opaque2), TSH_FIELD_BYTES, {"opaque2", 50}, 50},
};

#undef PARAM
#undef NODE

// Bit, name, effect, key with its rank among those of the fields; lowest bit first.
struct Flag {
    uint8_t bit;
    const char *name;
    const char *effect;
    Key key{};
};

inline constexpr std::array kNodeFlags{
    Flag{std::countr_zero(TREE_FLAG_TERMINAL),
         "terminal",
         "a command ends at the node",
         {"terminal", 40}},
    Flag{std::countr_zero(TREE_FLAG_SUBMODE),
         "submode",
         "the node enters a submode made of its children",
         {"submode", 50}},
    Flag{std::countr_zero(TREE_FLAG_EXCLUDED),
         "excluded in single mode",
         "single mode omits the node and its descendants",
         {"excluded", 90}},
    Flag{std::countr_zero(TREE_FLAG_EXCLUDED_ALSO), "excluded in single mode",
         "single mode omits the node and its descendants"},
};

} // namespace tsh
