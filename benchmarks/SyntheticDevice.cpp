#include "benchmarks/SyntheticDevice.h"

#include "powerdistribution/core/Paths.h"
#include "powerdistribution/protocols/ConstROValueWrapper.h"
#include "powerdistribution/protocols/RWValueWrapper.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"
#include "powerdistribution/protocols/RuleTable.h"

#include <any>
#include <fstream>
#include <string>
#include <vector>

namespace velk::benchmarks {

using namespace powerdistribution;
using namespace powerdistribution::protocols;

namespace {

const velk::common::Uuid PROTOCOL{"2b9b6a0e-6a37-4a43-9a0b-3b1f52d6f1a1"};
const std::string DEVICE{"5f0a3c52-1f7e-4d0c-8f6e-9a57d0c3be11"};

Value sampleOf(bool, std::uint32_t turn) {
    return Value{turn % 2 != 0};
}
Value sampleOf(float, std::uint32_t turn) {
    return Value{230.0F + 0.25F * static_cast<float>(turn % 4096)};
}
Value sampleOf(const std::string&, std::uint32_t turn) {
    return Value{"text " + std::to_string(turn)};
}
template <typename T>
Value sampleOf(T, std::uint32_t turn) {
    return Value{static_cast<T>(turn)};
}

/// One point of the device; `T` is the type of its values.
template <typename T>
class Point final : public RWValueWrapper {
public:
    Point(SyntheticDevice& owner, std::uint32_t place) : device{owner}, phase{place} {}

    Value read() const override {
        device.reads.fetch_add(1, std::memory_order_relaxed);
        const std::uint32_t every = device.changeEvery.load(std::memory_order_relaxed);
        if (every != 0 && ++phase % every == 0) {
            ++turn;
        }
        return sampleOf(T{}, turn);
    }
    bool write(const Value&) override { return true; }

private:
    SyntheticDevice& device;
    mutable std::uint32_t phase;
    mutable std::uint32_t turn{0};
};

template <typename T>
BuildFunc point(SyntheticDevice& device) {
    // The walks that make wrappers are those of one thread.
    return [&device, place = std::uint32_t{0}](const Rule::BuildFuncParameters&) mutable {
        return std::make_unique<Point<T>>(device, place++);
    };
}

template <typename T>
BuildFunc constant(T value) {
    return
        [value](const Rule::BuildFuncParameters&) { return std::make_unique<ConstROValueWrapper<T>>(value); };
}

std::vector<RuleRow> outletRows(SyntheticDevice& device) {
    const EPath outlet{ECircuit::Outlets, anyIndex};
    std::vector<RuleRow> rows;
    for (const auto member : {EAttribute::PhysicalName, EAttribute::ReferenceNumber}) {
        rows.push_back({outlet + member, point<std::string>(device)});
    }
    rows.push_back({outlet + ESpecification::CurrentNominal, point<float>(device)});
    rows.push_back({outlet + ESpecification::ConnectorType, point<std::string>(device)});
    rows.push_back({outlet + ESpecification::Switchable, point<bool>(device)});
    for (const auto member : {EStatus::BreakerTripped, EStatus::OverCurrent, EStatus::Supply}) {
        rows.push_back({outlet + member, point<bool>(device)});
    }
    rows.push_back({outlet + EStatus::State, point<std::uint32_t>(device)});
    for (const auto member :
         {EMeasurement::Voltage, EMeasurement::Current, EMeasurement::ActivePower,
          EMeasurement::ApparentPower, EMeasurement::PowerFactor, EMeasurement::CumulatedEnergy}) {
        rows.push_back({outlet + member, point<float>(device)});
    }
    for (const auto member : {ESetting::CurrentHighWarningThreshold, ESetting::CurrentLowWarningThreshold}) {
        rows.push_back({outlet + member, point<float>(device)});
    }
    for (const auto member : {ESetting::AutomaticSwitchOnDelay, ESetting::AutomaticSwitchOffDelay}) {
        rows.push_back({outlet + member, point<std::int32_t>(device)});
    }
    rows.push_back({outlet + EAction::SwitchOn, point<std::int32_t>(device)});
    return rows;
}

std::vector<Rule> grow(SyntheticDevice& device, std::uint32_t outlets, const std::string& alarmFile) {
    std::vector<RuleRow> rows{
        {{EProperty::Identification, EAttribute::Uuid}, constant(DEVICE)},
        {{EProperty::Identification, EAttribute::FirmwareVersion}, constant(std::string{"1.0"})},
        {{EPrivate::AlarmConfigurationFile}, constant(alarmFile)},
        {{ECommunicationStatus::State}, constant(std::uint32_t{2})},
        {{EStatus::Mode}, point<std::uint32_t>(device)},
        // A device without a battery says so.
        {{ECircuit::BackupSystem, ECircuit::PowerBank, EStatus::StoragePresent}, constant(std::uint32_t{3})},
        {{ECircuit::Outlets, EAttribute::Count}, constant(outlets)},
    };
    for (RuleRow& row : outletRows(device)) {
        rows.push_back(std::move(row));
    }
    return growRules(rows);
}

void writeAlarmFile(const std::filesystem::path& path, std::uint32_t outlets) {
    std::ofstream file{path};
    file << R"({"alarms": {)";
    for (std::uint32_t outlet = 1; outlet <= outlets; ++outlet) {
        const std::string name = "Outlets." + std::to_string(outlet);
        file << (outlet == 1 ? "" : ",") << "\n\"" << name << R"(.Measure.Current": {"triggers": [)"
             << R"({"type": "upper", "reference": "Setting.Current.HighWarningThreshold",)"
             << R"( "severity": "warning", "code": "101", "message": "current high"}]},)"
             << "\n\"" << name << R"(.Status.OverCurrent": {"triggers": [)"
             << R"({"type": "value", "value": true, "severity": "critical", "code": "102",)"
             << R"( "message": "too much current"}]})";
    }
    file << "\n}}\n";
}

} // namespace

class SyntheticDevice::Factory final : public IWrapperFactory {
public:
    explicit Factory(std::vector<Rule> forest) : rules{std::move(forest)} {}
    const velk::common::Uuid& protocolUuid() const override { return PROTOCOL; }
    ValueWrapperPtr buildWrapper(const EPath& path) const override {
        const std::any none;
        Rule::ExecutionParameters walk{path, 0, *this, nullptr, none};
        return RuleBasedWrapperBuilder{rules}.buildWrapper(walk);
    }

private:
    const std::vector<Rule> rules;
};

SyntheticDevice::SyntheticDevice(std::uint32_t outlets, const std::filesystem::path& folder) :
    factory{std::make_shared<Factory>(grow(*this, outlets, folder / "alarms.json"))} {
    writeAlarmFile(folder / "alarms.json", outlets);
}

SyntheticDevice::~SyntheticDevice() = default;

std::shared_ptr<IWrapperFactory> SyntheticDevice::wrapperFactory() const {
    return factory;
}

} // namespace velk::benchmarks
