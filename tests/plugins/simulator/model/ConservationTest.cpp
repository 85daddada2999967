#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

#include <random>

namespace velk::simulator {

namespace {

constexpr double EXACT = 1e-9; ///< of the power that flows: the rounding of a few sums

/// Pulls at everything that can be pulled at, by a seed.
class Meddler {
public:
    explicit Meddler(std::uint32_t seed) : random{seed} {}

    void meddle(ShippedDevice& device) {
        const Plant& plant = device.model.plant();
        switch (random() % 14) {
        case 0:
            device.mains(MainsState::Lost);
            break;
        case 1:
            device.mains(MainsState::Normal);
            break;
        case 2:
            device.mains(1, any(MainsState::Sag, MainsState::Swell));
            break;
        case 3:
            device.model.setMains({1, 1, {}, below(280), {}});
            break;
        case 4:
            device.model.setMains({{}, {}, {}, {}, 40 + below(20)});
            break;
        case 5:
            device.model.setMains(
                {1 + number(plant.inputs.size()), {}, any(MainsState::Lost, MainsState::Normal), {}, {}});
            break;
        case 6:
            load(device);
            break;
        case 7:
            outlet(device, "Action.SwitchOff");
            break;
        case 8:
            outlet(device, "Action.SwitchOn");
            break;
        case 9:
            outlet(device, "Action.SwitchOffWithAutoRestart");
            break;
        case 10:
            bypass(device);
            break;
        case 11:
            battery(device);
            break;
        case 12:
            device.set("Setting.HighEfficiencyEnabled", Value{random() % 2 == 0});
            break;
        default:
            device.act("BackupSystem.PowerBank.Action.StartTest");
            break;
        }
    }

    std::chrono::milliseconds pause() { return std::chrono::milliseconds{1 + random() % 20000}; }

private:
    double below(double limit) {
        return limit * static_cast<double>(random()) / static_cast<double>(std::mt19937::max());
    }
    std::uint32_t number(std::size_t count) { return random() % static_cast<std::uint32_t>(count); }
    MainsState any(MainsState one, MainsState other) { return random() % 2 == 0 ? one : other; }

    void load(ShippedDevice& device) {
        const Plant& plant = device.model.plant();
        if (random() % 2 == 0 && !plant.outlets.empty()) {
            const std::uint32_t which = 1 + number(plant.outlets.size());
            device.outletLoad(which, below(2 * plant.outlets[which - 1].circuit.rating().activePower));
        } else {
            device.model.setLoad({{}, {}, 1 + number(plant.inputs.front().circuit.phases()), {}, below(130)});
        }
    }

    void outlet(ShippedDevice& device, const std::string& action) {
        const std::size_t outlets = device.model.plant().outlets.size();
        const std::string node =
            outlets == 0 ? "Outputs.1." : "Outlets." + std::to_string(1 + number(outlets)) + ".";
        device.act(node + action, static_cast<std::int32_t>(number(30)));
    }

    void bypass(ShippedDevice& device) {
        const char* const kind = random() % 2 == 0 ? "AutomaticBypass" : "MaintenanceBypass";
        device.act(std::string{"PowerConverters."} + kind +
                   (random() % 2 == 0 ? ".Action.SwitchOn" : ".Action.SwitchOff"));
    }

    void battery(ShippedDevice& device) {
        if (device.model.plant().battery) {
            device.model.setBattery({random() % 2 == 0 ? std::optional{below(100)} : std::nullopt,
                                     random() % 8 == 0, random() % 8 != 0, std::nullopt});
        }
    }

