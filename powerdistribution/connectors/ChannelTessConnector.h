#pragma once

#include "powerdistribution/connectors/BaseChannelTessConnector.h"

#include <stdexcept>

namespace velk::powerdistribution::connectors {

/// The channels of one family `E`: ESpecification, EStatus, EMeasurement, ESetting, EAction, EPrivateAction,
/// ECommunicationStatus or EAttribute.
template <typename E>
class ChannelTessConnector final : public BaseChannelTessConnector {
public:
    using BaseChannelTessConnector::BaseChannelTessConnector;
    ~ChannelTessConnector() override { endCallbacks(); }

    unsigned int modelToIndex(const handlers::HandlerData& data) const override {
        const E* member = data.path.lastNode().template getIf<E>();
        if (member == nullptr) {
            throw std::runtime_error{"Data model object contains invalid data type"};
        }
        // Members count from 1.
        return static_cast<unsigned int>(*member) - 1;
    }
};

} // namespace velk::powerdistribution::connectors
