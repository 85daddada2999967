// Plug-ins are built apart from the library, so the place of each operation in its table is contract.

#include "powerdistribution/connectors/IConnectorFactory.h"
#include "powerdistribution/connectors/IDatabaseManager.h"
#include "powerdistribution/core/CommunicationEventListener.h"
#include "powerdistribution/handlers/IHandler.h"
#include "powerdistribution/handlers/IHandlerObserver.h"
#include "powerdistribution/protocols/Converter.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "powerdistribution/protocols/OperationWrapperConverter.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace velk::powerdistribution {
namespace {

/// The place of a virtual operation behind the two of the destructor, by the C++ ABI of the platform: a
/// pointer to a virtual member holds its offset in the table, plus one where the architecture needs no other
/// mark.
template <typename Member>
std::ptrdiff_t slotOf(Member member) {
    std::ptrdiff_t raw = 0;
    static_assert(sizeof member >= sizeof raw);
    std::memcpy(&raw, &member, sizeof raw);
#if defined(__aarch64__) || defined(__arm__)
    return raw / static_cast<std::ptrdiff_t>(sizeof(void*)) - 2;
#else
    return (raw - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)) - 2;
#endif
}

/// True when the members stand in the table one behind the other, from `first` on.
template <typename... Members>
bool standInOrder(std::ptrdiff_t first, Members... members) {
    return ((slotOf(members) == first++) && ...);
}

TEST(ContractSlotsTest, PluginContractKeepsItsOrder) {
    using namespace protocols;
    EXPECT_TRUE(standInOrder(0, &IValueWrapper::isReadable, &IValueWrapper::isWritable, &IValueWrapper::read,
                             &IValueWrapper::write, &IValueWrapper::dataConfig));
    EXPECT_TRUE(standInOrder(0, &IWrapperFactory::protocolUuid, &IWrapperFactory::buildWrapper));
    EXPECT_TRUE(standInOrder(0, &IProtocol::start, &IProtocol::stop, &IProtocol::protocolUuid,
                             &IProtocol::reserved5, &IProtocol::communicationStatus, &IProtocol::discover,
                             &IProtocol::reserved8, &IProtocol::disconnect));
    EXPECT_TRUE(standInOrder(0, &IProtocolBuilder::create));
    EXPECT_TRUE(standInOrder(0, &IProtocolLibrary::uuid, &IProtocolLibrary::builder,
                             &IProtocolLibrary::wrapperFactory));
}

TEST(ContractSlotsTest, ConvertersAddTheirOperationsBehindThoseOfTheWrapper) {
    struct Converter : protocols::Converter {
        static bool inOrder() {
            return standInOrder(5, &Converter::convertedToRaw, &Converter::rawToConverted);
        }
    };
    struct Operation : protocols::OperationWrapperConverter {
        static bool inOrder() {
            return standInOrder(7, &Operation::forwardOperation, &Operation::reverseOperation);
        }
    };
    EXPECT_TRUE(Converter::inOrder());
    EXPECT_TRUE(Operation::inOrder());
}

TEST(ContractSlotsTest, ConnectorContractKeepsItsOrder) {
    using namespace connectors;
    EXPECT_TRUE(standInOrder(0, &IConnector::init, &IConnector::terminate, &IConnector::subscribe,
                             &IConnector::unsubscribe, &IConnector::load, &IConnector::store,
                             &IConnector::getResourcesInUse));
    EXPECT_TRUE(standInOrder(0, &IConnectorListener::onConnectorValueChange));
    EXPECT_TRUE(standInOrder(
        0, &IConnectorFactory::getRootParentUuid, &IConnectorFactory::buildConnector,
        &IConnectorFactory::buildAlarmConnector, &IConnectorFactory::buildAttributeConnector,
        &IConnectorFactory::buildSpecificationConnector, &IConnectorFactory::buildStatusConnector,
        &IConnectorFactory::buildMeasureConnector, &IConnectorFactory::buildSettingConnector,
        &IConnectorFactory::buildActionConnector, &IConnectorFactory::buildPrivateActionConnector,
        &IConnectorFactory::buildCommunicationStatusConnector, &IConnectorFactory::buildSystemConnector));
    EXPECT_TRUE(standInOrder(0, &IDatabaseManager::connectorFactory, &IDatabaseManager::sanitize));
}

TEST(ContractSlotsTest, HandlerContractKeepsItsOrder) {
    using namespace handlers;
    EXPECT_TRUE(standInOrder(0, &IHandler::initialize, &IHandler::terminate, &IHandler::refresh,
                             &IHandler::registerObserver, &IHandler::unregisterObserver, &IHandler::epath));
    EXPECT_TRUE(standInOrder(0, &IHandlerObserver::onValueChanged));
    EXPECT_TRUE(standInOrder(0, &CommunicationEventListener::onCommunicationLost,
                             &CommunicationEventListener::onCommunicationRecovered));
}

} // namespace
} // namespace velk::powerdistribution
