#include "powerdistribution/handlers/BaseValueHandler.h"

#include "powerdistribution/handlers/Rollback.h"

#include <algorithm>
#include <utility>

namespace velk::powerdistribution::handlers {

using velk::common::MutexLock;

namespace {

/// Sets a flag for its own lifetime, so that a failing store does not leave it set.
class FlagGuard {
public:
    explicit FlagGuard(bool& raised) : flag{raised} { flag = true; }
    ~FlagGuard() { flag = false; }
    FlagGuard(const FlagGuard&) = delete;
    FlagGuard& operator=(const FlagGuard&) = delete;

private:
    bool& flag;
};

// Required: only these fields count, and a trigger without threshold never equals anything.
bool isSameTrigger(const Trigger& a, const Trigger& b) {
    return a.type == b.type && a.level == b.level && a.priority == b.priority && a.threshold1.hasValue() &&
           a.threshold1 == b.threshold1 && a.code == b.code && a.message == b.message;
}

bool isSameConfig(const AlarmConfig& a, const AlarmConfig& b) {
    return std::equal(a.triggers.begin(), a.triggers.end(), b.triggers.begin(), b.triggers.end(),
                      isSameTrigger);
}

} // namespace

BaseValueHandler::BaseValueHandler(const EPath& path, protocols::ValueWrapperPtr exclusiveWrapper,
                                   connectors::ConnectorPtr sharedConnector) :
    BaseHandler{path},
    wrapper{std::move(exclusiveWrapper)},
    connector{std::move(sharedConnector)},
    data{path, Value{}, wrapper->dataConfig()} {}

BaseValueHandler::~BaseValueHandler() = default;

void BaseValueHandler::initialize() {
    MutexLock held{lock};
    connector->init();
    loadValue();
    if (data.dataConfig.channelOption && data.value.hasValue()) {
        wrapper->write(Value{data.value});
    }
}

void BaseValueHandler::loadValue() {
    connector->load(data);
}

void BaseValueHandler::terminate() {
    MutexLock held{lock};
    connector->terminate();
}

void BaseValueHandler::readAndStore() {
    const Value sample = wrapper->read();
    emptySample.store(!sample.hasValue(), std::memory_order_relaxed);
    if (sample.hasValue() && !(data.value == sample)) {
        storeValue(sample);
    }
    const protocols::DataConfig config = wrapper->dataConfig();
    if (!config.alarmConfig.has_value()) {
        return; // what was stored once stays
    }
    if (!data.value.hasValue()) {
        return; // the store takes no write without a value; resolving the channel has sent the triggers
    }
    if (data.dataConfig.alarmConfig.has_value() &&
        isSameConfig(*data.dataConfig.alarmConfig, *config.alarmConfig)) {
        return;
    }
    storeAlarmConfig(config);
}

void BaseValueHandler::storeValue(const Value& sample) {
    Rollback published{data.value};
    data.value = sample;
    connector->store(data);
    published.keep();
}

void BaseValueHandler::storeAlarmConfig(const protocols::DataConfig& config) {
    Rollback published{data.dataConfig.alarmConfig};
    data.dataConfig.alarmConfig = config.alarmConfig;
    const FlagGuard changed{data.dataConfig.alarmConfigChanged};
    connector->store(data);
    published.keep();
}

void BaseValueHandler::takeValue(const HandlerData& incoming) {
    if (&incoming != &data) {
        data.value = incoming.value;
    }
}

bool BaseValueHandler::holdsValueOf(const HandlerData& incoming) const {
    return data.value.hasValue() && incoming.value.hasValue() && data.value == incoming.value;
}

} // namespace velk::powerdistribution::handlers
