#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"

#include <cstdint>
#include <memory>

namespace velk::powerdistribution::handlers {

/// A node with a number of like children, each a `T`: the number is the device's `Attribute.Count` below the
/// path, read once at the build. Without that data point the collection has no device in the store and no
/// item; with one that reads no unsigned number it has a device and no item.
///
/// The items' Uuids derive from the collection's, so that an item stays the same store device from run to
/// run.
template <typename T>
class CollectionHandler final : public BaseHandler {
public:
    CollectionHandler(const EPath& path, const velk::common::Uuid& parentUuid, const Factories& factories,
                      unsigned int firstIndex = 1) :
        BaseHandler{path}, uuidData{path, Value{velk::common::Uuid{parentUuid, path.nodesToString()}}, {}} {
        const protocols::ValueWrapperPtr wrapper =
            factories.wrapperFactory.buildWrapper(path + EAttribute::Count);
        if (wrapper == nullptr) {
            return;
        }
        connector = factories.connectorFactory.buildConnector(parentUuid);
        connector->init();
        connector->store(uuidData);
        emplaceItems(wrapper->read(), factories, firstIndex);
    }

private:
    void emplaceItems(const Value& sample, const Factories& factories, unsigned int firstIndex) const {
        const auto* count = sample.getIf<std::uint32_t>();
        if (count == nullptr) {
            return;
        }
        const auto& uuid = uuidData.value.get<velk::common::Uuid>();
        for (unsigned int index = firstIndex; index < firstIndex + *count; ++index) {
            factories.dataModel->emplace(std::make_shared<T>(epath() + index, uuid, factories));
        }
    }

    connectors::ConnectorPtr
        connector; ///< kept, so that the store device counts as in use; null without count
    HandlerData uuidData;
};

} // namespace velk::powerdistribution::handlers
