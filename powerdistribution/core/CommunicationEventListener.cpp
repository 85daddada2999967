#include "powerdistribution/core/CommunicationEventListener.h"

namespace velk::powerdistribution {

CommunicationEventListener::~CommunicationEventListener() = default;

} // namespace velk::powerdistribution
