#pragma once

// From the text of a variable to the value of a data point, in the type and unit of the store's catalogue. A
// text that means nothing gives an empty value.

#include "powerdistribution/core/Value.h"

#include <string>

namespace velk::nut {

using powerdistribution::Value;

/// A function of the tables.
using Decode = Value (*)(const std::string& text);

// Quantities, as float.
Value decodeNumber(const std::string& text);
Value decodePercent(const std::string& text);           ///< 0 to 1000: a load may exceed 100
Value decodeCharge(const std::string& text);            ///< 0 to 100
Value decodeApproximateCharge(const std::string& text); ///< 0 to 100, "<85" as its bound
Value decodeTemperature(const std::string& text); ///< -50 to 150: beyond it stand Kelvin and raw readings
Value decodePowerFactor(const std::string& text); ///< -1 to 1, also in percent
Value decodeRatio(const std::string& text);       ///< 0 or more

// Times.
Value decodeDelay(const std::string& text);   ///< int32, seconds, -1 for none
Value decodeRuntime(const std::string& text); ///< uint32, seconds
Value decodeDate(const std::string& text);    ///< UnixTime

// Texts.
Value decodeText(const std::string& text);         ///< with blanks collapsed; an empty one is none
Value decodeSerialNumber(const std::string& text); ///< none for what stands where a number was never written
Value decodeMacAddress(const std::string& text);   ///< "02:00:00:00:00:2a"
Value decodeChemistry(const std::string& text);    ///< none for "?"

// States, as uint32.
Value decodeTopology(const std::string& text);
Value decodeTestResult(const std::string& text);
Value decodeBeeper(const std::string& text);
Value decodeSensitivity(const std::string& text);
Value decodeSource(const std::string& text); ///< 1 or 2
Value decodeChargerStatus(const std::string& text);
Value decodeSmallCount(const std::string& text); ///< 0 to 1000

// Yes or no, as bool.
Value decodeBool(const std::string& text);
Value decodeContact(const std::string& text); ///< true for a closed or active contact

// One word of a threshold status, such as "good", "warning-low" or "critical-high", as bool.
Value decodeTooLow(const std::string& text);
Value decodeTooHigh(const std::string& text);
Value decodeOutOfRange(const std::string& text);
Value decodeWarningHigh(const std::string& text);
Value decodeCriticalHigh(const std::string& text);

} // namespace velk::nut
