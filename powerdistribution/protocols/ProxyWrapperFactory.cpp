#include "powerdistribution/protocols/ProxyWrapperFactory.h"

#include "powerdistribution/protocols/FriendlyNameWrapper.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/ProxyRules.h"

#include <any>
#include <string>
#include <utility>

namespace velk::powerdistribution::protocols {

ProxyWrapperFactory::ProxyWrapperFactory() : ProxyWrapperFactory{nullptr} {}

ProxyWrapperFactory::ProxyWrapperFactory(std::shared_ptr<IWrapperFactory> behind) :
    wrapperFactory{std::move(behind)}, beforeBuilder{beforeRules()}, afterBuilder{afterRules()} {}

ProxyWrapperFactory::~ProxyWrapperFactory() = default;

const velk::common::Uuid& ProxyWrapperFactory::protocolUuid() const {
    return wrapperFactory->protocolUuid();
}

ValueWrapperPtr ProxyWrapperFactory::buildWrapper(const EPath& path) const {
    if (path.empty()) {
        return wrapperFactory ? wrapperFactory->buildWrapper(path) : nullptr;
    }
    // These rules work without protocol and argument; functions that need a protocol must not stand in them.
    const std::any noArgument;
    Rule::ExecutionParameters walk{path, 0, *this, nullptr, noArgument};
    if (auto wrapper = beforeBuilder.buildWrapper(walk)) {
        return wrapper;
    }
    if (wrapperFactory) {
        if (auto wrapper = wrapperFactory->buildWrapper(path)) {
            return wrapper;
        }
    }
    if (auto wrapper = afterBuilder.buildWrapper(walk)) {
        return wrapper;
    }
    return buildFriendlyName(path);
}

ProxyWrapperFactory::Origin ProxyWrapperFactory::originOf(const EPath& path) const {
    if (path.empty()) {
        return {wrapperFactory != nullptr, ""};
    }
    const std::any noArgument;
    Rule::ExecutionParameters walk{path, 0, *this, nullptr, noArgument};
    if (std::string rule = beforeBuilder.ruleOf(walk); !rule.empty()) {
        return {false, std::move(rule)};
    }
    if (wrapperFactory && wrapperFactory->buildWrapper(path)) {
        return {true, ruleOf(*wrapperFactory, path)};
    }
    if (std::string rule = afterBuilder.ruleOf(walk); !rule.empty()) {
        return {false, std::move(rule)};
    }
    return {false, buildFriendlyName(path) ? path.lastNode().tostring() + " from Attribute.PhysicalName"
                                           : std::string{}};
}

ValueWrapperPtr ProxyWrapperFactory::buildFriendlyName(const EPath& path) const {
    if (!wrapperFactory || !path.lastNode().matches(EAttribute::FriendlyName)) {
        return nullptr;
    }
    const auto wrapper = wrapperFactory->buildWrapper(path.parent() + EAttribute::PhysicalName);
    if (!wrapper) {
        return nullptr;
    }
    const Value name = wrapper->read();
    const auto* text = name.getIf<std::string>();
    return text == nullptr ? nullptr : std::make_unique<FriendlyNameWrapper>(*text);
}

} // namespace velk::powerdistribution::protocols
