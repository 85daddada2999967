#include "powerdistribution/core/PathConstants.h"
#include "powerdistribution/protocols/RuleFunctions.h"

#include <stdexcept>

namespace velk::powerdistribution::protocols {

namespace {

ValueWrapperPtr sibling(const Rule::BuildFuncParameters& parameters, const EPath& measure) {
    if (parameters.path.empty()) {
        // Required: no blank before the number.
        throw std::invalid_argument{"Invalid argument: epath depth of at least1 expected"};
    }
    return parameters.factory.buildWrapper(parameters.path.parent() + measure);
}

} // namespace

ValueWrapperPtr hasTemperatureMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measureTemperature);
}

ValueWrapperPtr hasVoltageLLMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::phase1MeasureVoltageLL);
}

ValueWrapperPtr hasVoltageMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measureVoltage);
}

ValueWrapperPtr hasReactivePowerMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measureReactivePower);
}

ValueWrapperPtr hasPowerFactorMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measurePowerFactor);
}

ValueWrapperPtr hasPercentLoadMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measurePercentLoad);
}

ValueWrapperPtr hasFrequencyMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measureFrequency);
}

ValueWrapperPtr hasEfficiencyMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measureEfficiency);
}

ValueWrapperPtr hasCurrentMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measureCurrent);
}

ValueWrapperPtr hasApparentPowerMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measureApparentPower);
}

ValueWrapperPtr hasActivePowerMeasure(const Rule::BuildFuncParameters& parameters) {
    return sibling(parameters, paths::measureActivePower);
}

} // namespace velk::powerdistribution::protocols
