// The out-of-line destructors of the connector contract: one vtable each, in this library.

#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/connectors/IConnectorFactory.h"
#include "powerdistribution/connectors/IConnectorListener.h"
#include "powerdistribution/connectors/IDatabaseManager.h"
#include "powerdistribution/connectors/IExpectingConnector.h"
#include "powerdistribution/connectors/IGroupingFactory.h"
#include "powerdistribution/connectors/ITessConnector.h"

namespace velk::powerdistribution::connectors {

IConnector::~IConnector() = default;

IExpectingConnector::~IExpectingConnector() = default;

IConnectorFactory::~IConnectorFactory() = default;

IGroupingFactory::~IGroupingFactory() = default;

IConnectorListener::~IConnectorListener() = default;

IDatabaseManager::~IDatabaseManager() = default;

ITessConnector::~ITessConnector() = default;

} // namespace velk::powerdistribution::connectors
