// Fields of a record by their keys in a grammar: parse_tree/record_fields.h, with one field for
// each flag that has a key.
#pragma once

#include "parse_tree/record_fields.h"
#include "tools/support/tree_shape.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace tool {

/// A grammar with more levels of YAML is rejected: libyaml's time for each node grows with the
/// levels around it. The shell walks 256 words, each of which takes two.
constexpr size_t kMostYamlLevels = 600;

enum class FieldKind : uint8_t {
    kText,   ///< NUL-terminated string; size includes the NUL.
    kNumber, ///< Unsigned integer.
    kYesNo,  ///< Unsigned integer; yes is 1.
    kSigned, ///< Signed integer.
    kFlag,   ///< One bit of the flags, number `bit`.
    kSet,    ///< Numbers from 0 on: bits of an integer, or a bit array if size is above 8.
    kBytes,  ///< Bytes without a meaning.
};

/// One field of tree_node_t or parameter_info_t.
struct GrammarField {
    const char *key;
    FieldKind kind;
    uint16_t offset;
    uint16_t size;       ///< In bytes.
    uint8_t bit = 0;     ///< Bit number of a kFlag.
    uint16_t traits = 0; ///< TSH_FIELD_YES_NO and the like.
    uint16_t order = 0;  ///< Rank among the keys.
};

/// Fields of a word in the order of grammars. The other keys of a word are built from these:
/// `command`, the mapping form of `submode`, the keys of a word's only parameter, `parameters`,
/// `words` and `marked`.
std::span<const GrammarField> word_fields();

/// Fields of a parameter in the order of grammars. The key `length` means `min`.
std::span<const GrammarField> parameter_fields();

/// Returns the field for a key, which must exist.
const GrammarField &field_of(std::span<const GrammarField> fields, std::string_view key);

/// Reads a field of a record in host byte order. A string ends at its NUL or with its field; a
/// kSigned is sign-extended.
std::string_view text_in(const void *record, const GrammarField &field);
uint64_t number_in(const void *record, const GrammarField &field);
bool set_holds(const void *record, const GrammarField &field, uint32_t number);

/// Writes a field of a record. The value must fit; a kFlag is 0 or 1.
void put_text(void *record, const GrammarField &field, std::string_view text);
void put_number(void *record, const GrammarField &field, uint64_t number);
void put_in_set(void *record, const GrammarField &field, uint32_t number);

/// Name of the node by which a main tree is loaded, and the usual name of the one below it, where a
/// grammar leaves both to the compiler.
inline constexpr std::string_view kRedirectRoot = "tsh_redirect_root";
inline constexpr std::string_view kBelowRedirectRoot = "redirect";

/// Returns a name for the latter that is not taken: the usual one, else redirect_2, redirect_3 ...
std::string name_below_redirect_root(const std::unordered_set<std::string_view> &taken);

/// Returns the key of a word as grammars spell it, such as `pace<INTEGER>`; "<>" for a node without
/// keyword and parameters. The keyword is copied unchanged. Needs register_types.
std::string word_key(std::string_view token, std::span<const uint32_t> type_masks);

/// Returns the name of a node to which its grammar gives none, at most 63 bytes. parent_name is
/// empty for a word below a root. Needs register_types.
std::string made_name(std::string_view parent_name, std::string_view token,
                      std::span<const uint32_t> type_masks);

} // namespace tool
