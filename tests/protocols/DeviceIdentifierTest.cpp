#include "powerdistribution/core/DeviceIdentifier.h"

#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::handlers;
using velk::common::Uuid;
using velk::testing::FakeWrapperFactory;

const Uuid OWN{"6ba7b810-9dad-11d1-80b4-00c04fd430c8"};

EPath identification(EAttribute attribute) {
    return {EProperty::Identification, attribute};
}

class DeviceIdentifierTest : public ::testing::Test {
protected:
    void identify(const Value& manufacturer, const Value& productName, const Value& serialNumber) {
        device.add(identification(EAttribute::Manufacturer), manufacturer);
        device.add(identification(EAttribute::ProductName), productName);
        device.add(identification(EAttribute::SerialNumber), serialNumber);
    }
    static Value text(const char* content) { return std::string{content}; }
    static Uuid derivedFrom(const std::string& name) { return Uuid{Uuid::VELK_NAMESPACE, name}; }

    /// The emulated identity, and what was said on the standard error meanwhile.
    Uuid emulated() {
        ::testing::internal::CaptureStderr();
        const Uuid uuid = buildEmulatedDeviceUuid(device);
        said = ::testing::internal::GetCapturedStderr();
        return uuid;
    }

    FakeWrapperFactory device;
    std::string said;
};

TEST_F(DeviceIdentifierTest, StartsNilAndEmpty) {
    const DeviceIdentifier identifier;
    EXPECT_TRUE(identifier.uuid.isNil());
    EXPECT_EQ(identifier.firmwareVersion, "");
}

TEST_F(DeviceIdentifierTest, BuildAndReadGivesWhatTheWrapperReads) {
    device.add({EStatus::Mode}, Value{2u});
    EXPECT_EQ(buildAndRead(device, {EStatus::Mode}), Value{2u});
    device.point({EStatus::Mode}).setValue({});
    EXPECT_EQ(buildAndRead(device, {EStatus::Mode}), Value{});
}

TEST_F(DeviceIdentifierTest, BuildAndReadNamesTheMissingPath) {
    try {
        buildAndRead(device, identification(EAttribute::Manufacturer));
        FAIL() << "nothing is there to be read";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "attribute missing: Identification.Attribute.Manufacturer");
    }
}

TEST_F(DeviceIdentifierTest, BootloaderModeIsABoolThatIsTrue) {
    const EPath path{EStatus::BootloaderMode};
    EXPECT_FALSE(isBootloaderMode(device)) << "not served";
    device.add(path, Value{true});
    EXPECT_TRUE(isBootloaderMode(device));
    for (const Value& other : {Value{false}, Value{}, Value{1u}}) {
        device.point(path).setValue(other);
        EXPECT_FALSE(isBootloaderMode(device)) << other;
    }
    device.point(path).throwOnRead("bus error");
    EXPECT_FALSE(isBootloaderMode(device));
    device.throwOnBuild(path, "out of order");
    EXPECT_FALSE(isBootloaderMode(device));
}

TEST_F(DeviceIdentifierTest, FirmwareVersionIsAStringOrEmpty) {
    const EPath path = identification(EAttribute::FirmwareVersion);
    EXPECT_EQ(getFirmwareVersion(device), "") << "not served";
    device.add(path, text("01.02"));
    EXPECT_EQ(getFirmwareVersion(device), "01.02");
    device.point(path).setValue(Value{102u});
    EXPECT_EQ(getFirmwareVersion(device), "");
    device.point(path).setValue({});
    EXPECT_EQ(getFirmwareVersion(device), "");
    device.point(path).throwOnRead("bus error");
    EXPECT_EQ(getFirmwareVersion(device), "");
}

TEST_F(DeviceIdentifierTest, ReportedUuidIsTakenWithoutReadingTheOtherAttributes) {
    identify(text("M"), text("P"), text("S"));
    device.add(identification(EAttribute::Uuid), text("6ba7b810-9dad-11d1-80b4-00c04fd430c8"));
    EXPECT_EQ(getDeviceUuid(device), OWN);
    EXPECT_EQ(device.asked(), std::vector<std::string>{"Identification.Attribute.Uuid"});
}

