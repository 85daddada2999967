#include "tests/scenarios/Runner.h"

#include "platform/common/lwjson/Deserializer.h"
#include "platform/tessapi/InBandAccessor.h"
#include "tests/integration/ScriptedDevice.h"
#include "tests/scenarios/JsonReading.h"
#include "tests/scenarios/Memory.h"

#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace velk::scenarios {

using velk::common::lwjson::Deserializer;

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds LOOK_EVERY{1};
/// Long for a thread that has only a few instructions left, short for a person.
constexpr std::chrono::milliseconds SETTLING{50};
/// On a busy machine such a thread may wait longer than that for a processor.
constexpr std::chrono::seconds LONGEST_SETTLING{5};
/// Lines that nobody has expected, told beside a failure.
constexpr std::size_t LINES_TOLD = 5;
constexpr const char* EXIT_LINE = "Exit PowerDistributionManager state machine is requested";
constexpr const char* SCRIPTED_UUID = "9f2c1c9e-6f0d-4a8e-9a7b-3c5d7e9f1b2d";

/// Whether each other thread of this process waits for something else than a processor.
bool othersSleep() {
    const auto own = std::to_string(::gettid());
    for (const auto& thread : fs::directory_iterator{"/proc/self/task"}) {
        std::ifstream file{thread.path() / "stat"};
        std::string text;
        std::getline(file, text);
        const auto state = text.rfind(") ") + 2; // behind the name, which may have any letters
        if (thread.path().filename() != own && state < text.size() && text[state] == 'R') {
            return false;
        }
    }
    return true;
}

Variables withFolders(const fs::path& folder, Variables variables) {
    variables.try_emplace("FOLDER", quoted(folder.string()));
    variables.try_emplace("SCENARIOS", quoted(VELK_SOURCE_DIR "/tests/scenarios"));
    variables.try_emplace("DEVICES", quoted(VELK_SOURCE_DIR "/plugins/simulator/devices"));
    return variables;
}

std::string urlOf(const Scenario& scenario, const fs::path& folder) {
    return scenario.store == "sqlite" ? "sqlite:" + (folder / "store.db").string()
                                      : "memory:" + folder.filename().string();
}

} // namespace

Runner::Runner(const fs::path& file, const Variables& variant) :
    scenario{readScenario(file, withFolders(folder.path(), variant))},
    storeUrl{urlOf(scenario, folder.path())},
    eye{storeUrl},
    simulator{folder / "sim.sock", [this] { return life.ending().has_value(); }},
    life{storeUrl} {
    eye.client(); // a store in memory lives as long as somebody has it open
}

Runner::~Runner() {
    simulator.close();
    life.destroy();
    if (scriptedPlugin != nullptr) {
        dlclose(scriptedPlugin);
    }
}

void Runner::play() {
    play(scenario.steps);
    expectNothingElse();
}

void Runner::play(const Steps& steps) {
    for (const Step& step : steps) {
        current = &step;
        try {
            std::visit([this](const auto& deed) { perform(deed); }, step.deed);
        } catch (const ScenarioError&) {
            throw;
        } catch (const std::exception& failure) {
            fail(failure.what());
        }
    }
}

void Runner::fail(const std::string& reason) {
    const std::string where = current == nullptr ? scenario.file : current->where;
    const std::string why = current == nullptr || current->say.empty() ? "" : " (" + current->say + ")";
    std::string printed;
    for (std::size_t i = 0; i < LINES_TOLD; ++i) {
        const auto line = life.errors.take();
        printed += line ? "\n  standard error: " + *line : "";
    }
    throw ScenarioError{where + ": " + reason + why + printed};
}

void Runner::await(const Condition& condition, const Describe& describe) {
    const auto deadline = std::chrono::steady_clock::now() + Pace::PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            fail(describe());
        }
        std::this_thread::sleep_for(LOOK_EVERY);
    }
}

