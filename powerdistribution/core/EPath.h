#pragma once

#include "powerdistribution/core/EAction.h"
#include "powerdistribution/core/EAttribute.h"
#include "powerdistribution/core/ECircuit.h"
#include "powerdistribution/core/ECommunicationStatus.h"
#include "powerdistribution/core/EMeasurement.h"
#include "powerdistribution/core/EPowerConverter.h"
#include "powerdistribution/core/EPrivate.h"
#include "powerdistribution/core/EPrivateAction.h"
#include "powerdistribution/core/EProperty.h"
#include "powerdistribution/core/ESetting.h"
#include "powerdistribution/core/ESpecification.h"
#include "powerdistribution/core/EStatus.h"
#include "powerdistribution/core/TPath.h"

namespace velk::powerdistribution {

/// The address of a data point of the device, such as `Inputs`.1.`Measure.Voltage`.
using EPath =
    velk::common::TPath<EProperty, ECommunicationStatus, ECircuit, EPowerConverter, EMeasurement,
                        ESpecification, ESetting, EStatus, EAttribute, EAction, EPrivate, EPrivateAction>;

} // namespace velk::powerdistribution