    std::mt19937 random;
};

void expectBalanced(const Model& model) {
    const PowerBalance flow = model.balance();
    const double in = flow.input + flow.discharging;
    ASSERT_NEAR(in, flow.output + flow.losses + flow.charging, EXACT * (in + 1));
    ASSERT_GE(flow.input, 0);
    ASSERT_GE(flow.losses, 0);
    ASSERT_TRUE(flow.charging == 0 || flow.discharging == 0);
}

/// The sum over the inputs, of the phases of each.
double takenFromPhases(const Plant& plant) {
    double sum = 0;
    for (const Input& input : plant.inputs) {
        for (std::uint32_t phase = 0; phase < input.circuit.phases(); ++phase) {
            sum += input.circuit.phase(phase).power.active;
        }
    }
    return sum;
}

/// What the outlets of each branch, or of the output, and the terminals draw is what branch and output carry.
void expectPartsAddUp(const Plant& plant) {
    std::vector<Power> branches(plant.branches.size());
    Power output;
    for (const Outlet& outlet : plant.outlets) {
        (outlet.branch == 0 ? output : branches[outlet.branch - 1]) += outlet.circuit.power();
    }
    for (std::size_t index = 0; index < branches.size(); ++index) {
        ASSERT_NEAR(plant.branches[index].circuit.power().active, branches[index].active, 1e-6);
        ASSERT_NEAR(plant.branches[index].circuit.power().reactive, branches[index].reactive, 1e-6);
        output += branches[index];
    }
    double terminals = 0;
    for (const Output& first : plant.outputs) {
        for (std::uint32_t phase = 0; phase < first.circuit.phases(); ++phase) {
            terminals += first.circuit.phase(phase).voltage > 0 ? first.terminals[phase].watts() : 0;
        }
    }
    ASSERT_NEAR(plant.balance.output, output.active + terminals, 1e-6);
    ASSERT_NEAR(plant.balance.input, takenFromPhases(plant), EXACT * (plant.balance.input + 1));
}

/// Voltage, current and the powers of every phase agree, and nothing flows where there is no voltage.
void expectConsistent(const Circuit& circuit) {
    for (std::uint32_t index = 0; index < circuit.phases(); ++index) {
        const PhaseFlow& flow = circuit.phase(index);
        ASSERT_NEAR(flow.voltage * flow.current(), flow.power.apparent(),
                    EXACT * (flow.power.apparent() + 1));
        ASSERT_NEAR(flow.power.factor() * flow.power.apparent(), flow.power.active,
                    EXACT * (flow.power.active + 1));
    }
}

/// The battery's energy and the meters move by what has flowed, no more and no less.
class EnergyLedger {
public:
    explicit EnergyLedger(const Plant& plant) : stored{energyOf(plant)}, metered{meters(plant)} {}

    void expectMovedBy(const Plant& plant, double seconds) {
        const double net = (plant.balance.charging - plant.balance.discharging) * seconds / 3600;
        ASSERT_NEAR(energyOf(plant) - stored, net, 1e-6);
        ASSERT_GE(energyOf(plant), -1e-6);
        ASSERT_NEAR(meters(plant) - metered, plant.balance.input * seconds / 3600, 1e-6);
    }

private:
    static double energyOf(const Plant& plant) { return plant.battery ? plant.battery->energyWh() : 0; }
    static double meters(const Plant& plant) {
        double sum = 0;
        for (const Input& input : plant.inputs) {
            sum += input.circuit.energy.total();
        }
        return sum;
    }

    double stored;
    double metered;
};

} // namespace

class ConservationTest : public ::testing::TestWithParam<std::string> {};

TEST_P(ConservationTest, NoPowerIsMadeOrLostWhateverHappens) {
    for (std::uint32_t seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ShippedDevice device{GetParam(), seed};
        Meddler meddler{seed};
        const Plant& plant = device.model.plant();
        for (int round = 0; round < 600; ++round) {
            meddler.meddle(device);
            const auto pause = meddler.pause();
            EnergyLedger ledger{plant};
            device.model.step(pause);
            expectBalanced(device.model);
            expectPartsAddUp(plant);
            ledger.expectMovedBy(plant, std::chrono::duration<double>(pause).count());
            for (const Input& input : plant.inputs) {
                expectConsistent(input.circuit);
            }
            for (const Output& output : plant.outputs) {
                expectConsistent(output.circuit);
            }
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST_P(ConservationTest, WhatIsServedAddsUpAsWell) {
    ShippedDevice device{GetParam()};
    device.run(1);
    const double input = device.model.balance().input;
    double served = 0;
    for (std::size_t index = 1; index <= device.model.plant().inputs.size(); ++index) {
        const std::string node = "Inputs." + std::to_string(index) + ".Measure.";
        served += device.number(node + "ActivePower");
        const double apparent = device.number(node + "ApparentPower");
        const double phases = device.model.plant().inputs[index - 1].circuit.phases();
        EXPECT_NEAR(device.number(node + "Voltage") * device.number(node + "Current") * phases, apparent,
                    1e-3 * (apparent + 1));
        EXPECT_NEAR(device.number(node + "PowerFactor") * apparent, device.number(node + "ActivePower"),
                    1e-3 * (apparent + 1));
    }
    EXPECT_GT(served, 0);
    EXPECT_NEAR(served, input, 1e-5 * input);
}

TEST_P(ConservationTest, TheSameSeedGivesTheSameLife) {
    ShippedDevice one{GetParam(), 7};
    ShippedDevice other{GetParam(), 7};
    Meddler ones{3};
    Meddler others{3};
    for (int round = 0; round < 100; ++round) {
        ones.meddle(one);
        others.meddle(other);
        const auto pause = ones.pause();
        ASSERT_EQ(pause, others.pause());
        one.model.step(pause);
        other.model.step(pause);
    }
    for (const auto& [path, info] : one.model.points()) {
        EXPECT_EQ(one.model.read(path), other.model.read(path)) << path;
    }
}

INSTANTIATE_TEST_SUITE_P(OfEveryDevice, ConservationTest, ::testing::ValuesIn(shippedDevices()),
                         [](const auto& device) {
                             std::string name = device.param;
                             std::erase(name, '-');
                             return name;
                         });

} // namespace velk::simulator
