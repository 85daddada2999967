// The whole tree of each shipped device, as the real library builds it into a real store, held against files
// that a person can read. golden/renew.sh writes them anew; look at the difference before you commit it.

#include "platform/tessapi/DeviceAttribute.h"
#include "powerdistribution/core/PowerDistributionManager.h"
#include "testing/FakeClock.h"
#include "testing/TemporaryDirectory.h"
#include "tests/integration/StoreWatch.h"
#include "tests/integration/TransitionLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iomanip>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

namespace velk::simulator {
namespace {

using powerdistribution::PowerDistributionManager;
using velk::testing::FakeClock;
using velk::testing::StoreWatch;
using velk::testing::TransitionLog;

/// "Outlets.2" before "Outlets.10": numbers by their size, everything else by bytes.
bool comesBefore(const std::string& a, const std::string& b) {
    const auto isDigit = [](char letter) { return std::isdigit(static_cast<unsigned char>(letter)) != 0; };
    std::size_t x = 0;
    std::size_t y = 0;
    while (x < a.size() && y < b.size()) {
        if (isDigit(a[x]) && isDigit(b[y])) {
            std::size_t xLength = 0;
            std::size_t yLength = 0;
            const auto xNumber = std::stoul(a.substr(x), &xLength);
            const auto yNumber = std::stoul(b.substr(y), &yLength);
            if (xNumber != yNumber) {
                return xNumber < yNumber;
            }
            x += xLength;
            y += yLength;
        } else if (a[x] != b[y]) {
            return a[x] < b[y];
        } else {
            ++x;
            ++y;
        }
    }
    return a.size() - x < b.size() - y;
}

const std::string& placeOf(const qz::CDevice& device) {
    return device.attributes[static_cast<std::size_t>(tessapi::DeviceAttribute::path)];
}

using Lines = std::vector<std::string>;

/// One line a channel: path, type, unit.
Lines treeOf(const tessapi::StoreSnapshot& store) {
    std::map<std::uint64_t, std::string> places;
    for (const qz::CDevice& device : store.devices) {
        places[device.id] = placeOf(device);
    }
    Lines lines;
    for (const tessapi::ChannelRecord& channel : store.channels) {
        const std::string prefix{"PowerDistribution."};
        const bool isOurs = channel.name.rfind(prefix, 0) == 0;
        const std::string member = isOurs ? channel.name.substr(prefix.size()) : channel.name;
        const std::string& place = places[channel.deviceId];
        const std::string path = place == "PowerDistribution" ? member : place + "." + member;
        std::ostringstream line;
        line << std::left << std::setw(72) << path << ' ' << std::setw(9) << qz::to_string(channel.type)
             << ' ' << channel.unit;
        std::string text = line.str();
        text.erase(text.find_last_not_of(' ') + 1);
        lines.push_back(text);
    }
    std::sort(lines.begin(), lines.end(), comesBefore);
    return lines;
}

/// One line a device of the store below its parent: place and Uuid.
Lines devicesOf(const tessapi::StoreSnapshot& store) {
    std::vector<qz::CDevice> devices = store.devices;
    std::sort(devices.begin(), devices.end(),
              [](const auto& a, const auto& b) { return comesBefore(placeOf(a), placeOf(b)); });
    Lines lines;
    const std::function<void(std::uint64_t, std::size_t)> add = [&](std::uint64_t parent, std::size_t depth) {
        for (const qz::CDevice& device : devices) {
            if (device.parentId == parent && device.id != parent) {
                const std::string place = placeOf(device).empty() ? "(the machine)" : placeOf(device);
                std::ostringstream line;
                line << std::left << std::setw(64) << std::string(2 * depth, ' ') + place << ' '
                     << device.uuid;
                lines.push_back(line.str());
                add(device.id, depth + 1);
            }
        }
    };
    add(0, 0);
    return lines;
}

Lines read(const std::string& file) {
    std::ifstream stream{file};
    Lines lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// What the file has and the store has not, and the other way round.
std::string difference(const Lines& file, const Lines& now) {
    constexpr std::size_t most = 40;
    std::string text;
    std::size_t count = 0;
    const auto tell = [&](const Lines& from, const Lines& without, const char* sign) {
        for (const std::string& line : from) {
            if (std::find(without.begin(), without.end(), line) == without.end() && ++count <= most) {
                text += sign + line + "\n";
            }
        }
    };
    tell(file, now, "  - ");
    tell(now, file, "  + ");
    return count <= most ? text : text + "  and " + std::to_string(count - most) + " more\n";
}

class GoldenTreeTest : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        const std::string url = "memory:golden-" + GetParam();
        setenv("TESS_URL", url.c_str(), 1);
        store = std::make_unique<StoreWatch>(url);
        std::ofstream{folder / "velk.json"}
            << R"({"maxRestTimeMs":1,"maxCpuLoadPercent":100,"protocolLibraries":[")" << VELK_SIMULATOR_PLUGIN
            << R"("],"simulator":{"device":")" << GetParam() << R"(","speed":0}})";
        runner = std::thread{[this] {
            PowerDistributionManager::Attributes attributes;
            attributes.path = (folder / "velk.json").string();
            attributes.clock = &clock;
            manager.exec(std::move(attributes));
            isOver = true;
        }};
    }
    void TearDown() override {
        manager.exit();
        while (!isOver) {
            clock.advance(std::chrono::seconds{2});
            std::this_thread::yield();
        }
        runner.join();
    }

    std::string file(const std::string& kind) const {
        return std::string{VELK_SOURCE_DIR} + "/tests/plugins/simulator/golden/" + GetParam() + kind;
    }
    tessapi::StoreSnapshot snapshot() { return store->client().browser().snapshot(); }

    /// The store when nothing new has come for two seconds.
    tessapi::StoreSnapshot settled() {
        auto& system = common::Clock::system();
        tessapi::StoreSnapshot last = snapshot();
        for (auto since = system.now(); system.now() - since < std::chrono::seconds{2};) {
            system.sleepFor(std::chrono::milliseconds{50});
            tessapi::StoreSnapshot now = snapshot();
            if (now.channels.size() != last.channels.size()) {
                since = system.now();
            }
            last = std::move(now);
        }
        return last;
    }

    void renew() {
        const tessapi::StoreSnapshot now = settled();
        const auto write = [this](const std::string& kind, const Lines& lines) {
            std::ofstream stream{file(kind)};
            for (const std::string& line : lines) {
                stream << line << "\n";
            }
        };
        write(".tree", treeOf(now));
        write(".devices", devicesOf(now));
        ADD_FAILURE() << "the golden files of " << GetParam()
                      << " were written anew; look at what has changed";
    }

    velk::testing::TemporaryDirectory folder;
    TransitionLog output;
    FakeClock clock{FakeClock::Passing::ByHand};
    std::unique_ptr<StoreWatch> store;
    PowerDistributionManager manager;
    std::atomic<bool> isOver{false};
    std::thread runner;
};

