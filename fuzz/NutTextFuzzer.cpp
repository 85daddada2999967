// What a device writes into its variables, and what is written into them.

#include "fuzz/Fuzz.h"
#include "plugins/nut/Codecs.h"
#include "plugins/nut/Encoding.h"
#include "plugins/nut/Texts.h"

#include <sstream>
#include <stdexcept>

using namespace velk::nut;
using velk::fuzz::demand;

namespace {

constexpr Decode DECODERS[] = {
    decodeNumber,      decodePercent,     decodeCharge,      decodeApproximateCharge,
    decodeTemperature, decodePowerFactor, decodeRatio,       decodeDelay,
    decodeRuntime,     decodeDate,        decodeText,        decodeSerialNumber,
    decodeMacAddress,  decodeChemistry,   decodeTopology,    decodeTestResult,
    decodeBeeper,      decodeSensitivity, decodeSource,      decodeChargerStatus,
    decodeSmallCount,  decodeBool,        decodeContact,     decodeTooLow,
    decodeTooHigh,     decodeOutOfRange,  decodeWarningHigh, decodeCriticalHigh};

/// What is written reads as what was asked for.
void demandRoundTrip(const Codec& codec, const std::string& text, const std::string& present,
                     const VariableLimits& limits) {
    const Value asked = codec.decode(text);
    if (!asked.hasValue()) {
        return;
    }
    try {
        const std::string written = encode(codec, asked, present, limits);
        demand(codec.decode(written) == asked, "written as \"" + written + "\", which reads otherwise");
        demand(!limits.maxLength || written.size() <= *limits.maxLength, "longer than the server takes");
    } catch (const std::runtime_error&) {
        // Against the limits, which come from the input too.
    }
}

} // namespace

VELK_FUZZER(nut_text) {
    const std::string text{velk::fuzz::takeLine(input)};
    const std::string present{velk::fuzz::takeLine(input)};
    VariableLimits limits;
    if (!input.empty() && input.front() == 'L') {
        limits.maxLength = input.size();
    }
    for (std::string_view word = velk::fuzz::takeLine(input); !word.empty();
         word = velk::fuzz::takeLine(input)) {
        limits.words.emplace_back(word);
        limits.ranges.emplace_back(word, text);
    }
    for (const Decode decode : DECODERS) {
        std::ostringstream shown;
        shown << decode(text);
    }
    const std::string once = collapsed(text);
    demand(collapsed(once) == once, "collapsed twice is another text");
    for (const Codec& codec :
         {number(), percent(), temperature(), delay(), flag(), source(), sensitivity(), beeper()}) {
        demandRoundTrip(codec, text, present, limits);
        demandRoundTrip(codec, text, present, {});
    }
}