TEST_F(DeviceIdentifierTest, WhatIsNoUuidFallsBackToTheEmulatedOneSilently) {
    identify(text("M"), text("P"), text("S"));
    const EPath path = identification(EAttribute::Uuid);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(getDeviceUuid(device), derivedFrom("MPS")) << "not served";
    device.add(path);
    for (const Value& other :
         {text("no uuid"), text("00000000-0000-0000-0000-000000000000"), Value{}, Value{OWN}}) {
        device.point(path).setValue(other);
        EXPECT_EQ(getDeviceUuid(device), derivedFrom("MPS")) << other;
    }
    device.point(path).throwOnRead("bus error");
    EXPECT_EQ(getDeviceUuid(device), derivedFrom("MPS"));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(DeviceIdentifierTest, EmulatedUuidIsDerivedFromThreePartsWithNothingBetween) {
    identify(text("Acme"), text("Power 9"), text("X-42"));
    EXPECT_EQ(emulated(), derivedFrom("AcmePower 9X-42"));
    EXPECT_EQ(device.asked(), (std::vector<std::string>{"Identification.Attribute.Manufacturer",
                                                        "Identification.Attribute.ProductName",
                                                        "Identification.Attribute.SerialNumber"}));
    EXPECT_EQ(said, "");
}

TEST_F(DeviceIdentifierTest, BootloaderStandsWithAFixedSerialNumberAndIsNotAskedForItsOwn) {
    for (const char* product : {"BOOTLOADER", "UPS BOOTLOADER"}) {
        identify(text("M"), text(product), {});
        device.point(identification(EAttribute::SerialNumber)).throwOnRead("not in bootloader");
        device.forgetAsked();
        EXPECT_EQ(emulated(), derivedFrom("M" + std::string{product} + "1234567890"));
        EXPECT_EQ(device.askedFor(identification(EAttribute::SerialNumber)), 0u);
        EXPECT_EQ(said, "");
    }
}

TEST_F(DeviceIdentifierTest, NamesThatOnlyResembleTheBootloaderReadTheSerialNumber) {
    for (const char* product : {"BOOTLOADER 2", "UPS BOOTLOADER 2", "UPS BOOT", "UPS", "bootloader", ""}) {
        identify(text("M"), text(product), text("S"));
        EXPECT_EQ(emulated(), derivedFrom("M" + std::string{product} + "S")) << product;
    }
}

TEST_F(DeviceIdentifierTest, EmptyPartGivesNilSilently) {
    identify({}, text("P"), text("S"));
    EXPECT_TRUE(emulated().isNil());
    identify(text("M"), {}, text("S"));
    EXPECT_TRUE(emulated().isNil());
    identify(text("M"), text("P"), {});
    EXPECT_TRUE(emulated().isNil());
    EXPECT_EQ(said, "");
}

TEST_F(DeviceIdentifierTest, MissingPartGivesNilAndAWarning) {
    EXPECT_TRUE(emulated().isNil());
    EXPECT_EQ(said, "WARNING - Unable to build an emulated UUID: exception "
                    "attribute missing: Identification.Attribute.Manufacturer\n");
}

TEST_F(DeviceIdentifierTest, PartThatIsNoStringGivesNilAndAWarning) {
    identify(text("M"), text("P"), Value{42u});
    EXPECT_TRUE(emulated().isNil());
    EXPECT_EQ(said, "WARNING - Unable to build an emulated UUID: exception Unexpected index\n");
}

TEST_F(DeviceIdentifierTest, FailingPartGivesNilAndAWarning) {
    identify(text("M"), text("P"), text("S"));
    device.point(identification(EAttribute::SerialNumber)).throwOnRead("bus error");
    EXPECT_TRUE(emulated().isNil());
    EXPECT_EQ(said, "WARNING - Unable to build an emulated UUID: exception bus error\n");
}

TEST_F(DeviceIdentifierTest, WhatIsNoStandardExceptionPasses) {
    class Odd : public FakeWrapperFactory {
    public:
        protocols::ValueWrapperPtr buildWrapper(const EPath&) const override { throw 42; }
    };
    const Odd odd;
    EXPECT_THROW(getDeviceUuid(odd), int);
    EXPECT_THROW(getFirmwareVersion(odd), int);
    EXPECT_THROW(isBootloaderMode(odd), int);
    EXPECT_THROW(buildEmulatedDeviceUuid(odd), int);
}

} // namespace
