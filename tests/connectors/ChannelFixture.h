#pragma once

#include "powerdistribution/connectors/ChannelTessConnector.h"
#include "testing/FakeTessAccessor.h"
#include "testing/RecordingListener.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velk::testing {

/// A connector of settings on device 20 of the fake store, whose first setting is a boolean channel.
class ChannelFixture : public ::testing::Test {
protected:
    using ESetting = powerdistribution::ESetting;
    using Value = powerdistribution::Value;
    using HandlerData = powerdistribution::handlers::HandlerData;
    using Connector = powerdistribution::connectors::ChannelTessConnector<ESetting>;

    ChannelFixture() { setType(qz::datatype::boolean); }

    HandlerData data(Value value) const { return {path, std::move(value), {}}; }

    Value loaded() const {
        HandlerData result = data({});
        connector->load(result);
        return result.value;
    }

    void setType(qz::datatype type) { store.inbandAccessor().setType(channelName, type); }

    /// What a new connector loads from a channel of this type.
    Value loadedAs(qz::datatype type, qz::CValue value) {
        renew(type);
        store.inbandAccessor().setValue(store.inbandAccessor().addChannel(20, channelName), std::move(value));
        return loaded();
    }

    /// What a channel of this type holds after a new connector has stored `value`.
    qz::CValue storedAs(qz::datatype type, const Value& value) {
        renew(type);
        connector->store(data(value));
        return store.inbandAccessor().channel(20, channelName).value;
    }

    std::vector<std::string> callsAfterConstruction() const {
        auto calls = store.calls();
        calls.erase(calls.begin());
        return calls;
    }

    const velk::common::Uuid uuid{"00000000-0000-4000-8000-000000000020"};
    const powerdistribution::EPath path{ESetting::BypassTransferEnabled};
    const std::string channelName{"PowerDistribution.Setting.BypassTransferEnabled"};
    FakeTessAccessor store;
    RecordingListener listener;
    std::unique_ptr<Connector> connector{make()};

private:
    std::unique_ptr<Connector> make() {
        store.addDevice(20, uuid, 1);
        return std::make_unique<Connector>(store, uuid, 45);
    }

    void renew(qz::datatype type) {
        store.inbandAccessor().removeAllChannelsExcept(20, {});
        setType(type);
        connector = make();
    }
};

} // namespace velk::testing
