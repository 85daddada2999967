#include "tests/scenarios/Memory.h"
#include "tests/scenarios/Soak.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <string>
#include <vector>

namespace {

using velk::scenarios::residentKiB;
using velk::scenarios::Soak;
using Clock = std::chrono::steady_clock;

constexpr const char* USAGE =
    "usage: velk-soak MINUTES [--seed N]\n"
    "Runs the library with a simulated device and everything that can happen to it, at\n"
    "random, and checks at every quiet point that the store equals the device.\n";

/// Memory after each minute, in at most this many lines.
constexpr std::size_t LINES_OF_CURVE = 40;
constexpr std::size_t WIDTH_OF_CURVE = 60;

struct Options {
    double minutes{0};
    std::uint32_t seed{std::random_device{}()};
};

bool readNumber(const char* text, double& number) {
    char* end = nullptr;
    number = std::strtod(text, &end);
    return end != text && *end == '\0' && number >= 0;
}

bool read(int count, char** words, Options& options) {
    for (int i = 1; i < count; ++i) {
        const std::string word{words[i]};
        double number = 0;
        if (word == "--seed" && i + 1 < count && readNumber(words[i + 1], number)) {
            options.seed = static_cast<std::uint32_t>(number);
            ++i;
        } else if (word.rfind("--", 0) == 0 || !readNumber(words[i], options.minutes)) {
            return false;
        }
    }
    return options.minutes > 0;
}

void printFigures(const Soak::Figures& figures, double minutes, std::uint64_t memory) {
    std::printf(
        "%6.1f min: %zu cycles, %zu deeds, %zu faults, %zu losses, %zu builds, %zu runs (%zu ended by an "
        "exception), %zu points compared, %llu KiB\n",
        minutes, figures.cycles, figures.deeds, figures.faults, figures.losses, figures.builds, figures.runs,
        figures.failures, figures.compared, static_cast<unsigned long long>(memory));
    std::fflush(stdout);
}

void printCurve(const std::vector<std::uint64_t>& memory) {
    const std::size_t every = 1 + (memory.size() - 1) / LINES_OF_CURVE;
    std::uint64_t most = 1;
    for (const std::uint64_t each : memory) {
        most = std::max(most, each);
    }
    std::printf("resident memory, minute by minute:\n");
    for (std::size_t i = 0; i < memory.size(); i += every) {
        std::printf("%6zu %8llu KiB %s\n", i, static_cast<unsigned long long>(memory[i]),
                    std::string(memory[i] * WIDTH_OF_CURVE / most, '#').c_str());
    }
}

/// False when something was not as it should be, which has been told then.
bool soak(const Options& options) {
    Soak soak{options.seed};
    const auto begun = Clock::now();
    const auto minutesGone = [&] { return std::chrono::duration<double>(Clock::now() - begun).count() / 60; };
    std::vector<std::uint64_t> memory{residentKiB()};
    try {
        while (minutesGone() < options.minutes) {
            soak.cycle();
            if (minutesGone() >= static_cast<double>(memory.size())) {
                memory.push_back(residentKiB());
                printFigures(soak.figures(), minutesGone(), memory.back());
            }
        }
    } catch (const std::exception& failure) {
        std::printf("FAILED in cycle %zu with seed %u: %s\nthe last deeds:\n", soak.figures().cycles + 1,
                    options.seed, failure.what());
        for (const std::string& deed : soak.lastDeeds()) {
            std::printf("  %s\n", deed.c_str());
        }
        return false;
    }
    memory.push_back(residentKiB());
    printFigures(soak.figures(), minutesGone(), memory.back());
    printCurve(memory);
    return true;
}

} // namespace

int main(int count, char** words) {
    Options options;
    if (!read(count, words, options)) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    std::printf("soak of %g min with seed %u\n", options.minutes, options.seed);
    std::fflush(stdout);
    try {
        const bool passed = soak(options);
        std::printf("soak with seed %u: %s\n", options.seed, passed ? "passed" : "failed");
        return passed ? 0 : 1;
    } catch (const std::exception& failure) {
        std::printf("FAILED at the start with seed %u: %s\n", options.seed, failure.what());
        return 1;
    }
}
