// A small good plug-in that breaks one rule of the contract: the one that the member "broken" of its
// configuration names. Its device is away while there is a file "away" beside the configuration.

#include "platform/common/Export.h"
#include "platform/common/Mutex.h"
#include "platform/common/lwjson/Deserializer.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/RWValueWrapper.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::common::Mutex;
using velk::common::MutexLock;
using velk::common::Uuid;

const Uuid PROTOCOL{"7a3b0d8e-1f1c-4c83-9f55-0c2a6bd1a001"};
const Uuid ANOTHER{"7a3b0d8e-1f1c-4c83-9f55-0c2a6bd1a002"};
const Uuid NIL{};

constexpr std::chrono::milliseconds SLOW{30};

/// The rule that is broken; "nothing" for none.
std::string& fault() {
    static std::string kind{"nothing"};
    return kind;
}
bool has(const char* kind) {
    return fault() == kind;
}

struct Device {
    std::filesystem::path folder;
    std::atomic<bool> connected{false};
    std::atomic<bool> hasReturned{false}; ///< only "returnUntold" cares
    std::atomic<int> inside{0};           ///< threads in a read
    std::atomic<int> reads{0};
    Mutex mutex;
    std::map<std::string, Value> values;
    conv::UnixTime since{conv::UnixTime::now()};

    bool isAway() const { return exists(folder / "away"); }
    bool isReached() const { return connected && !isAway(); }
    bool givesValues() const {
        return isReached() || (has("staleAfterDisconnect") && !connected) ||
               (has("staleWhileLost") && isAway());
    }
};

void doSomethingDreadful() {
    if (has("crashInRead")) {
        raise(SIGSEGV);
    }
    if (has("abortInRead")) {
        std::abort();
    }
    if (has("exitInRead")) {
        std::exit(3); // NOLINT(concurrency-mt-unsafe): that is the point
    }
    if (has("hangInRead")) {
        for (;;) {
            std::this_thread::sleep_for(SLOW);
        }
    }
    if (has("slowRead")) {
        std::this_thread::sleep_for(SLOW);
    }
    if (has("throwInRead")) {
        throw std::runtime_error{"no answer"};
    }
    if (has("foreignThrowInRead")) {
        throw 7; // NOLINT: that is the point
    }
}

/// One data point. The voltage of the first input is the one with which things go wrong.
class Wrapper : public RWValueWrapper {
public:
    Wrapper(std::shared_ptr<Device> reached, std::string text) :
        device{std::move(reached)}, path{std::move(text)} {
        if (has("leak")) {
            new char[64]; // NOLINT: that is the point
        }
    }

    bool isReadable() const override {
        return !isAction() && !(isVictim() && (has("readsThoughUnreadable") || has("unreadable")));
    }
    bool isWritable() const override {
        if (isAction()) {
            return !has("unwritableAction");
        }
        return isSetting() && !has("takesThoughUnwritable");
    }

    Value read() const override {
        if (isAction()) {
            return {};
        }
        if (path == "CommunicationStatus.State") {
            return Value{static_cast<std::uint32_t>(has("stateOfPathLies") || !device->isReached() ? 3 : 2)};
        }
        if (!device->givesValues()) {
            return {};
        }
        return isVictim() ? readVictim() : readOther();
    }

    bool write(const Value& value) override {
        if (isAction()) {
            if (has("throwInAction")) {
                throw std::runtime_error{"cannot switch"};
            }
            return true;
        }
        const bool isReached = device->isReached() || has("takesAfterDisconnect");
        if (!isSetting() || !isReached) {
            return false;
        }
        if (has("refusesThoughWritable") || (!value.hasValue() && !has("takesEmpty")) ||
            (!value.holds<std::int32_t>() && !has("takesAnyType"))) {
            return has("takesEmpty") && !value.hasValue();
        }
        if (has("crashOnceChanged") && value != Value{std::int32_t{5}}) {
            raise(SIGSEGV);
        }
        if (value.holds<std::int32_t>() && !has("writesWithoutEffect")) {
            const MutexLock lock{device->mutex};
            device->values[path] =
                has("changesWhatIsWritten") ? Value{value.get<std::int32_t>() + 10} : value;
        }
        return true;
    }

private:
    bool isVictim() const { return path == "Inputs.1.Measure.Voltage"; }
    bool isSetting() const { return path.find("Setting.") != std::string::npos; }
    bool isAction() const { return path.find("Action.") != std::string::npos; }

    Value readVictim() const {
        doSomethingDreadful();
        const int number = ++device->reads;
        if (has("wrongType") || (has("otherTypeLater") && number % 2 == 0)) {
            return Value{std::uint32_t{230}};
        }
        if (has("outOfRange")) {
            return Value{230000.0F};
        }
        if (has("notANumber")) {
            return Value{std::numeric_limits<float>::quiet_NaN()};
        }
        return readTogether();
    }

