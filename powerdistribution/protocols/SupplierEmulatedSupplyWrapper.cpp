#include "powerdistribution/protocols/SupplierEmulatedSupplyWrapper.h"

#include <cstdint>
#include <utility>

namespace velk::powerdistribution::protocols {

SupplierEmulatedSupplyWrapper::SupplierEmulatedSupplyWrapper(ValueWrapperPtr qualityWrapper) :
    quality{std::move(qualityWrapper)} {}

SupplierEmulatedSupplyWrapper::~SupplierEmulatedSupplyWrapper() = default;

Value SupplierEmulatedSupplyWrapper::read() const {
    const Value present = quality ? quality->read() : Value{};
    const auto* number = present.getIf<std::uint32_t>();
    if (number == nullptr || *number < 2 || *number > 5) {
        return {};
    }
    return *number != 2;
}

} // namespace velk::powerdistribution::protocols
