// Handles of types, and masks that combine types.
#include "param_reg/cut_text_internal.h"
#include "param_reg/param_registry.h"
#include "param_reg/types_internal.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstdlib>
#include <span>
#include <string_view>

namespace {

using tsh::any_type_of;
using tsh::CutText;
using tsh::types_in;

bool in_family_0(uint32_t mask) {
    return (mask & PARAM_TYPE_FAMILY) == 0;
}

uint32_t type_bits(uint32_t mask) {
    return mask & (in_family_0(mask) ? PARAM_TYPE_BITS_0 : PARAM_TYPE_BITS_1_TO_3);
}

bool is_single_type(uint32_t mask) {
    return std::has_single_bit(type_bits(mask)) && (type_bits(mask) | tsh_mask_class(mask)) == mask;
}

// Numeric bounds and numeric forms go together, with a base and a width.
bool has_usable_numbers(const tsh_type_t &type) {
    const bool has_number_form =
        type.form == TSH_FORM_NUMBER || type.form == TSH_FORM_RANGE || type.form == TSH_FORM_LIST;
    if (type.bounds != TSH_BOUNDS_NUMBERS)
        return !has_number_form;
    return has_number_form && (type.base == 10 || type.base == 16) &&
           (type.bits == 8 || type.bits == 16 || type.bits == 32 || type.bits == 64) &&
           type.is_signed <= 1;
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::ranges::equal(
        a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

bool is_unsigned_number(const tsh_type_t &type) {
    return type.bounds == TSH_BOUNDS_NUMBERS && type.is_signed == 0;
}

bool has_unsigned_bounds(const tsh_types_t *types, uint32_t mask) {
    return type_bits(mask) != 0 && !any_type_of(types, mask, [](const tsh_type_t *type) {
               return type == nullptr || !is_unsigned_number(*type);
           });
}

bool has_name_for_every_bit(const tsh_types_t *types, uint32_t mask) {
    return type_bits(mask) != 0 && (type_bits(mask) | tsh_mask_class(mask)) == mask &&
           !any_type_of(types, mask, [](const tsh_type_t *type) { return type == nullptr; });
}

void append_number(CutText &text, uint32_t mask) {
    char digits[] = "0x00000000";
    for (size_t i = sizeof digits - 1; i-- > 2; mask >>= 4)
        digits[i] = "0123456789ABCDEF"[mask % 16];
    text << digits;
}

} // namespace

tsh_types_t *tsh_types_new(void) {
    const auto rows = types_in(nullptr);
    auto *types = static_cast<tsh_types_t *>(malloc(sizeof(tsh_types_t)));
    auto *own = static_cast<tsh_type_t *>(malloc(rows.size_bytes()));
    if (types == nullptr || own == nullptr) {
        free(types);
        free(own);
        return nullptr;
    }
    std::ranges::copy(rows, own);
    *types = {own, static_cast<uint32_t>(rows.size()), own};
    return types;
}

void tsh_types_free(tsh_types_t *types) {
    if (types == nullptr)
        return;
    free(types->own);
    free(types);
}

int32_t tsh_types_set(tsh_types_t *types, const tsh_type_t *type) {
    const bool has_texts = type->name != nullptr && type->article != nullptr &&
                           type->plain_name != nullptr && type->example != nullptr;
    if (!is_single_type(type->mask) || !has_texts || !has_usable_numbers(*type))
        return -1;
    const auto place = static_cast<size_t>(
        std::ranges::lower_bound(types_in(types), type->mask, {}, &tsh_type_t::mask) -
        types_in(types).begin());
    if (place == types->count || types->rows[place].mask != type->mask) {
        auto *own = static_cast<tsh_type_t *>(
            realloc(types->own, (types->count + size_t{1}) * sizeof(tsh_type_t)));
        if (own == nullptr)
            return -1;
        std::copy_backward(own + place, own + types->count, own + types->count + 1);
        *types = {own, types->count + 1, own};
    }
    types->own[place] = *type;
    return 0;
}

void tsh_types_ignore_forms(tsh_types_t *types) {
    for (tsh_type_t &type : std::span{types->own, types->count}) {
        if (type.bounds == TSH_BOUNDS_NUMBERS)
            continue;
        type.check = nullptr;
        if (type.form != TSH_FORM_LINE)
            type.form = TSH_FORM_WORD;
    }
}

const tsh_type_t *tsh_types_list(const tsh_types_t *types, uint32_t *count) {
    *count = static_cast<uint32_t>(types_in(types).size());
    return types_in(types).data();
}

const tsh_type_t *tsh_type_by_mask(const tsh_types_t *types, uint32_t mask) {
    const auto rows = types_in(types);
    const auto found = std::ranges::lower_bound(rows, mask, {}, &tsh_type_t::mask);
    return found == rows.end() || found->mask != mask ? nullptr : &*found;
}

const tsh_type_t *tsh_type_by_name(const tsh_types_t *types, const char *name, size_t length) {
    const auto rows = types_in(types);
    const auto found = std::ranges::find_if(rows, [&](const tsh_type_t &type) {
        return equal_ignoring_case(type.name, {name, length});
    });
    return found == rows.end() ? nullptr : &*found;
}

uint32_t tsh_mask_class(uint32_t mask) {
    return mask &
           (PARAM_TYPE_FAMILY | (in_family_0(mask) ? PARAM_TYPE_CLASS_0 : PARAM_TYPE_CLASS_1_TO_3));
}

uint32_t tsh_mask_next_type(uint32_t mask, uint32_t previous) {
    const uint32_t last = type_bits(previous);
    const uint32_t seen = last | (last == 0 ? 0 : last - 1);
    const uint32_t left = type_bits(mask) & ~seen;
    return left == 0 ? 0
                     : tsh_mask_class(mask) | 1U << static_cast<uint32_t>(std::countr_zero(left));
}

size_t tsh_mask_text(const tsh_types_t *types, uint32_t mask, char *text, size_t capacity) {
    CutText cut{text, capacity};
    if (!has_name_for_every_bit(types, mask)) {
        append_number(cut, mask);
        return cut.length();
    }
    any_type_of(types, mask, [&](const tsh_type_t *type) {
        if (cut.length() > 0)
            cut << " | ";
        cut << type->name;
        return false;
    });
    return cut.length();
}

uint32_t tsh_mask_bounds(const tsh_types_t *types, uint32_t mask) {
    uint32_t bounds = type_bits(mask) == 0 ? TSH_BOUNDS_UNKNOWN : TSH_BOUNDS_NONE;
    any_type_of(types, mask, [&](const tsh_type_t *type) {
        bounds |= type == nullptr ? TSH_BOUNDS_UNKNOWN : type->bounds;
        return false;
    });
    return bounds;
}

int32_t tsh_mask_takes_rest(const tsh_types_t *types, uint32_t mask) {
    return (tsh_mask_bounds(types, mask) & TSH_BOUNDS_UNKNOWN) == 0 &&
           any_type_of(types, mask,
                       [](const tsh_type_t *type) { return type->form == TSH_FORM_LINE; });
}

int32_t tsh_mask_may_repeat(const tsh_types_t *types, uint32_t mask) {
    const tsh_type_t *type = tsh_type_by_mask(types, mask);
    return type != nullptr && type->may_repeat != 0;
}

int64_t tsh_mask_highest_bound(const tsh_types_t *types, uint32_t mask) {
    return has_unsigned_bounds(types, mask) ? int64_t{UINT32_MAX} : int64_t{INT32_MAX};
}

int64_t tsh_mask_bound(const tsh_types_t *types, uint32_t mask, int32_t stored) {
    return has_unsigned_bounds(types, mask) ? int64_t{static_cast<uint32_t>(stored)}
                                            : int64_t{stored};
}
