#pragma once

#include "tests/scenarios/JsonReading.h"
#include "tests/scenarios/Scenario.h"

#include <cstdint>
#include <map>
#include <string>

namespace velk::scenarios {

/// Reads the steps of one scenario.
class StepReader {
public:
    /// `reading` outlives this object.
    explicit StepReader(const JsonReading& reading) : in{reading} {}

    Steps read(const Node& list) const;

private:
    void readStep(const Node& node, Steps& steps) const;
    void readExpectations(const Node& node, const std::string& say, Steps& steps) const;
    Deed readDeed(const Node& step, const Node& member) const;
    Deed command(const Node& step, const Node& member) const;
    Deed leftover(const Node& node) const;
    Deed putFile(const Node& node) const;
    Deed repeat(const Node& step, const Node& member) const;
    ExpectDevice device(const Node& node) const;
    ExpectLines lines(ExpectLines::Stream stream, const Node& node) const;
    ExpectEnd end(const Node& node) const;
    ExpectWrites writes(const Node& node) const;
    std::string state(const Node& node) const;
    std::map<std::uint32_t, std::string> attributes(const Node& node) const;

    const JsonReading& in;
};

} // namespace velk::scenarios
