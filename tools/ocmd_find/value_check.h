// Check of the values of one parameter.
#pragma once

#include "param_reg/values.h"

#include <optional>
#include <string>
#include <string_view>

namespace find {

/// The values of one parameter, by a handle of types. Both must outlive this.
class ValueCheck {
public:
    ValueCheck(const tsh_types_t *types, const parameter_info_t &parameter)
        : types_(types), parameter_(&parameter) {}

    /// Whether a value is all that is left of its line.
    [[nodiscard]] bool takes_rest() const;

    /// Why a value is refused, or nothing.
    [[nodiscard]] std::optional<std::string> fault_of(std::string_view value) const;

private:
    const tsh_types_t *types_;
    const parameter_info_t *parameter_;
};

} // namespace find
