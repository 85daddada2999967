#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnectorFactory.h"
#include "testing/CallLog.h"
#include "testing/FakeConnector.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velk::testing {

/// Makes `FakeConnector`s, one a call, which share one log with this factory. The log gets
/// "buildStatusConnector(DEVICE)" and the like for each call, and each connector has the name
/// "status(DEVICE)". DEVICE is readable: "root" for the root's Uuid, the path under which a device was stored
/// before, "nil", and the Uuid's text otherwise.
///
/// Connectors are watched, not kept: one that its handlers have let go is gone.
/// Threads: any.
class FakeConnectorFactory : public velk::powerdistribution::connectors::IConnectorFactory {
public:
    using Uuid = velk::common::Uuid;
    using ConnectorPtr = velk::powerdistribution::connectors::ConnectorPtr;
    using HandlerData = velk::powerdistribution::handlers::HandlerData;

    explicit FakeConnectorFactory(std::shared_ptr<CallLog> sharedLog = std::make_shared<CallLog>()) :
        log{std::move(sharedLog)} {
        names[Uuid::NIL] = "nil";
        names[rootUuid()] = "root";
    }

    /// The Uuid of the store's root device.
    static Uuid rootUuid() { return Uuid{Uuid::VELK_NAMESPACE, "root of the fake store"}; }

    const CallLog& calls() const { return *log; }
    CallLog& calls() { return *log; }

    /// The calls of this factory alone, without those of its connectors.
    std::vector<std::string> builds() const {
        std::vector<std::string> list;
        for (const std::string& call : log->calls()) {
            if (call.starts_with("build")) {
                list.push_back(call);
            }
        }
        return list;
    }

    /// Done with each new connector before it is handed out; `name` is the connector's.
    void onBuild(std::function<void(const std::string& name, FakeConnector&)> hook) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        buildHook = std::move(hook);
    }

    /// The living connectors of that name, in order of their making.
    std::vector<std::shared_ptr<FakeConnector>> connectors(const std::string& name) const
        VELK_EXCLUDES(mutex) {
        std::vector<std::shared_ptr<FakeConnector>> living;
        velk::common::MutexLock lock{mutex};
        for (const auto& [itsName, watched] : made) {
            if (auto connector = watched.lock(); connector != nullptr && itsName == name) {
                living.push_back(std::move(connector));
            }
        }
        return living;
    }

    /// The only living connector of that name; throws std::out_of_range when there is none or several.
    std::shared_ptr<FakeConnector> connector(const std::string& name) const {
        const auto living = connectors(name);
        return living.size() == 1 ? living.front() : throw std::out_of_range{name};
    }

    Uuid getRootParentUuid() const override { return rootUuid(); }
    ConnectorPtr buildConnector(const Uuid& parentUuid) const override {
        return build("buildConnector", "device", parentUuid);
    }
    ConnectorPtr buildAlarmConnector(const Uuid& uuid) const override {
        return build("buildAlarmConnector", "alarm", uuid);
    }
    ConnectorPtr buildAttributeConnector(const Uuid& uuid) const override {
        return build("buildAttributeConnector", "attribute", uuid);
    }
    ConnectorPtr buildSpecificationConnector(const Uuid& uuid) const override {
        return build("buildSpecificationConnector", "specification", uuid);
    }
    ConnectorPtr buildStatusConnector(const Uuid& uuid) const override {
        return build("buildStatusConnector", "status", uuid);
    }
    ConnectorPtr buildMeasureConnector(const Uuid& uuid) const override {
        return build("buildMeasureConnector", "measure", uuid);
    }
    ConnectorPtr buildSettingConnector(const Uuid& uuid) const override {
        return build("buildSettingConnector", "setting", uuid);
    }
    ConnectorPtr buildActionConnector(const Uuid& uuid) const override {
        return build("buildActionConnector", "action", uuid);
    }
    ConnectorPtr buildPrivateActionConnector(const Uuid& uuid) const override {
        return build("buildPrivateActionConnector", "privateAction", uuid);
    }
    ConnectorPtr buildCommunicationStatusConnector(const Uuid& uuid) const override {
        return build("buildCommunicationStatusConnector", "communication", uuid);
    }
    ConnectorPtr buildSystemConnector() const override {
        log->add("buildSystemConnector()");
        return make("system");
    }

private:
    ConnectorPtr build(const std::string& operation, const std::string& kind, const Uuid& uuid) const {
        const std::string device = nameOf(uuid);
        log->add(operation + "(" + device + ")");
        return make(kind + "(" + device + ")");
    }

    std::shared_ptr<FakeConnector> make(const std::string& name) const VELK_EXCLUDES(mutex) {
        auto connector = std::make_shared<FakeConnector>(name, log);
        connector->leaveUnknownLoads(name.starts_with("device") || name.starts_with("alarm"));
        connector->onStore([this](const HandlerData& data) { learn(data); });
        std::function<void(const std::string&, FakeConnector&)> hook;
        {
            velk::common::MutexLock lock{mutex};
            made.emplace_back(name, connector);
            hook = buildHook;
        }
        if (hook) {
            hook(name, *connector);
        }
        return connector;
    }

    void learn(const HandlerData& data) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        if (const Uuid* uuid = data.value.getIf<Uuid>()) {
            names.emplace(*uuid, data.path.nodesToString());
        }
    }

    std::string nameOf(const Uuid& uuid) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        const auto known = names.find(uuid);
        return known == names.end() ? uuid.toString() : known->second;
    }

    const std::shared_ptr<CallLog> log;
    mutable velk::common::Mutex mutex;
    std::function<void(const std::string&, FakeConnector&)> buildHook VELK_GUARDED_BY(mutex);
    mutable std::map<Uuid, std::string> names VELK_GUARDED_BY(mutex);
    mutable std::vector<std::pair<std::string, std::weak_ptr<FakeConnector>>> made VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
