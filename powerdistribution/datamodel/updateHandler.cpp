#include "powerdistribution/datamodel/updateHandler.h"

namespace velk::powerdistribution::datamodel {

void updateHandler(const std::shared_ptr<handlers::IHandler>& handler) {
    // A handler that keeps the base's `refresh` has nothing to do. Calling that empty operation is the same
    // as leaving it out, and C++ has no portable way to compare the slots of a vtable.
    if (handler != nullptr) {
        handler->refresh();
    }
}

void printStats() {}

} // namespace velk::powerdistribution::datamodel