/// The scripted plug-in, when the scenario has it, finds a small device of its own. It has the alarm file
/// "alarms.json" of the scenario's folder, if that is there.
void Runner::pretendDevice() {
    namespace pd = velk::powerdistribution;
    if (std::find(scenario.plugins.begin(), scenario.plugins.end(), "scripted") == scenario.plugins.end()) {
        return;
    }
    if (scriptedPlugin == nullptr) {
        scriptedPlugin = dlopen(VELK_SCRIPTED_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    }
    if (scriptedPlugin == nullptr) {
        fail(dlerror());
    }
    auto* const entry =
        reinterpret_cast<velk::testing::ScriptedDevice* (*)()>(dlsym(scriptedPlugin, "velkScriptedDevice"));
    velk::testing::ScriptedDevice& device = *entry();
    device.factory = std::make_shared<velk::testing::FakeWrapperFactory>(device.uuid);
    device.found = true;
    device.onEnumerate = {};
    device.factory->add({pd::EProperty::Identification, pd::EAttribute::Uuid},
                        pd::Value{std::string{SCRIPTED_UUID}});
    device.factory->add({pd::ECommunicationStatus::State}, pd::Value{std::uint32_t{2}});
    device.factory->add({pd::EStatus::Mode}, pd::Value{std::uint32_t{2}});
    device.factory->add({pd::ECircuit::BackupSystem, pd::ECircuit::PowerBank, pd::EStatus::StoragePresent},
                        pd::Value{std::uint32_t{3}});
    if (fs::exists(folder / "alarms.json")) {
        device.factory->add({pd::EPrivate::AlarmConfigurationFile},
                            pd::Value{(folder / "alarms.json").string()});
    }
}

std::string Runner::configuration(const Start& start) const {
    std::map<std::string, std::string> members = start.simulator;
    members.insert(scenario.simulator.begin(), scenario.simulator.end());
    members.insert({{"speed", "0"}, {"control", quoted("sim.sock")}, {"timeoutMs", "20"}});
    std::string section;
    for (const auto& [name, json] : members) {
        section += (section.empty() ? "" : ", ") + quoted(name) + ": " + json;
    }
    std::string libraries;
    for (const std::string& plugin : scenario.plugins) {
        libraries += (libraries.empty() ? "" : ", ") + quoted(fileOf(plugin));
    }
    std::string sections = R"("simulator": {)" + section + "}";
    for (const auto& [name, json] : scenario.others) {
        sections += ", " + quoted(name) + ": " + json;
    }
    return R"({"maxThreads": 3, "maxRestTimeMs": 1, "maxCpuLoadPercent": 100, "protocolLibraries": [)" +
           libraries + "], " + sections + "}";
}

/// The file of a plug-in. One of another name is a copy of the simulator, which goes by its file's name.
std::string Runner::fileOf(const std::string& plugin) const {
    if (plugin == "scripted") {
        return VELK_SCRIPTED_PLUGIN;
    }
    if (scenario.others.count(plugin) == 0) {
        return plugin == "simulator" ? VELK_SIMULATOR_PLUGIN : plugin;
    }
    const fs::path copy = folder / ("libvelk-mz-protocol-" + plugin + ".so");
    fs::copy_file(VELK_SIMULATOR_PLUGIN, copy, fs::copy_options::skip_existing);
    return copy;
}

void Runner::perform(const Start& start) {
    simulator.close();
    pretendDevice();
    const fs::path file = folder / "velk.json";
    std::ofstream{file} << configuration(start);
    state = "BEGIN";
    life.start(file);
}

void Runner::perform(const Command& command) {
    const std::string answer = simulator.ask(command.json);
    const Deserializer json{answer};
    const auto* const ok = json.findMember("ok");
    if (ok == nullptr || ok->text() != "true") {
        fail("the simulator answered " + answer);
    }
    for (const auto& [name, wanted] : command.answer) {
        const auto* const given = json.findMember(name);
        if (given == nullptr || JsonReading::json(*given) != wanted) {
            fail("the simulator answered " + answer + " instead of " + quoted(name) + ": " + wanted);
        }
    }
}

void Runner::perform(const WriteStore& write) {
    eye.write(write.path, write.value);
}

void Runner::perform(const Pauses& pauses) {
    for (std::size_t i = 0; i < pauses.count; ++i) {
        if (life.pace.awaitStandstill() != Pace::Standing::Paused) {
            fail("the lifecycle does not pause");
        }
        life.pace.pass();
    }
    life.pace.awaitStandstill();
}

void Runner::perform(const Hold& hold) {
    life.pace.hold(hold.state);
}

void Runner::perform(const Release&) {
    if (life.pace.awaitStandstill() != Pace::Standing::Held) {
        fail("the lifecycle is not held");
    }
    life.pace.release();
}

void Runner::perform(const Exit&) {
    life.exit();
    if (!life.output.takeOne(EXIT_LINE)) {
        fail("the request to end was not printed");
    }
}

void Runner::perform(const Destroy&) {
    simulator.close();
    life.destroy();
}

void Runner::perform(const Settle&) {
    const auto end = std::chrono::steady_clock::now() + LONGEST_SETTLING;
    std::this_thread::sleep_for(SETTLING);
    while (!othersSleep() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(LOOK_EVERY);
    }
}

void Runner::perform(const Leftover& leftover) {
    const velk::common::Uuid uuid{leftover.uuid};
    const std::uint64_t device = eye.client().emplaceDevice(uuid, leftover.parent, leftover.wantedId);
    if (device == tessapi::ITessAccessor::UNKNOWN_ID) {
        fail("the store did not make the device");
    }
    tessapi::InBandAccessor& inBand = eye.client().inbandAccessor();
    for (const auto& [number, text] : leftover.attributes) {
        inBand.setDeviceAttribute(device, static_cast<tessapi::DeviceAttribute>(number), text);
    }
    for (const auto& [name, value] : leftover.channels) {
        inBand.setChannelCValue(inBand.emplaceChannel(device, name, false), value);
    }
}

void Runner::perform(const MoveStore& move) {
    if (scenario.store != "sqlite") {
        fail("only the store \"sqlite\" is a file");
    }
    eye.close();
    const bool back = move.where == MoveStore::Where::Back;
    const fs::path aside = folder / "aside";
    fs::create_directories(aside);
    for (const auto& file : fs::directory_iterator{back ? aside : folder.path()}) {
        const std::string name = file.path().filename();
        if (name.rfind("store.db", 0) == 0) {
            fs::rename(file.path(), (back ? folder.path() : aside) / name);
        }
    }
    if (move.where != MoveStore::Where::Away) {
        eye.client();
    }
}

void Runner::perform(const PutFile& file) {
    const fs::path target = folder / file.name;
    if (!file.source.empty()) {
        fs::copy_file(file.source, target, fs::copy_options::overwrite_existing);
        return;
    }
    std::ofstream{target} << file.text;
}

void Runner::perform(const Churn& churn) {
    std::atomic<std::size_t> writes{0};
    StoreEye counter{storeUrl};
    counter.client().browser().subscribeAllChannels([&](const tessapi::ChannelWrite&) { ++writes; }, nullptr);
    simulator.ask(R"({"do":"speed","factor":20})"); // another value at each look
    for (std::size_t before = 0; before < churn.writes; before = std::min(writes.load(), churn.writes)) {
        await([&] { return writes > before; }, [] { return std::string{"no more values were written"}; });
    }
    simulator.ask(R"({"do":"speed","factor":0})");
}

void Runner::perform(const Remember& remember) {
    remembered[remember.name] = identifiers(eye.look());
}

void Runner::perform(const Repeat& repeat) {
    std::uint64_t warm = 0;
    for (std::size_t round = 0; round < repeat.times; ++round) {
        if (round == repeat.warmUp) {
            warm = residentKiB();
        }
        play(repeat.steps);
    }
    const std::uint64_t end = residentKiB();
    std::ostringstream figure;
    const double growth =
        100.0 * (static_cast<double>(end) - static_cast<double>(warm)) / static_cast<double>(warm);
    figure << repeat.times << " rounds: resident memory " << warm << " KiB after " << repeat.warmUp << ", "
           << end << " KiB at the end, " << growth << " %";
    measured.push_back(figure.str());
    if (MEMORY_IS_MEASURED && repeat.growthPercent > 0 && growth >= repeat.growthPercent) {
        fail(figure.str() + ", less than " + std::to_string(repeat.growthPercent) + " % expected");
    }
}

} // namespace velk::scenarios
