// The fields of a record as grammars know them: one table that the compiler fills records by, the
// listing of grammars reads them by, and the schema is held to.
#pragma once

#include "parse_tree/tree_node.h"
#include "tools/support/tree_shape.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace tool {

enum class FieldKind : uint8_t {
    kText,   ///< Zero-terminated text; size counts the zero.
    kNumber, ///< Unsigned number of 2 or 4 bytes.
    kYesNo,  ///< Number of 2 bytes where yes is 1.
    kSigned, ///< Signed number of 4 bytes.
    kFlag,   ///< One bit, number `bit`, of the flags.
    kSet,    ///< Numbers from 0 on: bits of a word of 4 or 8 bytes, or a bit array of 16.
    kBytes,  ///< Bytes as they are; missing ones are zero.
};

/// One field of tree_node_t or parameter_info_t.
struct GrammarField {
    const char *key;
    FieldKind kind;
    uint16_t offset;
    uint16_t size;   ///< Bytes of the field.
    uint8_t bit = 0; ///< Of a kFlag.
};

/// Fields of a word, in the order in which grammars list them. `command`, `submode` with its two
/// texts, the keys of a word's only parameter, `parameters`, `words` and `marked` are keys as well,
/// made of these.
std::span<const GrammarField> word_fields();

/// Fields of a parameter. `length` is a key as well and means `min`.
std::span<const GrammarField> parameter_fields();

/// The field of this key. There must be one.
const GrammarField &field_of(std::span<const GrammarField> fields, std::string_view key);

/// What a field of a record holds, in host order. A text ends at its zero or its field's end.
std::string_view text_in(const void *record, const GrammarField &field);
uint64_t number_in(const void *record, const GrammarField &field); // kSigned: sign-extended
bool set_holds(const void *record, const GrammarField &field, uint32_t number);

/// Filling a field. What is put must fit; a kFlag takes 0 or 1.
void put_text(void *record, const GrammarField &field, std::string_view text);
void put_number(void *record, const GrammarField &field, uint64_t number);
void put_in_set(void *record, const GrammarField &field, uint32_t number);

/// The node that a main tree is loaded by, and the one below it where a grammar leaves both to the
/// compiler.
inline constexpr std::string_view kRedirectRoot = "tsh_redirect_root";
inline constexpr std::string_view kBelowRedirectRoot = "redirect";

/// The name of the latter where nodes have these names: the usual one, or else the first of
/// redirect_2, redirect_3 ... that is free.
std::string name_below_redirect_root(const std::unordered_set<std::string_view> &taken);

/// The key of a word as a grammar spells it, `pace<INTEGER>`; "<>" for a node without a word. The
/// keyword is copied as it is. Needs register_types.
std::string word_key(std::string_view token, std::span<const uint32_t> type_masks);

/// The name that a node gets when its grammar gives it none. The parent's name is empty for a word
/// below a root. At most 63 bytes. Needs register_types.
std::string made_name(std::string_view parent_name, std::string_view token,
                      std::span<const uint32_t> type_masks);

} // namespace tool
