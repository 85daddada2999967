#include "powerdistribution/protocols/StorageModuleInServiceWrapper.h"

#include "powerdistribution/protocols/StatusTests.h"

#include <utility>

namespace velk::powerdistribution::protocols {

StorageModuleInServiceWrapper::StorageModuleInServiceWrapper(ValueWrapperPtr supplyWrapper,
                                                             ValueWrapperPtr modeWrapper) :
    supply{std::move(supplyWrapper)}, mode{std::move(modeWrapper)} {}

StorageModuleInServiceWrapper::~StorageModuleInServiceWrapper() = default;

Value StorageModuleInServiceWrapper::read() const {
    return handlers::isBoolStatus(supply) || handlers::isBoolStatus(mode);
}

} // namespace velk::powerdistribution::protocols
