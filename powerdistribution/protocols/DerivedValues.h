#pragma once

// Build functions of values that a device does not have itself, for the rule tables of its plug-in.

#include "platform/common/Export.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

namespace velk::powerdistribution::protocols {

/// State and time of the link, for `CommunicationStatus.State` and `CommunicationStatus.Since`. The walk must
/// have a protocol.
VELK_EXPORT ValueWrapperPtr buildCommunicationState(const Rule::BuildFuncParameters& parameters);
VELK_EXPORT ValueWrapperPtr buildCommunicationSince(const Rule::BuildFuncParameters& parameters);

/// The operating status by `Status.Mode`; null without it. An int32: the store's channel
/// `Status.OperatingStatus` takes only uint32.
VELK_EXPORT ValueWrapperPtr buildDeviceEmulatedOperatingStatus(const Rule::BuildFuncParameters& parameters);

/// Whether the supplier supplies, by the `Status.SupplierPowerQuality` beside the path asked for; null
/// without it.
VELK_EXPORT ValueWrapperPtr buildSupplierEmulatedSupply(const Rule::BuildFuncParameters& parameters);

/// One status of the `Status.VoltageTooHigh` and `Status.VoltageTooLow` beside the path asked for; null
/// unless both are there. A path of one node throws std::invalid_argument
/// "Invalid argument: epath depth 2 at least expected".
VELK_EXPORT ValueWrapperPtr buildEmulatedVoltageOutOfRange(const Rule::BuildFuncParameters& parameters);

} // namespace velk::powerdistribution::protocols
