// A complete protocol plug-in without a device. Built several times, each with a name and a Uuid of its own.

#include "platform/common/DynamicLibrary.h"
#include "powerdistribution/core/PathConstants.h"
#include "powerdistribution/protocols/IProtocolBuilder.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "powerdistribution/protocols/RuleFunctions.h"
#include "powerdistribution/protocols/RuleTable.h"
#include "testing/FakeProtocol.h"
#include "testing/FakeWrapperFactory.h"
#include "tests/protocols/plugin/PluginHost.h"

#include <any>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace velk::powerdistribution::protocols;
using velk::common::Uuid;

const std::string NAME{VELK_TEST_PLUGIN_NAME};
const Uuid OWN_UUID{VELK_TEST_PLUGIN_UUID};

void tell(const std::string& event) {
    PluginHost::instance().log->add(NAME + "." + event);
}

const PluginHost::Script& script() {
    return PluginHost::instance().scripts[NAME];
}

/// Filled while the plug-in is loaded, from constants and functions of the system.
const std::vector<Rule> RULES = growRules({
    {velk::powerdistribution::paths::input1MeasureVoltage, make_static<float>(230.0f)},
    {velk::powerdistribution::paths::output1MeasureCurrent, mult(make_static<float>(5.0f), 2.0f)},
});

class PluginFailure : public std::exception {
public:
    const char* what() const noexcept override { return "a failure of the plug-in's own"; }
};

class Protocol : public velk::testing::FakeProtocol {
public:
    Protocol() :
        FakeProtocol{script().otherProtocolUuid.isNil() ? OWN_UUID : script().otherProtocolUuid, NAME,
                     PluginHost::instance().log} {
        setFound(script().found);
        if (!script().ownException) {
            throwOn(script().failingOperation, NAME + " fails to " + script().failingOperation);
        }
    }
    void start() override {
        FakeProtocol::start();
        if (script().ownException) {
            throw PluginFailure{};
        }
    }
    void stop() override {
        FakeProtocol::stop();
        failOddly();
    }
    void disconnect() override {
        FakeProtocol::disconnect();
        failOddly();
    }
    void reserved5() override { tell("reserved5"); }
    void reserved8() override { tell("reserved8"); }

private:
    static void failOddly() {
        if (script().oddException) {
            throw 42;
        }
    }
};

class Factory : public velk::testing::FakeWrapperFactory {
public:
    explicit Factory(std::shared_ptr<IProtocol> held) :
        FakeWrapperFactory{OWN_UUID}, protocol{std::move(held)} {
        tell("factory made");
    }
    ~Factory() override { tell("factory destroyed"); }

    ValueWrapperPtr buildWrapper(const velk::powerdistribution::EPath& path) const override {
        const std::any none;
        Rule::ExecutionParameters walk{path, 0, *this, protocol, none};
        return RuleBasedWrapperBuilder{RULES}.buildWrapper(walk);
    }

private:
    std::shared_ptr<IProtocol> protocol;
};

class Builder : public IProtocolBuilder {
public:
    ~Builder() override { tell("builder released"); }
    std::unique_ptr<IProtocol> create() const override {
        tell("create");
        if (script().failingOperation == "create") {
            throw std::runtime_error{NAME + " fails to create"};
        }
        return script().missing == "protocol" ? nullptr : std::make_unique<Protocol>();
    }
};

class Library : public IProtocolLibrary {
public:
    ~Library() override { tell("unloaded"); }
    const Uuid& uuid() const override { return OWN_UUID; }
    std::shared_ptr<IProtocolBuilder> builder() const override {
        return script().missing == "builder" ? nullptr : std::make_shared<Builder>();
    }
    std::shared_ptr<IWrapperFactory> wrapperFactory(std::shared_ptr<IProtocol> protocol) const override {
        return script().missing == "factory" ? nullptr : std::make_shared<Factory>(std::move(protocol));
    }
};

Library library;

} // namespace

extern "C" VELK_EXPORT IProtocolLibrary* velkProtocolLibrary(const char* configurationPath) {
    PluginHost::instance().configurationPath = configurationPath;
    return &library;
}
