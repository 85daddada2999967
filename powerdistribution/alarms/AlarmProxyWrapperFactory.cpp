#include "powerdistribution/alarms/AlarmProxyWrapperFactory.h"

#include "powerdistribution/alarms/AlarmValueWrapper.h"
#include "powerdistribution/alarms/ReferenceWrappers.h"

#include <algorithm>
#include <string>
#include <utility>

namespace velk::powerdistribution {

namespace {

/// Empty when the device has no alarm configuration.
std::string alarmFileOf(const protocols::IWrapperFactory& factory) {
    const auto wrapper = factory.buildWrapper(EPath{EPrivate::AlarmConfigurationFile});
    if (wrapper == nullptr) {
        return {};
    }
    const Value file = wrapper->read();
    const auto* path = file.getIf<std::string>();
    return path == nullptr ? std::string{} : *path;
}

bool hasReference(const AlarmConfig& config) {
    return std::any_of(config.triggers.begin(), config.triggers.end(),
                       [](const Trigger& trigger) { return !trigger.reference.empty(); });
}

} // namespace

std::shared_ptr<protocols::IWrapperFactory>
buildAlarmProxyWrapperFactory(std::shared_ptr<protocols::IWrapperFactory> factory) {
    const std::string alarmFile = alarmFileOf(*factory);
    if (alarmFile.empty()) {
        return factory;
    }
    return std::make_shared<protocols::AlarmProxyWrapperFactory>(std::move(factory), alarmFile);
}

} // namespace velk::powerdistribution

namespace velk::powerdistribution::protocols {

AlarmProxyWrapperFactory::AlarmProxyWrapperFactory(std::shared_ptr<IWrapperFactory> factory,
                                                   std::string_view alarmFile) :
    wrappers{std::move(factory)}, parser{alarmFile} {}

AlarmProxyWrapperFactory::~AlarmProxyWrapperFactory() = default;

const velk::common::Uuid& AlarmProxyWrapperFactory::protocolUuid() const {
    return wrappers->protocolUuid();
}

std::string AlarmProxyWrapperFactory::ruleOf(const EPath& path) const {
    return protocols::ruleOf(*wrappers, path);
}

ValueWrapperPtr AlarmProxyWrapperFactory::buildWrapper(const EPath& path) const {
    ValueWrapperPtr wrapper = wrappers->buildWrapper(path);
    if (wrapper == nullptr) {
        return nullptr;
    }
    std::optional<AlarmConfig> config = parser.getConfig(path);
    if (!config) {
        return wrapper;
    }
    ReferenceWrappers references;
    if (hasReference(*config)) {
        references = buildRefWrapperMap(path, config, *wrappers);
    }
    return std::make_unique<AlarmValueWrapper>(std::move(wrapper), std::move(config), std::move(references));
}

} // namespace velk::powerdistribution::protocols
