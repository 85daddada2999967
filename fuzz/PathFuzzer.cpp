// Paths, patterns and values of the command line: "PATTERN\nPATH\nVALUE".

#include "cli/EditDistance.h"
#include "cli/Failure.h"
#include "cli/PathPattern.h"
#include "cli/ValueParser.h"
#include "fuzz/Fuzz.h"

#include <sstream>

using namespace velk::cli;
using velk::fuzz::demand;

namespace {

tessapi::ChannelRecord channelOf(qz::datatype type) {
    tessapi::ChannelRecord channel;
    channel.name = "Status.Source";
    channel.type = type;
    channel.unit = "s";
    if (type == qz::datatype::uint32) {
        channel.states.add(qz::CValue{std::uint32_t{1}}, "mains");
        channel.states.add(qz::CValue{std::uint32_t{2}}, "battery 2");
    }
    if (type == qz::datatype::uint64) {
        channel.states.add(qz::CValue{~std::uint64_t{0}}, "all");
    }
    return channel;
}

/// What a value prints as means the same value.
void demandRoundTrip(const std::string& text, qz::datatype type) {
    const tessapi::ChannelRecord channel = channelOf(type);
    qz::CValue value;
    try {
        value = parseValue(text, channel);
    } catch (const Failure& refusal) {
        demand(refusal.exitCode() == ExitCode::Usage, "refused, but not as a mistake of the caller");
        return;
    }
    std::ostringstream printed;
    printed << value;
    demand(value.type() == type, "a value of another type than the channel's");
    const bool isRounded = type == qz::datatype::float32 || type == qz::datatype::float64;
    const bool isFreeText = type == qz::datatype::timestamp;
    if (!isRounded && !isFreeText) {
        demand(parseValue(printed.str(), channel) == value, "\"" + printed.str() + "\" is another value");
    }
}

} // namespace

VELK_FUZZER(path) {
    const std::string pattern{velk::fuzz::takeLine(input)};
    const std::string path{velk::fuzz::takeLine(input)};
    const PathPattern wanted{pattern};
    const bool matches = wanted.matches(path);
    if (!wanted.isGlob()) {
        demand(matches == (pattern == path), "a path without wildcards is not itself");
    }
    demand(PathPattern{path}.isGlob() || PathPattern{path}.matches(path), "a path is not itself");
    demand(PathPattern{"**"}.matches(path), "** leaves a path out");
    if (matches && wanted.isGlob()) {
        demand(PathPattern{"**." + pattern}.matches(path), "** in front leaves a match out");
    }
    if (pattern.size() < 256 && path.size() < 256) {
        demand((editDistance(pattern, path) == 0) == (editDistance(path, pattern) == 0),
               "a distance one way");
    }
    for (const qz::datatype type : {qz::datatype::boolean, qz::datatype::int32, qz::datatype::int64,
                                    qz::datatype::uint32, qz::datatype::uint64, qz::datatype::float32,
                                    qz::datatype::float64, qz::datatype::timestamp, qz::datatype::string}) {
        demandRoundTrip(std::string{input}, type);
    }
}
