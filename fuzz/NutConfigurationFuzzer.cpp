// The section of the plug-in for device servers.

#include "fuzz/InputFile.h"
#include "fuzz/Places.h"
#include "plugins/nut/NutConfiguration.h"
#include "plugins/nut/ProtocolLine.h"

#include <stdexcept>

using velk::fuzz::demand;

VELK_FUZZER(nut_configuration) {
    static const velk::fuzz::InputFile file;
    file.hold(input);
    try {
        const auto configuration = velk::nut::NutConfiguration::load(file.path());
        if (configuration) {
            demand(!configuration->ups.empty(), "no device");
            for (const std::string& word : {configuration->ups, configuration->user, configuration->host}) {
                demand(velk::nut::isSafeValue(word), "a word that breaks the line of the protocol");
            }
            demand(configuration->port >= 1, "no port");
        }
    } catch (const std::runtime_error& refusal) {
        velk::fuzz::demandPlacedMessage(input, refusal.what(), file.path());
    }
}
