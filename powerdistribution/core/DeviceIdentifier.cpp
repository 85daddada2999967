#include "powerdistribution/core/DeviceIdentifier.h"

#include <exception>
#include <iostream>
#include <stdexcept>

namespace velk::powerdistribution::handlers {

namespace {

/// Required: what stands in for the serial number of a device in its bootloader.
constexpr const char* BOOTLOADER_SERIAL_NUMBER = "1234567890";

EPath identification(EAttribute attribute) {
    return {EProperty::Identification, attribute};
}

bool isBootloader(const Value& productName) {
    const auto* text = productName.getIf<std::string>();
    return text != nullptr && (*text == "BOOTLOADER" || *text == "UPS BOOTLOADER");
}

velk::common::Uuid reportedUuid(const protocols::IWrapperFactory& factory) {
    try {
        const Value uuid = buildAndRead(factory, identification(EAttribute::Uuid));
        const auto* text = uuid.getIf<std::string>();
        return text == nullptr ? velk::common::Uuid{} : velk::common::Uuid{*text};
    } catch (const std::exception&) {
        return {};
    }
}

velk::common::Uuid uuidOfParts(const protocols::IWrapperFactory& factory) {
    const Value manufacturer = buildAndRead(factory, identification(EAttribute::Manufacturer));
    const Value productName = buildAndRead(factory, identification(EAttribute::ProductName));
    const Value serialNumber = isBootloader(productName)
                                   ? Value{std::string{BOOTLOADER_SERIAL_NUMBER}}
                                   : buildAndRead(factory, identification(EAttribute::SerialNumber));
    if (!manufacturer.hasValue() || !productName.hasValue() || !serialNumber.hasValue()) {
        return {};
    }
    // Required: in this order and with nothing between them, or every device would change its identity.
    const std::string name =
        manufacturer.get<std::string>() + productName.get<std::string>() + serialNumber.get<std::string>();
    return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, name};
}

} // namespace

Value buildAndRead(const protocols::IWrapperFactory& factory, const EPath& path) {
    const auto wrapper = factory.buildWrapper(path);
    if (!wrapper) {
        throw std::runtime_error{"attribute missing: " + path.nodesToString()};
    }
    return wrapper->read();
}

bool isBootloaderMode(const protocols::IWrapperFactory& factory) {
    try {
        const Value mode = buildAndRead(factory, {EStatus::BootloaderMode});
        const auto* flag = mode.getIf<bool>();
        return flag != nullptr && *flag;
    } catch (const std::exception&) {
        return false;
    }
}

std::string getFirmwareVersion(const protocols::IWrapperFactory& factory) {
    try {
        const Value version = buildAndRead(factory, identification(EAttribute::FirmwareVersion));
        const auto* text = version.getIf<std::string>();
        return text == nullptr ? std::string{} : *text;
    } catch (const std::exception&) {
        return {};
    }
}

velk::common::Uuid getDeviceUuid(const protocols::IWrapperFactory& factory) {
    const velk::common::Uuid uuid = reportedUuid(factory);
    return uuid.isNil() ? buildEmulatedDeviceUuid(factory) : uuid;
}

velk::common::Uuid buildEmulatedDeviceUuid(const protocols::IWrapperFactory& factory) {
    try {
        return uuidOfParts(factory);
    } catch (const std::exception& failure) {
        std::cerr << std::string{"WARNING - Unable to build an emulated UUID: exception "} + failure.what() +
                         "\n"
                  << std::flush;
        return {};
    }
}

} // namespace velk::powerdistribution::handlers
