#pragma once

// The functions with which rule tables are written. All are free of state and may be copied into any number
// of tables; an operand is a second build function whose wrapper becomes the second value of the operation.

#include "platform/common/Export.h"
#include "powerdistribution/protocols/AbsConverter.h"
#include "powerdistribution/protocols/ConstROValueWrapper.h"
#include "powerdistribution/protocols/NegativeConverter.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace velk::powerdistribution::protocols {

/// `then`, where `condition` gives a wrapper; that wrapper is only a sign of presence and is never read.
/// An empty function throws std::bad_function_call when it is needed.
VELK_EXPORT BuildFunc make_if(BuildFunc condition, BuildFunc then);

/// As above, and `otherwise` where `then` gives null.
/// Required: `otherwise` is no else; where `condition` gives null the result is null.
VELK_EXPORT BuildFunc make_if(BuildFunc condition, BuildFunc then, BuildFunc otherwise);

/// A constant.
template <typename T>
BuildFunc make_static(T value) {
    return [value = std::move(value)](const Rule::BuildFuncParameters& /*parameters*/) -> ValueWrapperPtr {
        return std::make_unique<ConstROValueWrapper<T>>(value);
    };
}

extern template VELK_EXPORT BuildFunc make_static<float>(float value);
extern template VELK_EXPORT BuildFunc make_static<unsigned int>(unsigned int value);

/// A `Converter` on the wrapper of `function`; null when that is empty or gives null. Further `arguments` go
/// to the converter's constructor:
///
///     make_converter<NegativeConverter>(buildCurrent)
///     make_converter<PaddingConverter>(buildName, 16u)
///
template <typename Converter, typename... Arguments>
requires(!std::is_convertible_v<Arguments, BuildFunc> && ...) BuildFunc
    make_converter(BuildFunc function, Arguments... arguments) {
    return [function = std::move(function),
            arguments...](const Rule::BuildFuncParameters& parameters) -> ValueWrapperPtr {
        auto wrapper = function ? function(parameters) : nullptr;
        if (!wrapper) {
            return nullptr;
        }
        return std::make_unique<Converter>(std::move(wrapper), arguments...);
    };
}

/// A `Converter` on the wrappers of `function` and `operand`; null when one of the functions is empty or
/// gives null. Both are called before either is tested.
template <typename Converter>
BuildFunc make_converter(BuildFunc function, BuildFunc operand) {
    return [function = std::move(function),
            operand = std::move(operand)](const Rule::BuildFuncParameters& parameters) -> ValueWrapperPtr {
        if (!function || !operand) {
            return nullptr;
        }
        auto wrapper = function(parameters);
        auto other = operand(parameters);
        if (!wrapper || !other) {
            return nullptr;
        }
        return std::make_unique<Converter>(std::move(wrapper), std::move(other));
    };
}

VELK_EXPORT BuildFunc make_negative(BuildFunc function);
VELK_EXPORT BuildFunc make_abs(BuildFunc function);

// Arithmetic in single precision; what is written back is undone.

VELK_EXPORT BuildFunc add(BuildFunc function, BuildFunc operand);
VELK_EXPORT BuildFunc add(BuildFunc function, float operand);
VELK_EXPORT BuildFunc mult(BuildFunc function, BuildFunc operand);
VELK_EXPORT BuildFunc mult(BuildFunc function, float operand);
VELK_EXPORT BuildFunc multWithPercent(BuildFunc function, BuildFunc operand);
VELK_EXPORT BuildFunc multWithPercent(BuildFunc function, float operand);
VELK_EXPORT BuildFunc div(BuildFunc function, BuildFunc operand);
VELK_EXPORT BuildFunc div(BuildFunc function, float operand);

/// A difference that reads as 0 where it would be negative.
VELK_EXPORT BuildFunc posSub(BuildFunc function, BuildFunc operand);
VELK_EXPORT BuildFunc posSub(BuildFunc function, float operand);
VELK_EXPORT BuildFunc posSub(float constant, BuildFunc operand);

// Build functions that stand in a rule as they are.

/// Serves the path with a `DummyWrapper`.
VELK_EXPORT ValueWrapperPtr dummy(const Rule::BuildFuncParameters& parameters);

/// The `Attribute.Count` of the collection in which the path lies: `Outputs`.3.`Status.Used` gives
/// `Outputs`.`Attribute.Count`. Throws std::invalid_argument
/// "Invalid argument: epath does not point to a collection item" for a path without index.
VELK_EXPORT ValueWrapperPtr collectionCount(const Rule::BuildFuncParameters& parameters);

/// The data point `relative` of the node that owns the collection in which the path lies. Failure as above.
VELK_EXPORT ValueWrapperPtr _collectionParent(const Rule::BuildFuncParameters& parameters,
                                              const EPath& relative);

/// The same if the collection counts exactly one item, otherwise null: then the owner's value stands in for
/// that of the item. Failure as above.
VELK_EXPORT ValueWrapperPtr _collectionParentIfSingleChild(const Rule::BuildFuncParameters& parameters,
                                                           const EPath& relative);

// The measure beside the path asked for, or null: the conditions for `make_if`. An empty path throws
// std::invalid_argument "Invalid argument: epath depth of at least1 expected".

VELK_EXPORT ValueWrapperPtr hasTemperatureMeasure(const Rule::BuildFuncParameters& parameters);
/// Looks at the first phase only.
VELK_EXPORT ValueWrapperPtr hasVoltageLLMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasVoltageMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasReactivePowerMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasPowerFactorMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasPercentLoadMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasFrequencyMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasEfficiencyMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasCurrentMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasApparentPowerMeasure(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr hasActivePowerMeasure(const Rule::BuildFuncParameters& parameters);

} // namespace velk::powerdistribution::protocols
