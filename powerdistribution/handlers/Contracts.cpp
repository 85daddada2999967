// The out-of-line destructors of the handlers' contracts: one vtable each.

#include "powerdistribution/handlers/IHandler.h"
#include "powerdistribution/handlers/IHandlerObserver.h"

namespace velk::powerdistribution::handlers {

IHandler::~IHandler() = default;

IHandlerObserver::~IHandlerObserver() = default;

} // namespace velk::powerdistribution::handlers