    /// Where things go wrong only when several threads are here at once.
    Value readTogether() const {
        struct Presence {
            explicit Presence(std::atomic<int>& counter) : inside{counter}, others{inside++} {}
            ~Presence() { --inside; }
            std::atomic<int>& inside;
            const int others;
        } const here{device->inside};
        if (has("crashInParallel") || has("otherTypeInParallel")) {
            std::this_thread::sleep_for(std::chrono::milliseconds{1});
            if (here.others > 0 && has("crashInParallel")) {
                raise(SIGSEGV);
            }
            if (here.others > 0) {
                return Value{std::uint32_t{230}};
            }
        }
        return Value{230.0F};
    }

    Value readOther() const {
        const MutexLock lock{device->mutex};
        if (has("identityChanges") && path == "Identification.Attribute.SerialNumber") {
            return Value{"serial " + std::to_string(++device->reads)};
        }
        return device->values[path];
    }

    std::shared_ptr<Device> device;
    const std::string path;
};

/// What the device has, by path.
std::map<std::string, Value> valuesOf(const Device& device) {
    std::map<std::string, Value> values{
        {"Identification.Attribute.Manufacturer", Value{std::string{"Velk"}}},
        {"Identification.Attribute.ProductName", Value{std::string{"Small"}}},
        {"Identification.Attribute.SerialNumber", Value{std::string{"1"}}},
        {"Identification.Attribute.FirmwareVersion", Value{std::string{"1.0"}}},
        {"CommunicationStatus.State", {}},
        {"Status.Mode", Value{std::uint32_t{2}}},
        {"Inputs.Attribute.Count", Value{std::uint32_t{1}}},
        {"Inputs.1.Measure.Voltage", {}},
        {"Outlets.Attribute.Count", Value{std::uint32_t{2}}},
        {"Outlets.1.Status.SwitchedOn", Value{true}},
        {"Outlets.2.Status.SwitchedOn", Value{true}},
        {"Outlets.1.Setting.AutomaticSwitchOnDelay", Value{std::int32_t{5}}},
        {"Outlets.1.Action.SwitchOff", {}},
    };
    const std::vector<std::tuple<const char*, const char*, Value>> additions{
        {"operatingStatus", "Status.OperatingStatus", Value{std::uint32_t{16}}},
        {"operatingStatusOfItem", "Outlets.1.Status.OperatingStatus", Value{std::uint32_t{16}}},
        {"healthState", "Outlets.1.Status.HealthState", Value{std::uint32_t{5}}},
        {"hiddenNode", "PowerModules.Measure.Temperature", Value{30.0F}},
        {"hiddenNode", "PowerConverters.Avr.Status.Supply", Value{true}},
        {"badUuid", "Identification.Attribute.Uuid", Value{std::string{"what?"}}},
        {"unknownState", "Status.Mode", Value{std::uint32_t{77}}},
        {"garbage", "Identification.Attribute.SerialNumber", Value{std::string{"\xFF\x01"}}},
        {"countTooBig", "Outlets.Attribute.Count", Value{std::uint32_t{3}}},
        {"countTooSmall", "Outlets.Attribute.Count", Value{std::uint32_t{1}}},
        {"hugeCount", "Outlets.Attribute.Count", Value{std::uint32_t{4000000000U}}},
        {"countIsFloat", "Outlets.Attribute.Count", Value{2.0F}},
        {"badAlarmFile", "Private.AlarmConfigurationFile", Value{(device.folder / "alarms.json").string()}},
        {"unservedAlarm", "Private.AlarmConfigurationFile", Value{(device.folder / "alarms.json").string()}},
        {"badReference", "Private.AlarmConfigurationFile", Value{(device.folder / "alarms.json").string()}},
        {"badReference", "Inputs.1.Setting.Voltage.LowWarningThreshold", Value{}},
    };
    for (const auto& [kind, path, value] : additions) {
        if (has(kind)) {
            values[path] = value;
        }
    }
    for (const auto& [kind, path] :
         std::map<std::string, const char*>{{"noIdentity", "Identification.Attribute.SerialNumber"},
                                            {"noCount", "Outlets.Attribute.Count"},
                                            {"noCommunicationStatus", "CommunicationStatus.State"}}) {
        if (fault() == kind) {
            values.erase(path);
        }
    }
    return values;
}

class Factory : public IWrapperFactory, public IRuleNaming {
public:
    explicit Factory(std::shared_ptr<Device> reached) : device{std::move(reached)} {}

    const Uuid& protocolUuid() const override { return has("uuidOfFactory") ? ANOTHER : PROTOCOL; }

