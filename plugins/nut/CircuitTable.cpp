#include "plugins/nut/Codecs.h"
#include "plugins/nut/Points.h"
#include "plugins/nut/Tables.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::nut {

using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;

namespace {

Names withSuffix(const Names& prefixes, const std::string& suffix) {
    Names names;
    names.reserve(prefixes.size());
    for (const std::string& prefix : prefixes) {
        names.push_back(prefix + suffix);
    }
    return names;
}

struct ReadRow {
    EPath::Node node;
    const char* suffix;
    Decode decode;
};

struct LimitRow {
    ESetting node;
    const char* suffix;
};

// clang-format off
const std::vector<ReadRow>& readRows() {
    static const std::vector<ReadRow> rows{
        {EMeasurement::Voltage,           "voltage",           decodeNumber},
        {EMeasurement::Current,           "current",           decodeNumber},
        {EMeasurement::Frequency,         "frequency",         decodeRatio},
        {EMeasurement::ApparentPower,     "power",             decodeNumber},
        {EMeasurement::ActivePower,       "realpower",         decodeNumber},
        {EMeasurement::PowerFactor,       "powerfactor",       decodePowerFactor},
        {EMeasurement::PeakFactor,        "crestfactor",       decodeRatio},
        {EMeasurement::PercentLoad,       "load",              decodePercent},
        {ESpecification::VoltageNominal,  "voltage.nominal",   decodeRatio},
        {ESpecification::CurrentNominal,  "current.nominal",   decodeRatio},
        {ESpecification::FrequencyNominal, "frequency.nominal", decodeRatio},
        {EStatus::VoltageTooLow,          "voltage.status",    decodeTooLow},
        {EStatus::VoltageTooHigh,         "voltage.status",    decodeTooHigh},
        {EStatus::VoltageOutOfRange,      "voltage.status",    decodeOutOfRange},
        {EStatus::CurrentTooHigh,         "current.status",    decodeWarningHigh},
        {EStatus::OverCurrent,            "current.status",    decodeCriticalHigh},
        {EStatus::FrequencyOutOfRange,    "frequency.status",  decodeOutOfRange},
    };
    return rows;
}

const std::vector<LimitRow>& limitRows() {
    static const std::vector<LimitRow> rows{
        {ESetting::VoltageHighWarningThreshold,  "voltage.high.warning"},
        {ESetting::VoltageHighCriticalThreshold, "voltage.high.critical"},
        {ESetting::VoltageLowWarningThreshold,   "voltage.low.warning"},
        {ESetting::VoltageLowCriticalThreshold,  "voltage.low.critical"},
        {ESetting::CurrentHighWarningThreshold,  "current.high.warning"},
        {ESetting::CurrentHighCriticalThreshold, "current.high.critical"},
        {ESetting::CurrentLowWarningThreshold,   "current.low.warning"},
        {ESetting::CurrentLowCriticalThreshold,  "current.low.critical"},
    };
    return rows;
}
// clang-format on

} // namespace

void addCircuitRows(Rows& rows, const EPath& circuit, const Names& prefixes) {
    for (const ReadRow& row : readRows()) {
        rows.push_back({circuit + row.node, variable(withSuffix(prefixes, row.suffix), row.decode)});
    }
    for (const LimitRow& row : limitRows()) {
        rows.push_back({circuit + row.node, setting(withSuffix(prefixes, row.suffix), number())});
    }
    for (const std::string& prefix : prefixes) {
        rows.push_back(
            {circuit + ESetting::NominalVoltage, changeableSetting(prefix + "voltage.nominal", number())});
    }
}

} // namespace velk::nut
