#include "powerdistribution/handlers/ROValueHandler.h"

namespace velk::powerdistribution::handlers {

ROValueHandler::~ROValueHandler() = default;

void ROValueHandler::refresh() {
    velk::common::MutexLock held{lock};
    readAndStore();
}

} // namespace velk::powerdistribution::handlers
