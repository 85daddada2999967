#pragma once

#include "powerdistribution/handlers/IHandler.h"

#include <memory>

namespace velk::powerdistribution::datamodel {

/// The scheduler's unit of work: refreshes `handler`; an empty handle is passed over.
void updateHandler(const std::shared_ptr<handlers::IHandler>& handler);

/// Does nothing.
void printStats();

} // namespace velk::powerdistribution::datamodel
