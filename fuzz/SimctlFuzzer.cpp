// The words of simctl, one a line.

#include "fuzz/Places.h"
#include "platform/common/lwjson/JsonError.h"
#include "plugins/simulator/simctl/Words.h"
#include "plugins/simulator/world/Command.h"
#include "plugins/simulator/world/Glob.h"

using namespace velk::simulator;
using velk::fuzz::demand;

VELK_FUZZER(simctl) {
    std::vector<std::string> words;
    while (!input.empty() && words.size() < 16) {
        words.emplace_back(velk::fuzz::takeLine(input));
    }
    if (words.size() > 1) {
        demand(matchesGlob("*", words[1]), "* leaves a text out");
        demand(!matchesGlob(words[0], words[1]) || matchesGlob("*" + words[0], words[1]),
               "* in front leaves a match out");
    }
    try {
        const std::string command = simctl::commandOf(words);
        const velk::common::lwjson::Deserializer json{command};
        const auto* verb = json.findMember("do");
        demand(verb != nullptr && verb->getValueType() == velk::common::lwjson::ValueType::String,
               "words become a command without a verb");
        readCommand(json.root());
    } catch (const simctl::UsageError& refusal) {
        demand(refusal.what() != std::string{}, "refused without a reason");
    } catch (const velk::common::lwjson::JsonError&) {
        // The simulator refuses what the words make.
    }
}
