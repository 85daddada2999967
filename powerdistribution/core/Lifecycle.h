#pragma once

#include "powerdistribution/core/Context.h"
#include "powerdistribution/core/FsmState.h"
#include "powerdistribution/core/State.h"

namespace velk::powerdistribution::lifecycle {

using LifecycleState = State<FsmState, Context>;

// The states of the lifecycle, one object each.
extern const LifecycleState BEGIN;
extern const LifecycleState DISCOVER;
extern const LifecycleState ENUMERATE;
extern const LifecycleState BUILD;
extern const LifecycleState INITIALIZE;
extern const LifecycleState START;
extern const LifecycleState MONITOR;
extern const LifecycleState COMMUNICATION_LOST;
extern const LifecycleState WAIT_COMMUNICATION_RECOVERY;
extern const LifecycleState STOP;
extern const LifecycleState END;

} // namespace velk::powerdistribution::lifecycle
