// Check of the values of one parameter.
#include "tools/ocmd_find/value_check.h"

#include <array>

namespace find {

bool ValueCheck::takes_rest() const {
    return tsh_mask_takes_rest(types_, parameter_->type_mask) != 0;
}

std::optional<std::string> ValueCheck::fault_of(std::string_view value) const {
    std::array<char, TSH_REASON_SIZE> reason;
    const tsh_check_t result =
        tsh_value_check(types_, parameter_, value.data(), value.size(), nullptr, reason.data());
    return result == TSH_CHECK_ACCEPTED ? std::nullopt : std::optional{std::string{reason.data()}};
}

} // namespace find
