// The alarm file.

#include "fuzz/InputFile.h"
#include "fuzz/Places.h"
#include "platform/common/lwjson/JsonError.h"
#include "powerdistribution/alarms/AlarmConfigurationError.h"
#include "powerdistribution/alarms/AlarmConfigurationParser.h"
#include "powerdistribution/alarms/AlarmConversions.h"
#include "powerdistribution/core/PathConstants.h"

using namespace velk::powerdistribution;

VELK_FUZZER(alarm_file) {
    static const velk::fuzz::InputFile file;
    file.hold(input);
    try {
        const AlarmConfigurationParser parser{file.path()};
        for (const EPath& path : {EPath{}, EPath{EStatus::LowRuntime}, EPath{EMeasurement::Voltage}}) {
            const auto config = parser.getConfig(path);
            for (std::size_t i = 0; config && i < config->triggers.size(); ++i) {
                const Trigger& trigger = config->triggers[i];
                velk::fuzz::demand(trigger.type != Trigger::Type::invalid, "a trigger without a type");
                velk::fuzz::demand(trigger.level != Trigger::Level::invalid, "a trigger without a level");
                velk::fuzz::demand(trigger.reference.empty() || !trigger.threshold1.hasValue(),
                                   "a trigger with a reference and a value");
            }
        }
    } catch (const AlarmConfigurationError& refusal) {
        velk::fuzz::demandPlace(input, refusal.position());
    } catch (const velk::common::lwjson::JsonError& refusal) {
        velk::fuzz::demandPlace(input, refusal.position());
    }
}
