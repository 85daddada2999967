#include "powerdistribution/protocols/RuleFunctions.h"

#include "powerdistribution/protocols/AddConverter.h"
#include "powerdistribution/protocols/DivConverter.h"
#include "powerdistribution/protocols/DummyWrapper.h"
#include "powerdistribution/protocols/MultConverter.h"
#include "powerdistribution/protocols/MultWithPercentConverter.h"
#include "powerdistribution/protocols/PosSubConverter.h"

namespace velk::powerdistribution::protocols {

BuildFunc make_if(BuildFunc condition, BuildFunc then) {
    return [condition = std::move(condition),
            then = std::move(then)](const Rule::BuildFuncParameters& parameters) -> ValueWrapperPtr {
        if (!condition(parameters)) {
            return nullptr;
        }
        return then(parameters);
    };
}

BuildFunc make_if(BuildFunc condition, BuildFunc then, BuildFunc otherwise) {
    return [condition = std::move(condition), then = std::move(then), otherwise = std::move(otherwise)](
               const Rule::BuildFuncParameters& parameters) -> ValueWrapperPtr {
        if (!condition(parameters)) {
            return nullptr;
        }
        auto wrapper = then(parameters);
        return wrapper ? std::move(wrapper) : otherwise(parameters);
    };
}

template BuildFunc make_static<float>(float value);
template BuildFunc make_static<unsigned int>(unsigned int value);

BuildFunc make_negative(BuildFunc function) {
    return make_converter<NegativeConverter>(std::move(function));
}

BuildFunc make_abs(BuildFunc function) {
    return make_converter<AbsConverter>(std::move(function));
}

BuildFunc add(BuildFunc function, BuildFunc operand) {
    return make_converter<AddConverter>(std::move(function), std::move(operand));
}

BuildFunc add(BuildFunc function, float operand) {
    return add(std::move(function), make_static<float>(operand));
}

BuildFunc mult(BuildFunc function, BuildFunc operand) {
    return make_converter<MultConverter>(std::move(function), std::move(operand));
}

BuildFunc mult(BuildFunc function, float operand) {
    return mult(std::move(function), make_static<float>(operand));
}

BuildFunc multWithPercent(BuildFunc function, BuildFunc operand) {
    return make_converter<MultWithPercentConverter>(std::move(function), std::move(operand));
}

BuildFunc multWithPercent(BuildFunc function, float operand) {
    return multWithPercent(std::move(function), make_static<float>(operand));
}

BuildFunc div(BuildFunc function, BuildFunc operand) {
    return make_converter<DivConverter>(std::move(function), std::move(operand));
}

BuildFunc div(BuildFunc function, float operand) {
    return div(std::move(function), make_static<float>(operand));
}

BuildFunc posSub(BuildFunc function, BuildFunc operand) {
    return make_converter<PosSubConverter>(std::move(function), std::move(operand));
}

BuildFunc posSub(BuildFunc function, float operand) {
    return posSub(std::move(function), make_static<float>(operand));
}

BuildFunc posSub(float constant, BuildFunc operand) {
    return posSub(make_static<float>(constant), std::move(operand));
}

ValueWrapperPtr dummy(const Rule::BuildFuncParameters& /*parameters*/) {
    return std::make_unique<DummyWrapper>();
}

} // namespace velk::powerdistribution::protocols
