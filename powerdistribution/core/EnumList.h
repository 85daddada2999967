#pragma once

#include "powerdistribution/core/EAction.h"
#include "powerdistribution/core/EMeasurement.h"
#include "powerdistribution/core/ESetting.h"
#include "powerdistribution/core/ESpecification.h"
#include "powerdistribution/core/EStatus.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::powerdistribution {

/// The states of one multi-state datum: (label, number), in table order.
using EnumList = std::vector<std::pair<std::string, std::uint32_t>>;

/// One state as a table of the library gives it.
template <typename E, typename Text>
struct EnumToValue {
    Text text;
    E value;
};

/// Builds the list of `E` on the first call and gives the same list to every later caller with as many rows.
/// The list lives as long as the process. Threads: any; the first call is guarded.
template <typename E, std::size_t N>
const EnumList* createEnumList(const std::array<EnumToValue<E, std::string_view>, N>& rows) {
    static const EnumList list = [&rows] {
        EnumList states;
        states.reserve(N);
        for (const auto& row : rows) {
            states.emplace_back(std::string{row.text}, static_cast<std::uint32_t>(row.value));
        }
        return states;
    }();
    return &list;
}

/// The states of a datum, or null when the datum is not multi-state. Threads: any.
VELK_EXPORT const EnumList* GetEnumList(ESpecification datum);
VELK_EXPORT const EnumList* GetEnumList(EStatus datum);
VELK_EXPORT const EnumList* GetEnumList(ESetting datum);

/// Always null: no measurement and no action is multi-state.
VELK_EXPORT const EnumList* GetEnumList(EMeasurement datum);
VELK_EXPORT const EnumList* GetEnumList(EAction datum);

} // namespace velk::powerdistribution
