#pragma once

#include "powerdistribution/connectors/IConnectorFactory.h"
#include "powerdistribution/datamodel/DataModelContainer.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

namespace velk::powerdistribution {

/// What every structural handler is built from. Valid during the build only: a handler does not keep it
/// beyond its constructor.
struct Factories {
    const protocols::IWrapperFactory& wrapperFactory;
    const connectors::IConnectorFactory& connectorFactory;
    datamodel::DataModelContainer* dataModel; ///< never null; every constructor enters there what it makes
};

} // namespace velk::powerdistribution
