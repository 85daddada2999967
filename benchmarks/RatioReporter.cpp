#include "benchmarks/RatioReporter.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <utility>

namespace velk::benchmarks {

namespace {

struct Scale {
    double from;
    double divisor;
    const char* unit;
};

constexpr Scale TIMES[] = {{1e9, 1e9, " s"}, {1e6, 1e6, " ms"}, {1e3, 1e3, " us"}, {0, 1, " ns"}};

std::string text(double value, const std::string& unit) {
    std::ostringstream out;
    out << std::fixed;
    if (unit == "ns") {
        const auto* scale = std::find_if(std::begin(TIMES), std::end(TIMES) - 1,
                                         [value](const Scale& one) { return value >= one.from; });
        const double scaled = value / scale->divisor;
        out << std::setprecision(scaled < 100 ? 2 : 0) << scaled << scale->unit;
    } else {
        out << std::setprecision(value < 100 ? 2 : 0) << value << ' ' << unit;
    }
    return out.str();
}

/// The target at the end of a figure's name, which is taken off: a number and perhaps a unit of time.
std::pair<double, std::string> takeTarget(std::string& name) {
    const auto brace = name.find(" {");
    if (brace == std::string::npos) {
        return {0, ""};
    }
    std::istringstream words{name.substr(brace + 2, name.size() - brace - 3)};
    std::pair<double, std::string> target;
    words >> target.first >> target.second;
    name.resize(brace);
    return target;
}

double inNanoseconds(double number, const std::string& unit) {
    return number * (unit == "s" ? 1e9 : unit == "ms" ? 1e6 : unit == "us" ? 1e3 : 1);
}

template <typename Figure>
bool isBaseline(const Figure& figure) {
    return figure.name.rfind("baseline", 0) == 0;
}

/// In nanoseconds for a median; for a variation the share that it is.
double timeOf(const benchmark::BenchmarkReporter::Run& run, bool isCpu, bool isMedian) {
    if (!isMedian) {
        return isCpu ? run.cpu_accumulated_time : run.real_accumulated_time;
    }
    const double scale = 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
    return scale * (isCpu ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime());
}

} // namespace

bool RatioReporter::ReportContext(const Context& context) {
    PrintBasicContext(&std::cerr, context);
    return true;
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string name = run.run_name.function_name;
        if (run.error_occurred) {
            std::cerr << name << " FAILED: " << run.error_message << '\n';
            continue;
        }
        if (name != last) {
            std::cerr << "measured " << name << '\n';
            last = name;
        }
        const bool isMedian = run.aggregate_name == "median";
        if (!isMedian && run.aggregate_name != "cv") {
            continue;
        }
        if (name.find('/') != std::string::npos) {
            note(name, "ns", timeOf(run, name.find("CPU time") != std::string::npos, isMedian), isMedian);
        }
        for (const auto& [counter, value] : run.counters) {
            const auto bracket = counter.find(" [");
            if (counter.find('/') != std::string::npos && bracket != std::string::npos) {
                note(counter.substr(0, bracket), counter.substr(bracket + 2, counter.size() - bracket - 3),
                     value, isMedian);
            }
        }
    }
}

void RatioReporter::note(const std::string& name, const std::string& unit, double value, bool isMedian) {
    const auto slash = name.find('/');
    std::string own = name.substr(slash + 1);
    const auto [target, targetUnit] = takeTarget(own);
    Figure& noted = figure(name.substr(0, slash), own);
    (targetUnit.empty() ? noted.mostRatio : noted.mostTime) = inNanoseconds(target, targetUnit);
    noted.unit = unit;
    (isMedian ? noted.median : noted.variation) = value;
}

RatioReporter::Figure& RatioReporter::figure(const std::string& group, const std::string& name) {
    const auto isGroup = [&group](const Group& one) { return one.name == group; };
    auto found = std::find_if(groups.begin(), groups.end(), isGroup);
    if (found == groups.end()) {
        found = groups.insert(found, {group, {}});
    }
    const auto isFigure = [&name](const Figure& one) { return one.name == name; };
    auto& figures = found->figures;
    auto known = std::find_if(figures.begin(), figures.end(), isFigure);
    if (known == figures.end()) {
        known = figures.insert(known, Figure{name, {}, 0, 0, 0, 0});
    }
    return *known;
}

void RatioReporter::Finalize() {
    for (Group& group : groups) {
        std::stable_partition(group.figures.begin(), group.figures.end(), isBaseline<Figure>);
        print(group);
    }
}

std::string RatioReporter::verdict(const Figure& one, double ratio) {
    std::ostringstream words;
    if (one.mostRatio != 0) {
        words << (ratio <= one.mostRatio ? "met" : "MISSED") << ", at most " << one.mostRatio;
    } else if (one.mostTime != 0) {
        words << (one.median <= one.mostTime ? "met" : "MISSED") << ", at most " << text(one.mostTime, "ns");
    }
    return words.str();
}

void RatioReporter::print(const Group& group) {
    const auto& figures = group.figures;
    const auto baseline = std::find_if(figures.begin(), figures.end(), isBaseline<Figure>);
    std::size_t width = group.name.size();
    for (const Figure& one : figures) {
        width = std::max(width, one.name.size());
    }
    const auto left = [width](const std::string& cell) {
        std::cout << "| " << cell << std::string(width - cell.size(), ' ') << " | ";
    };
    std::cout << '\n';
    left(group.name);
    const bool targets = std::any_of(figures.begin(), figures.end(), [](const Figure& one) {
        return one.mostRatio != 0 || one.mostTime != 0;
    });
    std::cout << "    median | spread |   ratio |" << (targets ? " target                |" : "") << "\n|"
              << std::string(width + 2, '-') << "|-----------:|-------:|--------:|"
              << (targets ? "-----------------------|" : "") << '\n';
    for (const Figure& one : figures) {
        left(one.name);
        const double factor = baseline == figures.end() ? 0 : one.median / baseline->median;
        std::ostringstream ratio;
        if (baseline != figures.end()) {
            ratio << std::fixed << std::setprecision(factor < 0.01 ? 4 : 2) << factor;
        }
        std::cout << std::setw(10) << text(one.median, one.unit) << " | " << std::setw(4)
                  << std::lround(one.variation * 100) << " % | " << std::setw(7) << ratio.str() << " |";
        if (targets) {
            std::cout << ' ' << std::left << std::setw(21) << verdict(one, factor) << std::right << " |";
        }
        std::cout << '\n';
    }
    std::cout << std::flush;
}

} // namespace velk::benchmarks