TEST_P(GoldenTreeTest, StoreHasTheTreeOfTheDeviceAndNothingElse) {
    ASSERT_TRUE(output.awaitState("MONITOR"));
    if (std::getenv("VELK_RENEW_GOLDEN") != nullptr) {
        renew();
        return;
    }
    const Lines tree = read(file(".tree"));
    const Lines devices = read(file(".devices"));
    ASSERT_FALSE(tree.empty()) << file(".tree") << " cannot be read";
    ASSERT_FALSE(devices.empty()) << file(".devices") << " cannot be read";
    // Computed states come with the first look at the device, a little after MONITOR.
    store->awaitThat([&] { return treeOf(snapshot()) == tree; });
    const tessapi::StoreSnapshot now = snapshot();
    const std::string advice = "tests/plugins/simulator/golden/renew.sh writes the files anew\n";
    EXPECT_EQ(difference(tree, treeOf(now)), "") << "in " << file(".tree") << "\n" << advice;
    EXPECT_EQ(difference(devices, devicesOf(now)), "") << "in " << file(".devices") << "\n" << advice;
    EXPECT_EQ(devices, devicesOf(now)) << "the devices are below other ones";
}

INSTANTIATE_TEST_SUITE_P(Shipped, GoldenTreeTest, ::testing::Values("ups-1ph", "ups-3ph", "ats", "pdu-42"),
                         [](const auto& device) {
                             std::string name = device.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace
} // namespace velk::simulator
