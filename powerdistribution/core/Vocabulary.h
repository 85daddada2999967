#pragma once

// The whole vocabulary: the twelve path enumerations and the value enumerations.

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
#include "powerdistribution/core/EnumList.h"
#include "powerdistribution/core/ValueEnums.h"
