#pragma once

#include "RecordingHandler.h"
#include "powerdistribution/datamodel/DataModelManager.h"
#include "testing/FakeClock.h"
#include "testing/FakeConnectorFactory.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velk::testing {

/// A manager whose trees are made of `RecordingHandler`s.
class ManagerFixture : public ::testing::Test {
protected:
    using Calls = std::vector<std::string>;
    using EPath = velk::powerdistribution::EPath;
    using Value = velk::powerdistribution::Value;
    using DataModelManager = velk::powerdistribution::datamodel::DataModelManager;
    using Factories = velk::powerdistribution::Factories;

    static velk::powerdistribution::Configuration quick() {
        velk::powerdistribution::Configuration configuration;
        configuration.maxThreads = 2;
        configuration.maxCpuLoad = 100;
        configuration.maxRestTime = 1;
        return configuration;
    }

    /// Makes the root {PowerEquipment} and enters a handler for each of `paths`.
    DataModelManager::Builder treeOf(std::vector<EPath> paths) {
        return [this, paths](const EPath&, const velk::common::Uuid&, const Factories& factories) {
            for (const EPath& path : paths) {
                factories.dataModel->emplace(make(path));
            }
            return make({velk::powerdistribution::ECircuit::PowerEquipment});
        };
    }

    bool build(const DataModelManager::Builder& builder) { return manager.build(device, store, builder); }
    bool build(std::vector<EPath> paths) { return build(treeOf(std::move(paths))); }

    std::shared_ptr<RecordingHandler> make(const EPath& path) {
        auto handler = std::make_shared<RecordingHandler>(path, log);
        made[path.nodesToString()] = handler;
        return handler;
    }

    /// The handler that was made last for that path.
    RecordingHandler& at(const EPath& path) { return *made.at(path.nodesToString()).lock(); }

    void await(const std::string& call, std::size_t count = 1) const {
        while (log->count(call) < count) {
            std::this_thread::yield();
        }
    }

    template <typename Action>
    static std::string errorsOf(Action action) {
        ::testing::internal::CaptureStderr();
        action();
        return ::testing::internal::GetCapturedStderr();
    }

    std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    std::map<std::string, std::weak_ptr<RecordingHandler>> made;
    FakeWrapperFactory device;
    FakeConnectorFactory store;
    FakeClock clock;
    DataModelManager manager{quick(), clock};
};

} // namespace velk::testing
