// Exported tables of the record's fields and flags, and the rules that they obey.
#include "parse_tree/record_fields.h"

#include "base/bit_array.h"
#include "parse_tree/record_fields_internal.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace {

using tsh::Element;
using tsh::Field;
using tsh::Flag;
using tsh::kNodeFields;
using tsh::kNodeFlags;
using tsh::kParameterFields;

using Fields = std::span<const Field>;

consteval bool covers_every_byte(Fields fields, size_t record_size) {
    size_t end = 0;
    for (const Field &field : fields) {
        if (field.offset != end)
            return false;
        end = field.end();
    }
    return end == record_size;
}

consteval Element element_for(const Field &field) {
    switch (field.kind) {
    case TSH_FIELD_TEXT:
        return Element::kCharacter;
    case TSH_FIELD_SIGNED:
        return Element::kSigned;
    case TSH_FIELD_SET:
        return field.width == 1 ? Element::kByte : Element::kUnsigned;
    case TSH_FIELD_BYTES:
        return Element::kByte;
    case TSH_FIELD_PARAMETERS:
        return Element::kRecord;
    default:
        return Element::kUnsigned;
    }
}

consteval bool has_elements_of_its_kind(const Field &field) {
    const bool is_list = field.kind == TSH_FIELD_LINKS || field.kind == TSH_FIELD_PARAMETERS;
    const bool may_be_list = is_list || !field.has_integers();
    const bool is_counter = field.kind == TSH_FIELD_COUNT;
    return field.element == element_for(field) && (field.count == 1 || may_be_list) &&
           (field.counter != 0 || !is_list) && (!is_counter || field.width == sizeof(uint16_t));
}

// Every counter is a COUNT field, and every COUNT field counts something.
consteval bool counts_agree(Fields fields) {
    return std::ranges::all_of(fields, [&](const Field &field) {
        const auto is_counter = [&](const Field &other) {
            return other.kind == TSH_FIELD_COUNT && other.offset == field.counter;
        };
        if (field.kind == TSH_FIELD_COUNT)
            return std::ranges::find(fields, field.offset, &Field::counter) != fields.end();
        return field.counter == 0 || std::ranges::any_of(fields, is_counter);
    });
}

// Ranks of keys, those of flags included, and ranks in lists.
consteval bool ranks_differ(Fields fields, std::span<const Flag> flags) {
    constexpr size_t kRanks = 1000;
    std::array<bool, kRanks> keys{};
    std::array<bool, kRanks> places{};
    const auto is_free = [](auto &taken, size_t rank) {
        return rank == 0 || !std::exchange(taken.at(rank), true);
    };
    const auto is_ranked_key = [&](const tsh::Key &key) {
        return (key.order == 0) == (key.text == nullptr) && is_free(keys, key.order);
    };
    return std::ranges::all_of(fields, is_ranked_key, &Field::key) &&
           std::ranges::all_of(flags, is_ranked_key, &Flag::key) &&
           std::ranges::all_of(
               fields, [&](const Field &field) { return is_free(places, field.list_order); });
}

consteval bool bits_ascend(std::span<const Flag> flags) {
    return flags.back().bit < 8 * sizeof(tree_node_t::flags) &&
           std::ranges::adjacent_find(flags, std::ranges::greater_equal{}, &Flag::bit) ==
               flags.end();
}

static_assert(covers_every_byte(kNodeFields, sizeof(tree_node_t)));
static_assert(covers_every_byte(kParameterFields, sizeof(parameter_info_t)));
static_assert(std::ranges::all_of(kNodeFields, has_elements_of_its_kind));
static_assert(std::ranges::all_of(kParameterFields, has_elements_of_its_kind));
static_assert(counts_agree(kNodeFields) && counts_agree(kParameterFields));
static_assert(ranks_differ(kNodeFields, kNodeFlags) && ranks_differ(kParameterFields, {}));
static_assert(bits_ascend(kNodeFlags));

template <size_t Count> consteval auto exported(const std::array<Field, Count> &fields) {
    std::array<tsh_field_t, Count> table{};
    std::ranges::transform(fields, table.begin(), [](const Field &field) {
        return tsh_field_t{.name = field.name,
                           .key = field.key.text,
                           .offset = field.offset,
                           .width = field.width,
                           .count = field.count,
                           .counter = field.counter,
                           .key_order = field.key.order,
                           .list_order = field.list_order,
                           .traits = field.traits,
                           .kind = field.kind};
    });
    return table;
}

template <size_t Count> consteval auto exported(const std::array<Flag, Count> &flags) {
    std::array<tsh_flag_t, Count> table{};
    std::ranges::transform(flags, table.begin(), [](const Flag &flag) {
        return tsh_flag_t{.name = flag.name,
                          .effect = flag.effect,
                          .key = flag.key.text,
                          .key_order = flag.key.order,
                          .bit = flag.bit};
    });
    return table;
}

constexpr auto kExportedNodeFields = exported(kNodeFields);
constexpr auto kExportedParameterFields = exported(kParameterFields);
constexpr auto kExportedFlags = exported(kNodeFlags);

template <typename Integer> Integer load(const unsigned char *bytes) {
    Integer integer;
    memcpy(&integer, bytes, sizeof integer);
    return integer;
}

} // namespace

const tsh_field_t *tsh_node_fields(uint32_t *count) {
    *count = kExportedNodeFields.size();
    return kExportedNodeFields.data();
}

const tsh_field_t *tsh_parameter_fields(uint32_t *count) {
    *count = kExportedParameterFields.size();
    return kExportedParameterFields.data();
}

const tsh_flag_t *tsh_node_flags(uint32_t *count) {
    *count = kExportedFlags.size();
    return kExportedFlags.data();
}

uint64_t tsh_field_number(const tsh_field_t *field, const void *record) {
    const unsigned char *bytes = static_cast<const unsigned char *>(record) + field->offset;
    const bool is_signed = field->kind == TSH_FIELD_SIGNED;
    switch (field->width) {
    case sizeof(uint16_t):
        return is_signed ? static_cast<uint64_t>(load<int16_t>(bytes)) : load<uint16_t>(bytes);
    case sizeof(uint32_t):
        return is_signed ? static_cast<uint64_t>(load<int32_t>(bytes)) : load<uint32_t>(bytes);
    case sizeof(uint64_t):
        return load<uint64_t>(bytes);
    default:
        return 0;
    }
}

int32_t tsh_field_contains(const tsh_field_t *field, const void *record, uint32_t number) {
    constexpr uint32_t kByteBits = 8;
    if ((field->kind != TSH_FIELD_SET && field->kind != TSH_FIELD_FLAGS) ||
        number >= kByteBits * field->width * field->count)
        return 0;
    if (field->width > 1)
        return static_cast<int32_t>(tsh_field_number(field, record) >> number & 1U);
    const uint8_t *bits = static_cast<const uint8_t *>(record) + field->offset;
    return base::is_in_set(bits, number) ? 1 : 0;
}
