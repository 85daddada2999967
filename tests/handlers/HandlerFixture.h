#pragma once

#include "powerdistribution/handlers/Factories.h"
#include "testing/FakeConnectorFactory.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace velk::testing {

/// A pretended device, a pretended store, and an empty model to build from them.
class HandlerFixture : public ::testing::Test {
protected:
    using EPath = velk::powerdistribution::EPath;
    using Value = velk::powerdistribution::Value;
    using Uuid = velk::common::Uuid;
    using Map = velk::powerdistribution::datamodel::DataModelContainer::Map;

    /// The texts of the paths in a map, in its order.
    static std::vector<std::string> pathsOf(const Map& map) {
        std::vector<std::string> texts;
        for (const auto& [path, handler] : map) {
            texts.push_back(path.nodesToString());
        }
        return texts;
    }

    /// All paths of the model as text, sorted as a person would.
    std::vector<std::string> sortedPaths() const {
        std::vector<std::string> texts = pathsOf(model.all());
        std::sort(texts.begin(), texts.end());
        return texts;
    }

    /// The only handler with that path; throws std::out_of_range when there is none or several.
    std::shared_ptr<velk::powerdistribution::handlers::IHandler> handler(const EPath& path) const {
        if (model.all().count(path) != 1) {
            throw std::out_of_range{path.nodesToString()};
        }
        return model.all().find(path)->second;
    }

    template <typename T>
    std::shared_ptr<T> make(const EPath& path) {
        return std::make_shared<T>(path, parent, factories);
    }

    /// Those of the calls that contain `part`.
    static std::vector<std::string> only(const std::vector<std::string>& calls, const std::string& part) {
        std::vector<std::string> chosen;
        std::copy_if(calls.begin(), calls.end(), std::back_inserter(chosen),
                     [&](const std::string& call) { return call.find(part) != std::string::npos; });
        return chosen;
    }

    const Uuid parent{FakeConnectorFactory::rootUuid()};
    FakeWrapperFactory device;
    FakeConnectorFactory store;
    velk::powerdistribution::datamodel::DataModelContainer model;
    velk::powerdistribution::Factories factories{device, store, &model};
};

} // namespace velk::testing