    ValueWrapperPtr buildWrapper(const EPath& path) const override {
        if (has("throwsForEmpty")) {
            path.lastNode();
        }
        const std::string text = path.nodesToString();
        if (has("servesEverything") || (has("servesEmpty") && path.empty())) {
            return std::make_unique<Wrapper>(device, text);
        }
        const MutexLock lock{device->mutex};
        const bool isServed = device->values.count(text) != 0;
        if (!isServed && has("throwsForUnknown")) {
            throw std::out_of_range{"no such path"};
        }
        if (has("crashInBuild") && text == "Inputs.1.Measure.Voltage") {
            raise(SIGSEGV);
        }
        return isServed ? std::make_unique<Wrapper>(device, text) : nullptr;
    }

    std::string ruleOf(const EPath& path) const override {
        return has("namelessRule")     ? ""
               : has("nameOfTwoLines") ? "a rule\nof two lines"
                                       : path.nodesToString();
    }

private:
    std::shared_ptr<Device> device;
};

class Protocol : public IProtocol {
public:
    explicit Protocol(std::filesystem::path folder) {
        device->folder = std::move(folder);
        device->values = valuesOf(*device);
    }
    ~Protocol() override {
        if (has("crashInDestructor")) {
            raise(SIGSEGV);
        }
    }

    void start() override {
        if (has("throwInStart")) {
            throw std::runtime_error{"no port"};
        }
        if (has("threadLeft")) {
            std::thread{[] { std::this_thread::sleep_for(std::chrono::hours{1}); }}.detach();
        }
    }
    void stop() override {
        if (has("hangInStop")) {
            std::this_thread::sleep_for(std::chrono::hours{1});
        }
    }
    const Uuid& protocolUuid() const override { return has("uuidOfProtocol") ? ANOTHER : PROTOCOL; }

    CommunicationStatus communicationStatus() const override {
        if (has("throwInStatus")) {
            throw std::runtime_error{"no status"};
        }
        if (has("sinceTomorrow")) {
            return {2, conv::UnixTime{conv::UnixTime::now().toIntegralType() + 86400}};
        }
        if (has("crashWhileLost") && device->isAway()) {
            raise(SIGSEGV);
        }
        const bool isTruthful = !has("neverLost");
        const bool isReached = isTruthful ? device->isReached() : device->connected.load();
        if (has("returnUntold") && device->isAway()) {
            device->connected = false;
        }
        const bool isGood = (isReached && !has("neverGood")) || has("goodAfterDisconnect");
        return {static_cast<std::uint8_t>(isGood ? 2 : has("oddStateWhenLost") ? 7 : 3), device->since};
    }

    bool discover() override {
        if (has("throwInDiscover")) {
            throw std::runtime_error{"no port"};
        }
        device->connected = !has("neverFound");
        return device->connected;
    }
    void disconnect() override { device->connected = false; }

    const std::shared_ptr<Device> device{std::make_shared<Device>()};
};

class Builder : public IProtocolBuilder {
public:
    explicit Builder(std::filesystem::path folder) : place{std::move(folder)} {}
    std::unique_ptr<IProtocol> create() const override {
        return has("noProtocol") ? nullptr : std::make_unique<Protocol>(place);
    }

private:
    const std::filesystem::path place;
};

class Library : public IProtocolLibrary {
public:
    const Uuid& uuid() const override { return has("nilUuid") ? NIL : PROTOCOL; }
    std::shared_ptr<IProtocolBuilder> builder() const override {
        return has("noBuilder") ? nullptr : std::make_shared<Builder>(folder);
    }
    std::shared_ptr<IWrapperFactory> wrapperFactory(std::shared_ptr<IProtocol> protocol) const override {
        return has("noFactory")
                   ? nullptr
                   : std::make_shared<Factory>(std::static_pointer_cast<Protocol>(protocol)->device);
    }

    std::filesystem::path folder;
};

std::string contentOf(const char* file) {
    std::ostringstream text;
    text << std::ifstream{file}.rdbuf();
    return text.str();
}

} // namespace

extern "C" VELK_EXPORT IProtocolLibrary* velkProtocolLibrary(const char* configurationPath) {
    static Library library;
    const velk::common::lwjson::Deserializer json{contentOf(configurationPath)};
    if (const auto* broken = json.findMember("broken")) {
        fault() = broken->asString();
    }
    if (has("entryThrows")) {
        throw std::runtime_error{"no configuration"};
    }
    library.folder = std::filesystem::path{configurationPath}.parent_path();
    return has("nullLibrary") ? nullptr : &library;
}

extern "C" VELK_EXPORT int velkProtocolCheck(const char* configurationPath, char* message,
                                             unsigned long size) {
    const bool isBad = contentOf(configurationPath).find("badConfiguration") != std::string::npos;
    if (isBad) {
        message[std::string{"velk.json:1:12: no such kind"}.copy(message, size - 1)] = '\0';
    }
    return isBad ? 1 : 0;
}
