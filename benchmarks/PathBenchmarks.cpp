// How much it costs to compare paths and to find the wrapper of one. Baseline: the same question asked of
// text.

#include "powerdistribution/core/Paths.h"
#include "powerdistribution/protocols/ConstROValueWrapper.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"
#include "powerdistribution/protocols/RuleTable.h"
#include "testing/FakeWrapperFactory.h"

#include <benchmark/benchmark.h>

#include <any>
#include <map>
#include <string>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;

const EPath& voltage() {
    static const EPath path{ECircuit::Inputs, 1U, ECircuit::Phases, 2U, EMeasurement::Voltage};
    return path;
}

const EPath& pattern() {
    static const EPath path{ECircuit::Inputs, oneTo(2), ECircuit::Phases, anyIndex, EMeasurement::Voltage};
    return path;
}

void compareTexts(benchmark::State& state) {
    const std::string a = voltage().nodesToString();
    std::string b = a;
    for (auto _ : state) {
        benchmark::DoNotOptimize(b.data());
        benchmark::DoNotOptimize(a == b);
    }
}
BENCHMARK(compareTexts)->Name("compare paths/baseline");

void matchPattern(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(voltage() == pattern());
    }
}
BENCHMARK(matchPattern)->Name("compare paths/pattern match");

void order(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(voltage() < pattern());
    }
}
BENCHMARK(order)->Name("compare paths/order");

ValueWrapperPtr constant(const Rule::BuildFuncParameters&) {
    return std::make_unique<ConstROValueWrapper<float>>(230.0F);
}

std::vector<RuleRow> table() {
    std::vector<RuleRow> rows;
    for (std::uint32_t measure = 1; measure <= 37; ++measure) {
        const auto member = static_cast<EMeasurement>(measure);
        rows.push_back({{ECircuit::Inputs, oneTo(2), ECircuit::Phases, oneTo(3), member}, constant});
        rows.push_back({{ECircuit::Outputs, oneTo(128), ECircuit::Phases, oneTo(3), member}, constant});
    }
    return rows;
}

void findInMap(benchmark::State& state) {
    std::map<std::string, BuildFunc> byText;
    for (const RuleRow& row : table()) {
        byText.emplace(row.path.nodesToString(), row.function);
    }
    byText.emplace(voltage().nodesToString(), constant);
    const velk::testing::FakeWrapperFactory factory;
    for (auto _ : state) {
        benchmark::DoNotOptimize(byText.find(voltage().nodesToString())->second);
    }
}
BENCHMARK(findInMap)->Name("find a wrapper/baseline");

void walkRules(benchmark::State& state) {
    const std::vector<Rule> forest = growRules(table());
    const RuleBasedWrapperBuilder builder{forest};
    const velk::testing::FakeWrapperFactory factory;
    const std::any none;
    for (auto _ : state) {
        Rule::ExecutionParameters parameters{voltage(), 0, factory, nullptr, none};
        benchmark::DoNotOptimize(builder.buildWrapper(parameters));
    }
}
BENCHMARK(walkRules)->Name("find a wrapper/rule walk");

} // namespace
