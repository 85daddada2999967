#pragma once

#include "powerdistribution/datamodel/TDataModelContainer.h"

namespace velk::powerdistribution::datamodel {

/// The index of the data model; its groups are what the scheduler polls.
using DataModelContainer = TDataModelContainer<EStatus, ECommunicationStatus, EMeasurement, ESetting,
                                               ESpecification, EAttribute, EPrivate>;

} // namespace velk::powerdistribution::datamodel
